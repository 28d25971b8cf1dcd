#include "archive/ZipNames.h"

#include <algorithm>
#include <array>

namespace kel::archive {

namespace {

// The upper half of code page 437.
constexpr std::u16string_view UpperHalf =
    u"\u00c7\u00fc\u00e9\u00e2\u00e4\u00e0\u00e5\u00e7\u00ea\u00eb\u00e8\u00ef\u00ee\u00ec\u00c4\u00c5"
    u"\u00c9\u00e6\u00c6\u00f4\u00f6\u00f2\u00fb\u00f9\u00ff\u00d6\u00dc\u00a2\u00a3\u00a5\u20a7\u0192"
    u"\u00e1\u00ed\u00f3\u00fa\u00f1\u00d1\u00aa\u00ba\u00bf\u2310\u00ac\u00bd\u00bc\u00a1\u00ab\u00bb"
    u"\u2591\u2592\u2593\u2502\u2524\u2561\u2562\u2556\u2555\u2563\u2551\u2557\u255d\u255c\u255b\u2510"
    u"\u2514\u2534\u252c\u251c\u2500\u253c\u255e\u255f\u255a\u2554\u2569\u2566\u2560\u2550\u256c\u2567"
    u"\u2568\u2564\u2565\u2559\u2558\u2552\u2553\u256b\u256a\u2518\u250c\u2588\u2584\u258c\u2590\u2580"
    u"\u03b1\u00df\u0393\u03c0\u03a3\u03c3\u00b5\u03c4\u03a6\u0398\u03a9\u03b4\u221e\u03c6\u03b5\u2229"
    u"\u2261\u00b1\u2265\u2264\u2320\u2321\u00f7\u2248\u00b0\u2219\u00b7\u221a\u207f\u00b2\u25a0\u00a0";
static_assert(UpperHalf.size() == 128);

constexpr std::array<std::string_view, 8> DeviceNames{
    "con", "prn", "aux", "nul", "clock$", "conin$", "conout$", "config$",
};

void AppendUtf8(std::string& text, char16_t character) {
    const auto code = static_cast<unsigned>(character);
    if (code < 0x80) {
        text += static_cast<char>(code);
    } else if (code < 0x800) {
        text += static_cast<char>(0xc0U | code >> 6);
        text += static_cast<char>(0x80U | (code & 0x3fU));
    } else {
        text += static_cast<char>(0xe0U | code >> 12);
        text += static_cast<char>(0x80U | (code >> 6 & 0x3fU));
        text += static_cast<char>(0x80U | (code & 0x3fU));
    }
}

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool IsControl(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
}

// A device keeps its meaning with any extension: "nul.txt", "com1 .exe".
bool IsDevice(std::string_view part) {
    std::string base(part.substr(0, part.find('.')));
    while (base.ends_with(' ')) {
        base.pop_back();
    }
    std::transform(base.begin(), base.end(), base.begin(), Lower);
    const bool isPort = base.starts_with("com") || base.starts_with("lpt");
    if (isPort) {
        // One digit; the superscript ones of Latin-1 count as digits too.
        const std::string_view number = std::string_view(base).substr(3);
        return (number.size() == 1 && number[0] >= '0' && number[0] <= '9') || number == "\xc2\xb9" ||
               number == "\xc2\xb2" || number == "\xc2\xb3";
    }
    return std::find(DeviceNames.begin(), DeviceNames.end(), base) != DeviceNames.end();
}

bool IsSafePart(std::string_view part) {
    return !part.empty() && !part.ends_with('.') && !part.ends_with(' ') && part.find(':') == std::string_view::npos &&
           std::none_of(part.begin(), part.end(), IsControl) && !IsDevice(part);
}

}  // namespace

std::string Utf8FromCodePage437(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (const char c : text) {
        const auto code = static_cast<unsigned char>(c);
        AppendUtf8(result, code < 0x80 ? static_cast<char16_t>(code) : UpperHalf[code - 0x80U]);
    }
    return result;
}

std::optional<std::string> SafePath(std::string_view name) {
    std::string path(name);
    std::replace(path.begin(), path.end(), '/', '\\');
    if (path.ends_with('\\')) {
        path.pop_back();
    }
    for (std::size_t start = 0; start <= path.size();) {
        const std::size_t end = std::min(path.find('\\', start), path.size());
        if (!IsSafePart(std::string_view(path).substr(start, end - start))) {
            return std::nullopt;
        }
        start = end + 1;
    }
    for (char& c : path) {
        if (std::string_view("<>\"|?*").find(c) != std::string_view::npos) {
            c = '_';
        }
    }
    return path;
}

}  // namespace kel::archive
