#include "frontend/QuietSink.h"

#include "frontend/CleanTexts.h"
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

void QuietSink::CleanStart(const CleanStartRecord& record) {
    destroys_ = record.destroys;
    for (const std::string& work : record.notAvailable) {
        std::fprintf(err_, "ombrelane: not available on this machine: %s\n", work.c_str());
    }
}

void QuietSink::Cleaned(const CleanRecord& record) {
    for (const CleanItem& item : record.items) {
        if (item.result == CleanItem::Result::Left) {
            std::fprintf(err_, "ombrelane: threat %d: %s is left: %s\n", static_cast<int>(record.threat),
                         item.kind.c_str(), ShownText(item.location).c_str());
        }
    }
    const std::string outcome = Outcome(record, destroys_);
    std::fprintf(err_, "ombrelane: %s\n", outcome.c_str());
}

void QuietSink::CleanSummary(const CleanSummaryRecord& record) {
    for (const std::string& line : Conclusion(record)) {
        std::fprintf(err_, "ombrelane: %s\n", line.c_str());
    }
}

void QuietSink::Write(const WriteRecord& record) {
    std::fprintf(err_, "ombrelane: would %s\n", ShownText(record.text).c_str());
}

}  // namespace kel::frontend
