#include "automation/CollectionObject.h"
#include "automation/Object.h"
#include "automation/Objects.h"
#include "quarantine/Quarantine.h"

namespace kel::automation {

namespace {

class QuarantineObject final : public Object<kel::Quarantine, _Quarantine, ::Quarantine> {
public:
    using Object::Object;

    STDMETHODIMP Add(_QuarantineThreat* oQuarantineThreat, ::enQuarantineErrors* Result) override {
        return Answer(Result, [&] { return It().Add(Unwrap<kel::QuarantineThreat>(oQuarantineThreat)); });
    }
    STDMETHODIMP Delete(BSTR QuarantineThreatID, ::enQuarantineErrors* Result) override {
        return Answer(Result, [&] { return It().Delete(FromBstr(QuarantineThreatID)); });
    }
    STDMETHODIMP GetQuarantineThreat(BSTR QuarantineThreatID, _QuarantineThreat** Result) override {
        return Answer(Result, [&] { return It().GetQuarantineThreat(FromBstr(QuarantineThreatID)); });
    }
    STDMETHODIMP GetQuarantineThreatByThreatID(LONG ThreatID, _QuarantineThreat** Result) override {
        return Answer(Result, [&] { return It().GetQuarantineThreatByThreatID(ThreatID); });
    }
    KEL_CALL(_Collection*, GetQuarantineThreats)
    STDMETHODIMP GetQuarantineThreatsByScanID(BSTR ScanID, _Collection** Result) override {
        return Answer(Result, [&] { return It().GetQuarantineThreatsByScanID(FromBstr(ScanID)); });
    }
    STDMETHODIMP GetQuarantineThreatsByCategory(BSTR Category, _Collection** Result) override {
        return Answer(Result, [&] { return It().GetQuarantineThreatsByCategory(FromBstr(Category)); });
    }
    STDMETHODIMP GetQuarantineThreatsByDate(SHORT intYear, SHORT intMonth, SHORT intDay,
                                            _Collection** Result) override {
        return Answer(Result, [&] { return It().GetQuarantineThreatsByDate(intYear, intMonth, intDay); });
    }
    STDMETHODIMP QuarantineThreatIDExists(BSTR QuarantineThreatID, VARIANT_BOOL* Result) override {
        return Answer(Result, [&] { return It().QuarantineThreatIDExists(FromBstr(QuarantineThreatID)); });
    }
    STDMETHODIMP QuarantineThreatExists(LONG ThreatID, VARIANT_BOOL* Result) override {
        return Answer(Result, [&] { return It().QuarantineThreatExists(ThreatID); });
    }
    STDMETHODIMP GetQuarantineThreatIDFromThreatID(LONG ThreatID, BSTR* Result) override {
        return Answer(Result, [&] { return It().GetQuarantineThreatIDFromThreatID(ThreatID); });
    }
    KEL_CALL(LONG, Count)
    STDMETHODIMP RestoreThreat(BSTR QuarantineThreatID, ::enQuarantineErrors* Result) override {
        return Answer(Result, [&] { return It().RestoreThreat(FromBstr(QuarantineThreatID)); });
    }
    STDMETHODIMP DestroyThreat(BSTR QuarantineThreatID, VARIANT_BOOL* Result) override {
        return Answer(Result, [&] { return It().DestroyThreat(FromBstr(QuarantineThreatID)); });
    }
    KEL_CALL(BSTR, GetQuarantineXML)
};

}  // namespace

KEL_WRAPS(QuarantineObject, kel::Quarantine)

}  // namespace kel::automation
