#include "automation/Object.h"
#include "automation/Objects.h"
#include "quarantine/QThreatLocationCookie.h"

namespace kel::automation {

namespace {

class QThreatLocationCookieObject final
    : public Object<kel::QThreatLocationCookie, _QThreatLocationCookie, ::QThreatLocationCookie> {
public:
    using Object::Object;

    KEL_FIELD(BSTR, QuarantineFileName)
    KEL_FIELD(BSTR, OriginalFilePath)
};

}  // namespace

KEL_WRAPS(QThreatLocationCookieObject, kel::QThreatLocationCookie)

}  // namespace kel::automation
