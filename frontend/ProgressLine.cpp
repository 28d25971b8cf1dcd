#include "frontend/ProgressLine.h"

#include "frontend/ShownText.h"
#include "frontend/Terminal.h"

namespace kel::frontend {

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
    std::string line = std::string(stage) + "  " + std::to_string(count) + "  " + std::to_string(rate) + "/s  ";
    const auto room = static_cast<std::size_t>(Columns(out_) - 1);
    std::string shown = ShownText(location);
    if (line.size() + shown.size() > room && line.size() + 3 < room) {
        // The end of a path tells more than its beginning.
        std::size_t from = shown.size() - (room - line.size() - 3);
        while (from < shown.size() && (static_cast<unsigned char>(shown[from]) & 0xC0U) == 0x80U) {
            ++from;
        }
        shown = "..." + shown.substr(from);
    }
    std::fprintf(out_, "\r\x1b[K%s%s", line.c_str(), shown.c_str());
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
