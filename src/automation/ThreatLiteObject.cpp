#include "automation/ThreatRecordObject.h"
#include "catalogue/ThreatLite.h"

namespace kel::automation {

namespace {

class ThreatLiteObject final : public ThreatRecordObject<kel::ThreatLite, _ThreatLite, ::ThreatLite> {
public:
    using ThreatRecordObject::ThreatRecordObject;
};

}  // namespace

KEL_WRAPS(ThreatLiteObject, kel::ThreatLite)

}  // namespace kel::automation
