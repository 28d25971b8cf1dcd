#include "automation/CollectionObject.h"
#include "automation/Object.h"
#include "automation/Objects.h"
#include "results/IgnoredThreats.h"

namespace kel::automation {

namespace {

class IgnoredThreatsObject final : public Object<kel::IgnoredThreats, _IgnoredThreats, ::IgnoredThreats> {
public:
    using Object::Object;

    STDMETHODIMP IsIgnoredThreatID(LONG ThreatID, VARIANT_BOOL* Result) override {
        return Answer(Result, [&] { return It().IsIgnoredThreatID(ThreatID); });
    }
    STDMETHODIMP AddIgnoredThreat(LONG ThreatID) override {
        return Do([&] { It().AddIgnoredThreat(ThreatID); });
    }
    STDMETHODIMP RemoveIgnoredThreat(LONG ThreatID) override {
        return Do([&] { It().RemoveIgnoredThreat(ThreatID); });
    }
    KEL_CALL(_Collection*, GetIgnoredThreatIDs)
    KEL_CALL(LONG, GetIgnoredThreatCount)
};

}  // namespace

KEL_WRAPS(IgnoredThreatsObject, kel::IgnoredThreats)

}  // namespace kel::automation
