#include "automation/Object.h"
#include "automation/Objects.h"
#include "results/ThreatLocationCustom.h"

namespace kel::automation {

namespace {

class ThreatLocationCustomObject final
    : public Object<kel::ThreatLocationCustom, _ThreatLocationCustom, ::ThreatLocationCustom> {
public:
    using Object::Object;

    KEL_PROPERTY(LONG, CustomID)
    KEL_FIELD(::enCustomCleanPriority, CleanPriority)
    KEL_FIELD(BSTR, CustomData1)
    KEL_FIELD(BSTR, CustomData2)
    KEL_FIELD(BSTR, CustomData3)
    KEL_FIELD(BSTR, DisplayData)
};

}  // namespace

KEL_WRAPS(ThreatLocationCustomObject, kel::ThreatLocationCustom)

}  // namespace kel::automation
