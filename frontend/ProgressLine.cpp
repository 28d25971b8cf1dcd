#include "frontend/ProgressLine.h"

#include <algorithm>
#include <utility>

#include "frontend/ShownText.h"
#include "frontend/Terminal.h"

namespace kel::frontend {

namespace {

// Both in one line of at most so many bytes, which take no more columns than that. The end of a path tells more than
// its beginning.
std::string Fitting(std::string line, const std::string& path, std::size_t room) {
    constexpr std::string_view Dots = "...";
    if (line.size() + path.size() <= room) {
        return line + path;
    }
    if (line.size() + Dots.size() >= room) {
        line.resize(std::min(line.size(), room));
        return line;
    }
    std::size_t from = path.size() - (room - line.size() - Dots.size());
    while (from < path.size() && (static_cast<unsigned char>(path[from]) & 0xC0U) == 0x80U) {
        ++from;
    }
    return line.append(Dots).append(path, from);
}

}  // namespace

void ProgressLine::Show(std::string_view stage, std::int64_t count, std::string_view location) {
    if (!enabled_) {
        return;
    }
    const Clock::time_point now = Clock::now();
    if (now - last_ < std::chrono::milliseconds(100)) {
        return;
    }
    last_ = now;
    const double seconds = std::chrono::duration<double>(now - began_).count();
    const auto rate = static_cast<long long>(seconds > 0 ? static_cast<double>(count) / seconds : 0);
    Draw(std::string(stage) + "  " + std::to_string(count) + "  " + std::to_string(rate) + "/s  ", ShownText(location));
}

void ProgressLine::Say(std::string_view who, std::string_view what) {
    if (enabled_) {
        Draw(ShownText(who) + (who.empty() ? "" : ": "), ShownText(what));
    }
}

void ProgressLine::Draw(std::string line, const std::string& end) {
    line = Fitting(std::move(line), end, static_cast<std::size_t>(Columns(out_) - 1));
    std::fprintf(out_, "\r\x1b[K%s", line.c_str());
    std::fflush(out_);
    drawn_ = true;
}

void ProgressLine::Clear() {
    if (drawn_) {
        std::fprintf(out_, "\r\x1b[K");
        std::fflush(out_);
        drawn_ = false;
    }
}

}  // namespace kel::frontend
