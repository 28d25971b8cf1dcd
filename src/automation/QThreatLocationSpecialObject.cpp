#include "automation/Object.h"
#include "automation/Objects.h"
#include "quarantine/QThreatLocationSpecial.h"

namespace kel::automation {

namespace {

class QThreatLocationSpecialObject final
    : public Object<kel::QThreatLocationSpecial, _QThreatLocationSpecial, ::QThreatLocationSpecial> {
public:
    using Object::Object;

    KEL_FIELD(::enQSpecialType, QSpecialType)
    KEL_FIELD(BSTR, Data1)
    KEL_FIELD(BSTR, Data2)
    KEL_FIELD(BSTR, Data3)
    KEL_FIELD(BSTR, Data4)
};

}  // namespace

KEL_WRAPS(QThreatLocationSpecialObject, kel::QThreatLocationSpecial)

}  // namespace kel::automation
