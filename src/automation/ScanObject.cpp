#include "automation/CollectionObject.h"
#include "automation/Object.h"
#include "automation/Objects.h"
#include "results/Scan.h"
#include "system/clsFolderPaths.h"

namespace kel::automation {

namespace {

class ScanObject final : public Object<kel::Scan, _Scan, ::Scan> {
public:
    using Object::Object;

    KEL_FIELD(BSTR, ScanID)
    KEL_FIELD(DATE, StartDate)
    KEL_FIELD(DATE, EndDate)
    KEL_FIELD(BSTR, AbortReason)
    KEL_FIELD(VARIANT_BOOL, IsScheduledScan)
    KEL_OBJECT_FIELD(_clsFolderPaths, FolderPaths)
    KEL_FIELD(LONG, ScannedProcessCount)
    KEL_FIELD(LONG, ScannedCookieCount)
    KEL_FIELD(LONG, ScannedFileCount)
    KEL_FIELD(LONG, ScannedRegistryCount)
    KEL_FIELD(LONG, DetectedProcessCount)
    KEL_FIELD(LONG, DetectedCookieCount)
    KEL_FIELD(LONG, DetectedFileCount)
    KEL_FIELD(LONG, DetectedRegistryCount)
    KEL_FIELD(LONG, DetectedFolderCount)
    KEL_READ(_Collection*, DetectedThreats)
    STDMETHODIMP putref_DetectedThreats(_Collection* Value) override {
        return Do([&] { Take(It().DetectedThreats(), Value); });
    }
    KEL_OBJECT_FIELD(_ScannerCallback, Callback)

    KEL_CALL(BSTR, TotalScanTime)
    STDMETHODIMP EventStartingLocation(BSTR szLocation, ::enScanType ScanType) override {
        return Do([&] { It().EventStartingLocation(FromBstr(szLocation), static_cast<kel::enScanType>(ScanType)); });
    }
    STDMETHODIMP EventThreatDetected(BSTR szLocation, ::enScanType ScanType, LONG ThreatID) override {
        return Do(
            [&] { It().EventThreatDetected(FromBstr(szLocation), static_cast<kel::enScanType>(ScanType), ThreatID); });
    }
    STDMETHODIMP EventScanAborted(BSTR szReason) override {
        return Do([&] { It().EventScanAborted(FromBstr(szReason)); });
    }
    STDMETHODIMP AddDetectedThreatCookie(::enScanType ScanType, LONG ThreatID, BSTR Cookie, BSTR FilePath) override {
        return Do([&] {
            It().AddDetectedThreatCookie(static_cast<kel::enScanType>(ScanType), ThreatID, FromBstr(Cookie),
                                         FromBstr(FilePath));
        });
    }
    STDMETHODIMP AddDetectedThreatFile(::enScanType ScanType, LONG ThreatID, BSTR MD5, BSTR FilePath) override {
        return Do([&] {
            It().AddDetectedThreatFile(static_cast<kel::enScanType>(ScanType), ThreatID, FromBstr(MD5),
                                       FromBstr(FilePath));
        });
    }
    STDMETHODIMP AddDetectedThreatFolder(::enScanType ScanType, LONG ThreatID, BSTR FolderPath) override {
        return Do([&] {
            It().AddDetectedThreatFolder(static_cast<kel::enScanType>(ScanType), ThreatID, FromBstr(FolderPath));
        });
    }
    STDMETHODIMP AddDetectedThreatRegKey(::enScanType ScanType, LONG ThreatID, LONG RegHive, BSTR Regkey,
                                         BSTR RegValueName, BSTR RegValueData, SHORT ScanLevel) override {
        return Do([&] {
            It().AddDetectedThreatRegKey(static_cast<kel::enScanType>(ScanType), ThreatID, RegHive, FromBstr(Regkey),
                                         FromBstr(RegValueName), FromBstr(RegValueData), ScanLevel);
        });
    }
    STDMETHODIMP AddDetectedThreatCustom(::enScanType ScanType, LONG ThreatID,
                                         _ThreatLocationCustom* oThreatLocationCustom) override {
        return Do([&] {
            It().AddDetectedThreatCustom(static_cast<kel::enScanType>(ScanType), ThreatID,
                                         Unwrap<kel::ThreatLocationCustom>(oThreatLocationCustom));
        });
    }
    STDMETHODIMP GetFilePathFromDetectedCookie(LONG ThreatID, BSTR Cookie, BSTR* Result) override {
        return Answer(Result, [&] { return It().GetFilePathFromDetectedCookie(ThreatID, FromBstr(Cookie)); });
    }
    STDMETHODIMP GetFilePathFromDetectedFile(LONG ThreatID, BSTR MD5, BSTR* Result) override {
        return Answer(Result, [&] { return It().GetFilePathFromDetectedFile(ThreatID, FromBstr(MD5)); });
    }
    KEL_READ(LONG, DetectedThreatCount)
    // The one failure that reaches a client: a place that is not there.
    STDMETHODIMP get_GetDetectedThreat(LONG ThreatIndex, VARIANT* Result) override {
        return Answer(Result, [&] { return Value(It().GetDetectedThreat(ThreatIndex)); });
    }
    STDMETHODIMP GetFileOptionLevel(BSTR MD5, BSTR FilePath, SHORT* Result) override {
        return Answer(Result, [&] { return It().GetFileOptionLevel(FromBstr(MD5), FromBstr(FilePath)); });
    }
    KEL_CALL(BSTR, ScanResultsCookies)
    KEL_CALL(BSTR, ScanResultsFiles)
    KEL_CALL(BSTR, ScanResultsRegistry)
    KEL_CALL(BSTR, ScanResultsFolders)
    KEL_CALL(BSTR, ScanResultsSummary)
    KEL_CALL(BSTR, ScanResultsFull)
};

}  // namespace

KEL_WRAPS(ScanObject, kel::Scan)

}  // namespace kel::automation
