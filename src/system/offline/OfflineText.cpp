#include "offline/OfflineText.h"

#include <array>

#include "hive/Upcase.h"

namespace kel::offline {

namespace {

using CaseTable = std::array<char16_t, 0x10000>;

// No two letters share an upper-case form in the table, so that it can be turned round.
const CaseTable& DowncaseTable() {
    static const CaseTable table = [] {
        CaseTable lower;
        for (std::size_t unit = 0; unit < lower.size(); ++unit) {
            lower[unit] = static_cast<char16_t>(unit);
        }
        const CaseTable& upper = UpcaseTable();
        for (std::size_t unit = 0; unit < upper.size(); ++unit) {
            if (upper[unit] != unit) {
                lower[upper[unit]] = static_cast<char16_t>(unit);
            }
        }
        return lower;
    }();
    return table;
}

unsigned Byte(std::string_view text, std::size_t at) {
    return static_cast<unsigned char>(text[at]);
}

void AppendUnit(std::string& out, unsigned unit) {
    if (unit < 0x80) {
        out.push_back(static_cast<char>(unit));
    } else if (unit < 0x800) {
        out.push_back(static_cast<char>(0xC0 | unit >> 6));
        out.push_back(static_cast<char>(0x80 | (unit & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xE0 | unit >> 12));
        out.push_back(static_cast<char>(0x80 | (unit >> 6 & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (unit & 0x3F)));
    }
}

template <char First, int Distance>
std::string MapCase(std::string_view text, const CaseTable& (*table)()) {
    std::string out(text);
    std::size_t at = 0;
    for (; at < text.size() && Byte(text, at) < 0x80; ++at) {
        if (text[at] >= First && text[at] <= First + 25) {
            out[at] = static_cast<char>(text[at] + Distance);
        }
    }
    if (at == text.size()) {
        return out;
    }
    out.resize(at);
    while (at < text.size()) {
        const std::size_t length = CharacterLength(text, at);
        if (length == 2 || length == 3) {
            const unsigned unit = length == 2 ? (Byte(text, at) & 0x1F) << 6 | (Byte(text, at + 1) & 0x3F)
                                              : (Byte(text, at) & 0xF) << 12 | (Byte(text, at + 1) & 0x3F) << 6 |
                                                    (Byte(text, at + 2) & 0x3F);
            AppendUnit(out, table()[unit]);
            at += length;
        } else if (length == 4) {
            out.append(text.substr(at, 4));
            at += 4;
        } else {
            const char byte = text[at++];
            const bool letter = byte >= First && byte <= First + 25;
            out.push_back(letter ? static_cast<char>(byte + Distance) : byte);
        }
    }
    return out;
}

}  // namespace

std::size_t CharacterLength(std::string_view text, std::size_t at) {
    const unsigned first = Byte(text, at);
    if (first < 0x80) {
        return 1;
    }
    const std::size_t length = first >= 0xC2 && first <= 0xDF   ? 2
                               : first >= 0xE0 && first <= 0xEF ? 3
                               : first >= 0xF0 && first <= 0xF4 ? 4
                                                                : 0;
    if (length == 0 || length > text.size() - at) {
        return 0;
    }
    for (std::size_t index = 1; index < length; ++index) {
        if ((Byte(text, at + index) & 0xC0) != 0x80) {
            return 0;
        }
    }
    const unsigned second = Byte(text, at + 1);
    const bool overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool tooFar = first == 0xF4 && second > 0x8F;
    return overlong || tooFar ? 0 : length;
}

std::string FoldName(std::string_view name) {
    return MapCase<'a', 'A' - 'a'>(name, &UpcaseTable);
}

std::string OfflineText::ToLower(std::string_view text) {
    return MapCase<'A', 'a' - 'A'>(text, &DowncaseTable);
}

std::string OfflineText::ToUpper(std::string_view text) {
    return FoldName(text);
}

std::size_t OfflineText::Prefix(std::string_view text, std::size_t count) {
    std::size_t at = 0;
    for (; count > 0 && at < text.size(); --count) {
        const std::size_t length = CharacterLength(text, at);
        at += length == 0 ? 1 : length;
    }
    return at;
}

}  // namespace kel::offline
