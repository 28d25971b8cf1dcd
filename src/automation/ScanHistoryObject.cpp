#include "automation/Object.h"
#include "automation/Objects.h"
#include "core/Recordset.h"
#include "results/Scan.h"
#include "results/ScanHistory.h"

namespace kel::automation {

namespace {

class ScanHistoryObject final : public Object<kel::ScanHistory, _ScanHistory, ::ScanHistory> {
public:
    using Object::Object;

    STDMETHODIMP Add(_Scan* oScan, LONG* Result) override {
        return Answer(Result, [&] { return It().Add(Unwrap<kel::Scan>(oScan)); });
    }
    STDMETHODIMP AddQuarantinedThreat(BSTR ScanID, LONG ThreatID, LONG* Result) override {
        return Answer(Result, [&] { return It().AddQuarantinedThreat(FromBstr(ScanID), ThreatID); });
    }
    STDMETHODIMP AddDeletedThreat(BSTR ScanID, LONG ThreatID, LONG* Result) override {
        return Answer(Result, [&] { return It().AddDeletedThreat(FromBstr(ScanID), ThreatID); });
    }
    STDMETHODIMP Delete(BSTR ScanID) override {
        return Do([&] { It().Delete(FromBstr(ScanID)); });
    }
    KEL_DO(Truncate)
    STDMETHODIMP GetScanHistoryDetail(BSTR ScanID, _ScanHistoryDetail** Result) override {
        return Answer(Result, [&] { return It().GetScanHistoryDetail(FromBstr(ScanID)); });
    }
    KEL_CALL(_Recordset*, GetScanHistoryDetails)
    STDMETHODIMP GetScanHistoryDetailsByDate(SHORT intYear, SHORT intMonth, SHORT intDay,
                                             _Recordset** Result) override {
        return Answer(Result, [&] { return It().GetScanHistoryDetailsByDate(intYear, intMonth, intDay); });
    }
    STDMETHODIMP GetScanIDByThreatID(LONG ThreatID, BSTR* Result) override {
        return Answer(Result, [&] { return It().GetScanIDByThreatID(ThreatID); });
    }
    KEL_CALL(_ScanHistoryDetail*, GetLastScanHistoryDetail)
    KEL_CALL(LONG, Count)
    KEL_CALL(BSTR, GetLastScanDate)
    KEL_CALL(LONG, TotalScansRun)
    KEL_DO(AddTotalScansRun)
    KEL_CALL(LONG, TotalThreatsDetected)
    STDMETHODIMP AddTotalThreatsDetected(LONG Count) override {
        return Do([&] { It().AddTotalThreatsDetected(Count); });
    }
    KEL_CALL(BSTR, GetLastScanID)
    KEL_DO(Persist)
};

}  // namespace

KEL_WRAPS(ScanHistoryObject, kel::ScanHistory)

}  // namespace kel::automation
