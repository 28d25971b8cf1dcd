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
    KEL_PROPERTY(LONG, RegHive)
    KEL_PROPERTY(BSTR, Regkey)
    KEL_PROPERTY(BSTR, RegValueName)
    KEL_PROPERTY(BSTR, RegValueData)
    KEL_FIELD(SHORT, OptionLevel)
};

}  // namespace

KEL_WRAPS(ThreatLocationRegKeyObject, kel::ThreatLocationRegKey)

}  // namespace kel::automation
