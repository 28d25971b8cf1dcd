#include "automation/Object.h"
#include "automation/Objects.h"
#include "catalogue/Threats.h"

namespace kel::automation {

namespace {

class ThreatsObject final : public Object<kel::Threats, _Threats, ::Threats> {
public:
    using Object::Object;

    STDMETHODIMP GetThreatByThreatID(LONG ThreatID, _Threat** Result) override {
        return Answer(Result, [&] { return It().GetThreatByThreatID(ThreatID); });
    }
    STDMETHODIMP GetThreatDisplayName(LONG ThreatID, BSTR* Result) override {
        return Answer(Result, [&] { return It().GetThreatDisplayName(ThreatID); });
    }
    STDMETHODIMP GetThreatCategory(LONG ThreatID, BSTR* Result) override {
        return Answer(Result, [&] { return It().GetThreatCategory(ThreatID); });
    }
    STDMETHODIMP GetThreatThreatType(LONG ThreatID, BSTR* Result) override {
        return Answer(Result, [&] { return It().GetThreatThreatType(ThreatID); });
    }
};

}  // namespace

KEL_WRAPS(ThreatsObject, kel::Threats)

}  // namespace kel::automation
