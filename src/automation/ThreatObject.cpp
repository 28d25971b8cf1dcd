#include "automation/CollectionObject.h"
#include "automation/ThreatRecordObject.h"
#include "catalogue/Threat.h"
#include "results/ThreatLocationCookie.h"
#include "results/ThreatLocationFile.h"
#include "results/ThreatLocationFolder.h"
#include "results/ThreatLocationRegKey.h"

namespace kel::automation {

namespace {

class ThreatObject final : public ThreatRecordObject<kel::Threat, _Threat, ::Threat> {
public:
    using ThreatRecordObject::ThreatRecordObject;

    KEL_OBJECT_FIELD(_Collection, ThreatLocationCookies)
    KEL_OBJECT_FIELD(_Collection, ThreatLocationFiles)
    KEL_OBJECT_FIELD(_Collection, ThreatLocationFolders)
    KEL_OBJECT_FIELD(_Collection, ThreatLocationRegKeys)
};

}  // namespace

KEL_WRAPS(ThreatObject, kel::Threat)

}  // namespace kel::automation
