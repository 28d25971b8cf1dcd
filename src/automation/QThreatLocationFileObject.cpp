#include "automation/Object.h"
#include "automation/Objects.h"
#include "quarantine/QThreatLocationFile.h"

namespace kel::automation {

namespace {

class QThreatLocationFileObject final
    : public Object<kel::QThreatLocationFile, _QThreatLocationFile, ::QThreatLocationFile> {
public:
    using Object::Object;

    KEL_FIELD(BSTR, QuarantineFileName)
    KEL_FIELD(BSTR, OriginalFilePath)
    KEL_FIELD(VARIANT_BOOL, ActionRegisterFile)
    KEL_FIELD(::enThreatFileTypes, ThreatFileType)
    KEL_FIELD(LONG, RestoreOrder)
};

}  // namespace

KEL_WRAPS(QThreatLocationFileObject, kel::QThreatLocationFile)

}  // namespace kel::automation
