#include "frontend/ScanObserver.h"

namespace kel::frontend {

ScanObserver::ScanObserver(Sink& sink, ProgressLine& progress) : sink_(sink), progress_(progress) {
    ObserveFailures([this](const FailureRecord& record) { Note(record); });
}

ScanObserver::~ScanObserver() {
    ObserveFailures({});
}

void ScanObserver::OnUnreadable(std::string_view path, platform::SysError error) {
    if (!unreadable_.emplace(path).second) {
        return;
    }
    progress_.Clear();
    sink_.Error(
        {"unreadable", "can't be read (error " + std::to_string(platform::Number(error)) + ")", std::string(path)});
}

void ScanObserver::Note(const FailureRecord& record) {
    const bool table = record.procedure == "InitializeScanData" || record.procedure == "InitializeThreatData";
    tablesComplete_ = tablesComplete_ && !table;
    // The history reports the adding of a scan under this name.
    historyWaits_ = historyWaits_ || (record.module == "ScanHistory" && record.procedure == "FoundAt");
    ++errors_;
    progress_.Clear();
    sink_.Error({"engine", record.module + "." + record.procedure + ": " + record.description, {}});
    if (listener_) {
        listener_(record);
    }
}

}  // namespace kel::frontend
