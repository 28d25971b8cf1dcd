#include "automation/Object.h"
#include "automation/Objects.h"
#include "results/ThreatLocationCookie.h"

namespace kel::automation {

namespace {

class ThreatLocationCookieObject final
    : public Object<kel::ThreatLocationCookie, _ThreatLocationCookie, ::ThreatLocationCookie> {
public:
    using Object::Object;

    KEL_FIELD(LONG, ThreatCookieID)
    KEL_FIELD(BSTR, Cookie)
    KEL_FIELD(SHORT, OptionLevel)
    KEL_FIELD(BSTR, DetectedFilePath)
};

}  // namespace

KEL_WRAPS(ThreatLocationCookieObject, kel::ThreatLocationCookie)

}  // namespace kel::automation
