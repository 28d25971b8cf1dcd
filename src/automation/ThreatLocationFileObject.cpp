#include "automation/Object.h"
#include "automation/Objects.h"
#include "results/ThreatLocationFile.h"

namespace kel::automation {

namespace {

class ThreatLocationFileObject final
    : public Object<kel::ThreatLocationFile, _ThreatLocationFile, ::ThreatLocationFile> {
public:
    using Object::Object;

    KEL_FIELD(LONG, ThreatFileID)
    KEL_FIELD(::enThreatFileTypes, ThreatFileType)
    KEL_FIELD(BSTR, FileName)
    KEL_FIELD(BSTR, MD5)
    KEL_FIELD(LONG, CleanOrder)
    KEL_FIELD(VARIANT_BOOL, CleanWithoutMD5)
    KEL_FIELD(SHORT, OptionLevel)
    KEL_PROPERTY(BSTR, DetectedFilePath)
};

}  // namespace

KEL_WRAPS(ThreatLocationFileObject, kel::ThreatLocationFile)

}  // namespace kel::automation
