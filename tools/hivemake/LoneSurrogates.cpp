#include "hivemake/LoneSurrogates.h"

#include <optional>

#include "offline/Wtf8.h"

namespace kel::hivemake {
namespace {

// The last of all characters, which is assigned to nobody, and four digits behind it stand for one unit. Where the
// character itself is meant, both of its halves are marked.
constexpr std::string_view Marker = "\xF4\x8F\xBF\xBF";
constexpr std::u16string_view MarkerUnits = u"\U0010FFFF";
constexpr std::size_t EscapeSize = 6;  // \uXXXX
constexpr std::size_t DigitCount = 4;

template <class Character>
std::optional<unsigned> Number(std::basic_string_view<Character> text, std::size_t at) {
    if (at > text.size() || text.size() - at < DigitCount)
        return std::nullopt;
    unsigned number = 0;
    for (const Character c : text.substr(at, DigitCount)) {
        const std::size_t digit = std::string_view("0123456789abcdef").find(static_cast<char>(c | 0x20));
        if (c > 0x7F || digit == std::string_view::npos)
            return std::nullopt;
        number = number << 4 | static_cast<unsigned>(digit);
    }
    return number;
}

/// The unit whose escape begins there.
std::optional<unsigned> EscapeAt(std::string_view json, std::size_t at) {
    return json.substr(at, 2) == "\\u" ? Number(json, at + 2) : std::nullopt;
}

void AppendMarked(std::string& out, unsigned unit) {
    out += Marker;
    for (int shift = 12; shift >= 0; shift -= 4)
        out += "0123456789abcdef"[unit >> shift & 15];
}

bool IsHigh(unsigned unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}
bool IsLow(unsigned unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

}  // namespace

std::string MarkLoneSurrogates(std::string_view json) {
    std::string out;
    out.reserve(json.size());
    for (std::size_t at = 0; at < json.size();) {
        const std::optional<unsigned> unit = EscapeAt(json, at);
        const std::optional<unsigned> next =
            unit && IsHigh(*unit) ? EscapeAt(json, at + EscapeSize) : std::optional<unsigned>();
        const bool pair = next && IsLow(*next);
        std::size_t size = unit ? EscapeSize : json[at] == '\\' ? 2 : 1;
        if (json.substr(at, Marker.size()) == Marker || (pair && *unit == MarkerUnits[0] && *next == MarkerUnits[1])) {
            AppendMarked(out, MarkerUnits[0]);
            AppendMarked(out, MarkerUnits[1]);
            size = unit ? 2 * EscapeSize : Marker.size();
        } else if (unit && !pair && (IsHigh(*unit) || IsLow(*unit))) {
            AppendMarked(out, *unit);
        } else {
            size = pair ? 2 * EscapeSize : size;
            out += json.substr(at, size);
        }
        at += size;
    }
    return out;
}

std::u16string UnitsOf(std::string_view marked) {
    std::u16string units = offline::FromWtf8(marked);
    std::size_t at = units.find(MarkerUnits);
    if (at == std::u16string::npos)
        return units;
    std::u16string out;
    std::size_t begin = 0;
    for (; at != std::u16string::npos; at = units.find(MarkerUnits, begin)) {
        out.append(units, begin, at - begin);
        out += static_cast<char16_t>(Number(std::u16string_view(units), at + MarkerUnits.size()).value_or(0xFFFD));
        begin = at + MarkerUnits.size() + DigitCount;
    }
    return out.append(units, begin);
}

}  // namespace kel::hivemake
