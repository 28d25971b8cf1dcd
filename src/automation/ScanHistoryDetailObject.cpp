#include "automation/Object.h"
#include "automation/Objects.h"
#include "core/Recordset.h"
#include "results/ScanHistoryDetail.h"

namespace kel::automation {

namespace {

class ScanHistoryDetailObject final : public Object<kel::ScanHistoryDetail, _ScanHistoryDetail, ::ScanHistoryDetail> {
public:
    using Object::Object;

    KEL_FIELD(BSTR, ScanID)
    KEL_FIELD(DATE, StartDate)
    KEL_FIELD(DATE, EndDate)
    KEL_FIELD(BSTR, AbortReason)
    KEL_FIELD(VARIANT_BOOL, IsScheduledScan)
    KEL_FIELD(LONG, ScannedProcessCount)
    KEL_FIELD(LONG, ScannedCookieCount)
    KEL_FIELD(LONG, ScannedFileCount)
    KEL_FIELD(LONG, ScannedRegistryCount)
    KEL_FIELD(LONG, DetectedProcessCount)
    KEL_FIELD(LONG, DetectedCookieCount)
    KEL_FIELD(LONG, DetectedFileCount)
    KEL_FIELD(LONG, DetectedRegistryCount)
    KEL_OBJECT_FIELD(_Recordset, DetectedThreats)
    KEL_OBJECT_FIELD(_Recordset, QuarantinedThreats)
    KEL_OBJECT_FIELD(_Recordset, DeletedThreats)
    KEL_OBJECT_FIELD(_Recordset, DetectedFiles)
    KEL_OBJECT_FIELD(_Recordset, DetectedReg)
    KEL_OBJECT_FIELD(_Recordset, DetectedCookies)
    KEL_OBJECT_FIELD(_Recordset, DetThreatDetail)
    KEL_CALL(LONG, GetTotalDetectedLocationsCount)
    KEL_CALL(BSTR, TotalScanTime)
};

}  // namespace

KEL_WRAPS(ScanHistoryDetailObject, kel::ScanHistoryDetail)

}  // namespace kel::automation
