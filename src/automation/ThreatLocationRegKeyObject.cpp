#include "automation/Object.h"
#include "automation/Objects.h"
#include "results/ThreatLocationRegKey.h"

namespace kel::automation {

namespace {

class ThreatLocationRegKeyObject final
    : public Object<kel::ThreatLocationRegKey, _ThreatLocationRegKey, ::ThreatLocationRegKey> {
public:
    using Object::Object;

    KEL_FIELD(LONG, ThreatRegKeyID)
    KEL_FIELD(LONG, RegHive)
    KEL_FIELD(BSTR, Regkey)
    KEL_FIELD(BSTR, RegValueName)
    KEL_FIELD(BSTR, RegValueData)
    KEL_FIELD(SHORT, OptionLevel)
};

}  // namespace

KEL_WRAPS(ThreatLocationRegKeyObject, kel::ThreatLocationRegKey)

}  // namespace kel::automation
