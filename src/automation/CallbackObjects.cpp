// The two sources of events.
#include "automation/EventArguments.h"
#include "automation/Object.h"
#include "automation/Objects.h"
#include "cleaner/CleanerCallback.h"
#include "results/ScannerCallback.h"

namespace kel::automation {

namespace {

// By the numbers of the event interfaces.
enum ScannerEvent : DISPID { StartingLocation = 1, ThreatDetected, ScanAborted, RequestScanAbort };
enum CleanerEvent : DISPID { StartThreatClean = 1, FinishedThreatClean, VerboseDetails, RequiresKillProcess };

constexpr std::string_view ScannerSource = "ScannerCallback";
constexpr std::string_view CleanerSource = "CleanerCallback";

class ScannerCallbackObject final
    : public Object<kel::ScannerCallback, _ScannerCallback, ::ScannerCallback, __ScannerCallback> {
public:
    using Object::Object;

    STDMETHODIMP EventStartingLocation(BSTR szLocation, ::enScanType ScanType, LONG ScanCount) override {
        return Do([&] {
            It().EventStartingLocation(FromBstr(szLocation), static_cast<kel::enScanType>(ScanType), ScanCount);
        });
    }
    STDMETHODIMP EventThreatDetected(BSTR szLocation, ::enScanType ScanType, LONG ThreatID, LONG FoundCount) override {
        return Do([&] {
            It().EventThreatDetected(FromBstr(szLocation), static_cast<kel::enScanType>(ScanType), ThreatID,
                                     FoundCount);
        });
    }
    STDMETHODIMP EventScanAborted(BSTR szReason) override {
        return Do([&] { It().EventScanAborted(FromBstr(szReason)); });
    }
    STDMETHODIMP EventRequestScanAbort(VARIANT_BOOL* blnAbort) override {
        if (blnAbort == nullptr) {
            return E_POINTER;
        }
        return Do([&] {
            bool abort = FromBool(*blnAbort);
            It().EventRequestScanAbort(abort);
            *blnAbort = ToBool(abort);
        });
    }
};

class CleanerCallbackObject final
    : public Object<kel::CleanerCallback, _CleanerCallback, ::CleanerCallback, __CleanerCallback> {
public:
    using Object::Object;

    STDMETHODIMP EventStartThreatClean(BSTR szThreatName) override {
        return Do([&] { It().EventStartThreatClean(FromBstr(szThreatName)); });
    }
    STDMETHODIMP EventFinishedThreatClean(BSTR szThreatName) override {
        return Do([&] { It().EventFinishedThreatClean(FromBstr(szThreatName)); });
    }
    STDMETHODIMP EventVerboseDetails(BSTR szThreatName, BSTR szDetails) override {
        return Do([&] { It().EventVerboseDetails(FromBstr(szThreatName), FromBstr(szDetails)); });
    }
    STDMETHODIMP EventRequiresKillProcess(BSTR szThreatName, BSTR szFilePath) override {
        return Do([&] { It().EventRequiresKillProcess(FromBstr(szThreatName), FromBstr(szFilePath)); });
    }
};

}  // namespace

void Listen(kel::ScannerCallback& thing, const std::shared_ptr<SinkList>& sinks) {
    ScannerEvents events;
    events.StartingLocation = [sinks](std::string_view location, kel::enScanType type, std::int32_t count) {
        RaiseEvent(sinks, StartingLocation, ScannerSource, "StartingLocation", location, type, count);
    };
    events.ThreatDetected = [sinks](std::string_view location, kel::enScanType type, std::int32_t threat,
                                    std::int32_t count) {
        RaiseEvent(sinks, ThreatDetected, ScannerSource, "ThreatDetected", location, type, threat, count);
    };
    events.ScanAborted = [sinks](std::string_view reason) {
        RaiseEvent(sinks, ScanAborted, ScannerSource, "ScanAborted", reason);
    };
    events.RequestScanAbort = [sinks](bool& abort) {
        VARIANT_BOOL flag = ToBool(abort);
        RaiseEvent(sinks, RequestScanAbort, ScannerSource, "RequestScanAbort", &flag);
        abort = FromBool(flag);
    };
    thing.Subscribe(std::move(events));
}

void Listen(kel::CleanerCallback& thing, const std::shared_ptr<SinkList>& sinks) {
    CleanerEvents events;
    events.StartThreatClean = [sinks](std::string_view name) {
        RaiseEvent(sinks, StartThreatClean, CleanerSource, "StartThreatClean", name);
    };
    events.FinishedThreatClean = [sinks](std::string_view name) {
        RaiseEvent(sinks, FinishedThreatClean, CleanerSource, "FinishedThreatClean", name);
    };
    events.VerboseDetails = [sinks](std::string_view name, std::string_view details) {
        RaiseEvent(sinks, VerboseDetails, CleanerSource, "VerboseDetails", name, details);
    };
    events.RequiresKillProcess = [sinks](std::string_view name, std::string_view path) {
        RaiseEvent(sinks, RequiresKillProcess, CleanerSource, "RequiresKillProcess", name, path);
    };
    thing.Subscribe(std::move(events));
}

KEL_WRAPS(ScannerCallbackObject, kel::ScannerCallback)
KEL_WRAPS(CleanerCallbackObject, kel::CleanerCallback)

}  // namespace kel::automation
