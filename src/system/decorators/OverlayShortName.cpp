// 8.3 names of what is made in a dry run.
#include <algorithm>

#include "decorators/FileOverlay.h"

namespace kel::decorators {

namespace {

constexpr std::size_t MostOfBase = 8;
constexpr std::size_t MostOfExtension = 3;
constexpr unsigned MostNumbers = 999'999;

bool IsPlain(char byte) {
    return (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') ||
           std::string_view("!#$%&'()-@^_`{}~").find(byte) != std::string_view::npos;
}

bool AllPlain(std::string_view text) {
    return std::all_of(text.begin(), text.end(), IsPlain);
}

bool IsShort(std::string_view upper) {
    const std::size_t dot = upper.find('.');
    const std::string_view base = upper.substr(0, dot);
    const std::string_view extension = dot == std::string_view::npos ? std::string_view() : upper.substr(dot + 1);
    return !base.empty() && base.size() <= MostOfBase && extension.size() <= MostOfExtension &&
           (dot == std::string_view::npos || !extension.empty()) && AllPlain(base) && AllPlain(extension);
}

// At most `count` signs that a short name can have; blanks and dots are left out, others become an underscore.
std::string Shorten(std::string_view text, std::size_t count) {
    std::string out;
    for (const char byte : text) {
        if (out.size() < count && byte != ' ' && byte != '.') {
            out += IsPlain(byte) ? byte : '_';
        }
    }
    return out;
}

}  // namespace

std::string MakeShortName(platform::Text& text, std::string_view name,
                          const std::function<bool(const std::string&)>& taken) {
    const std::string upper = text.ToUpper(name);
    if (IsShort(upper)) {
        return {};
    }
    const std::size_t dot = upper.rfind('.');
    const bool hasExtension = dot != std::string::npos && dot != 0;
    std::string extension = hasExtension ? Shorten(std::string_view(upper).substr(dot + 1), MostOfExtension) : "";
    if (!extension.empty()) {
        extension.insert(0, ".");
    }
    const std::string_view base = std::string_view(upper).substr(0, hasExtension ? dot : upper.size());
    for (unsigned number = 1; number <= MostNumbers; ++number) {
        const std::string tail = "~" + std::to_string(number);
        std::string candidate = Shorten(base, std::min<std::size_t>(6, MostOfBase - tail.size())) + tail + extension;
        if (!taken(candidate)) {
            return candidate;
        }
    }
    return {};
}

}  // namespace kel::decorators
