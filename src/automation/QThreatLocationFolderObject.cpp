#include "automation/Object.h"
#include "automation/Objects.h"
#include "quarantine/QThreatLocationFolder.h"

namespace kel::automation {

namespace {

class QThreatLocationFolderObject final
    : public Object<kel::QThreatLocationFolder, _QThreatLocationFolder, ::QThreatLocationFolder> {
public:
    using Object::Object;

    KEL_FIELD(BSTR, OriginalFolderPath)
};

}  // namespace

KEL_WRAPS(QThreatLocationFolderObject, kel::QThreatLocationFolder)

}  // namespace kel::automation
