// One line on a terminal that tells where a scan or a clean is.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace kel::frontend {

/// Redrawn at most ten times a second by a scan; wiped by its destructor, or by Clear before something else is printed.
class ProgressLine {
public:
    /// `out` stays the caller's. Does nothing when not enabled.
    ProgressLine(std::FILE* out, bool enabled) : out_(out), enabled_(enabled) {}
    ~ProgressLine() { Clear(); }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    void Show(std::string_view stage, std::int64_t count, std::string_view location);
    /// Shows what is done at the moment, at once.
    void Say(std::string_view who, std::string_view what);
    void Clear();

private:
    void Draw(std::string line, const std::string& end);

    using Clock = std::chrono::steady_clock;

    std::FILE* out_;
    bool enabled_;
    bool drawn_ = false;
    Clock::time_point began_ = Clock::now();
    Clock::time_point last_{};
};

}  // namespace kel::frontend
