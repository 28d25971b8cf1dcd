#include "frontend/QuietSink.h"

#include "frontend/ShownText.h"

namespace kel::frontend {

void QuietSink::Start(const StartRecord& record) {
    for (const std::string& stage : record.notAvailable) {
        std::fprintf(err_, "ombrelane: not available on this machine: %s\n", stage.c_str());
    }
}

void QuietSink::Error(const ErrorRecord& record) {
    std::fprintf(err_, "ombrelane: %s%s%s\n", ShownText(record.location).c_str(), record.location.empty() ? "" : ": ",
                 ShownText(record.message).c_str());
}

void QuietSink::Summary(const SummaryRecord& record) {
    if (!record.abortReason.empty()) {
        std::fprintf(err_, "ombrelane: the scan was aborted: %s\n", ShownText(record.abortReason).c_str());
    } else if (!record.complete) {
        std::fprintf(err_, "ombrelane: the scan is not complete\n");
    }
}

}  // namespace kel::frontend
