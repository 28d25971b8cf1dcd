#include "automation/CollectionObject.h"
#include "automation/Object.h"
#include "automation/Objects.h"
#include "catalogue/Threat.h"
#include "catalogue/ThreatLite.h"
#include "quarantine/QuarantineThreat.h"

namespace kel::automation {

namespace {

class QuarantineThreatObject final : public Object<kel::QuarantineThreat, _QuarantineThreat, ::QuarantineThreat> {
public:
    using Object::Object;

    KEL_FIELD(BSTR, QuarantineThreatID)
    KEL_FIELD(LONG, ThreatID)
    KEL_FIELD(BSTR, ThreatName)
    KEL_FIELD(BSTR, Category)
    KEL_FIELD(BSTR, ThreatAuthor)
    KEL_FIELD(BSTR, ScanID)
    KEL_FIELD(BSTR, QuarantineDate)
    KEL_FIELD(BSTR, QuarantinePath)
    KEL_OBJECT_FIELD(_Collection, QThreatLocationCookies)
    KEL_OBJECT_FIELD(_Collection, QThreatLocationFiles)
    KEL_OBJECT_FIELD(_Collection, QThreatLocationFolders)
    KEL_OBJECT_FIELD(_Collection, QThreatLocationRegKeys)
    KEL_OBJECT_FIELD(_Collection, QThreatLocationSpecials)
    KEL_OBJECT_FIELD(_ThreatLite, Threat)

    STDMETHODIMP get_QThreat(LONG ThreatID, _Threat** Result) override {
        return Answer(Result, [&] { return It().QThreat(ThreatID); });
    }
};

}  // namespace

KEL_WRAPS(QuarantineThreatObject, kel::QuarantineThreat)

}  // namespace kel::automation
