#include "automation/CollectionObject.h"
#include "automation/Object.h"
#include "automation/Objects.h"
#include "catalogue/ThreatLite.h"
#include "results/DetectedThreat.h"

namespace kel::automation {

namespace {

class DetectedThreatObject final : public Object<kel::DetectedThreat, _DetectedThreat, ::DetectedThreat> {
public:
    using Object::Object;

    KEL_FIELD(LONG, ThreatID)
    KEL_FIELD(BSTR, ScanID)
    KEL_FIELD(::enScanType, ScanType)
    KEL_FIELD(SHORT, OptionLevel)
    KEL_OBJECT_FIELD(_Collection, ThreatLocationCookies)
    KEL_OBJECT_FIELD(_Collection, ThreatLocationFiles)
    KEL_OBJECT_FIELD(_Collection, ThreatLocationFolders)
    KEL_OBJECT_FIELD(_Collection, ThreatLocationRegKeys)
    KEL_OBJECT_FIELD(_Collection, ThreatLocationCustoms)
    KEL_FIELD(::enDetectedThreatAction, DetectedThreatAction)
    KEL_OBJECT_FIELD(_ThreatLite, Threat)
};

}  // namespace

KEL_WRAPS(DetectedThreatObject, kel::DetectedThreat)

}  // namespace kel::automation
