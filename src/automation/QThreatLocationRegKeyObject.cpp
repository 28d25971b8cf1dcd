#include "automation/Object.h"
#include "automation/Objects.h"
#include "quarantine/QThreatLocationRegKey.h"

namespace kel::automation {

namespace {

class QThreatLocationRegKeyObject final
    : public Object<kel::QThreatLocationRegKey, _QThreatLocationRegKey, ::QThreatLocationRegKey> {
public:
    using Object::Object;

    KEL_FIELD(LONG, RegHive)
    KEL_FIELD(BSTR, Regkey)
    KEL_FIELD(BSTR, RegValueName)
    KEL_FIELD(BSTR, RegValueData)
    KEL_FIELD(LONG, RegValueDataType)
};

}  // namespace

KEL_WRAPS(QThreatLocationRegKeyObject, kel::QThreatLocationRegKey)

}  // namespace kel::automation
