// What happens while an engine loads and scans, on its way to the one who shows it.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "core/Failures.h"
#include "frontend/ProgressLine.h"
#include "frontend/Sink.h"
#include "platform/SysError.h"

namespace kel::frontend {

/// Tells failures of the engine as they come, from its construction on, and what is unreadable once.
class ScanObserver {
public:
    /// Both outlive the object.
    ScanObserver(Sink& sink, ProgressLine& progress);
    ~ScanObserver();
    ScanObserver(const ScanObserver&) = delete;
    ScanObserver& operator=(const ScanObserver&) = delete;

    void OnUnreadable(std::string_view path, platform::SysError error);
    /// Called for each failure of the engine too, from now on; empty: nobody.
    void OnFailure(std::function<void(const FailureRecord& record)> listener) { listener_ = std::move(listener); }

    [[nodiscard]] std::int64_t Errors() const { return errors_; }
    [[nodiscard]] std::int64_t Unreadable() const { return static_cast<std::int64_t>(unreadable_.size()); }
    /// Failures that make a table incomplete: those from the loading of the data.
    [[nodiscard]] bool TablesComplete() const { return tablesComplete_; }
    /// Whether the writing of the history broke off, so that a part of it may be in memory alone.
    [[nodiscard]] bool HistoryWaits() const { return historyWaits_; }

private:
    void Note(const FailureRecord& record);

    Sink& sink_;
    ProgressLine& progress_;
    std::function<void(const FailureRecord& record)> listener_;
    std::set<std::string, std::less<>> unreadable_;
    std::int64_t errors_ = 0;
    bool tablesComplete_ = true;
    bool historyWaits_ = false;
};

}  // namespace kel::frontend
