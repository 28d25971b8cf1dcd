#include "automation/Object.h"
#include "automation/Objects.h"
#include "results/ThreatLocationFolder.h"

namespace kel::automation {

namespace {

class ThreatLocationFolderObject final
    : public Object<kel::ThreatLocationFolder, _ThreatLocationFolder, ::ThreatLocationFolder> {
public:
    using Object::Object;

    KEL_FIELD(LONG, ThreatFolderID)
    KEL_FIELD(BSTR, FolderPath)
    KEL_FIELD(SHORT, OptionLevel)
    KEL_PROPERTY(BSTR, DetectedFolderPath)
};

}  // namespace

KEL_WRAPS(ThreatLocationFolderObject, kel::ThreatLocationFolder)

}  // namespace kel::automation
