#include "offline/Wtf8.h"

#include <cstdint>

namespace kel::offline {

namespace {

constexpr bool IsHighSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

constexpr bool IsLowSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

void AppendCode(std::string& out, char32_t code) {
    const auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (code < 0x80) {
        put(code);
    } else if (code < 0x800) {
        put(0xC0 | code >> 6);
        put(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        put(0xE0 | code >> 12);
        put(0x80 | (code >> 6 & 0x3F));
        put(0x80 | (code & 0x3F));
    } else {
        put(0xF0 | code >> 18);
        put(0x80 | (code >> 12 & 0x3F));
        put(0x80 | (code >> 6 & 0x3F));
        put(0x80 | (code & 0x3F));
    }
}

struct Decoded {
    char32_t code;
    std::size_t length;  // bytes; 0 when no valid sequence begins here
};

Decoded DecodeAt(std::string_view text, std::size_t at) {
    const auto byte = [&](std::size_t index) -> char32_t { return static_cast<unsigned char>(text[at + index]); };
    const char32_t first = byte(0);
    if (first < 0x80) {
        return {first, 1};
    }
    const std::size_t length = first >= 0xC2 && first <= 0xDF   ? 2
                               : first >= 0xE0 && first <= 0xEF ? 3
                               : first >= 0xF0 && first <= 0xF4 ? 4
                                                                : 0;
    if (length == 0 || at + length > text.size()) {
        return {0, 0};
    }
    char32_t code = first & (0x7FU >> length);
    for (std::size_t index = 1; index < length; ++index) {
        if ((byte(index) & 0xC0) != 0x80) {
            return {0, 0};
        }
        code = code << 6 | (byte(index) & 0x3F);
    }
    const bool shortest = length == 2 || (length == 3 ? code >= 0x800 : code >= 0x10000 && code <= 0x10FFFF);
    return {code, shortest ? length : 0};
}

}  // namespace

std::string ToWtf8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        char32_t code = text[at];
        if (IsHighSurrogate(code) && at + 1 < text.size() && IsLowSurrogate(text[at + 1])) {
            code = 0x10000 + ((code - 0xD800) << 10) + (text[++at] - 0xDC00U);
        }
        AppendCode(out, code);
    }
    return out;
}

std::u16string FromWtf8(std::string_view text) {
    std::u16string out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const Decoded decoded = DecodeAt(text, at);
        if (decoded.length == 0) {
            out.push_back(static_cast<unsigned char>(text[at++]));
            continue;
        }
        if (decoded.code >= 0x10000) {
            out.push_back(static_cast<char16_t>(0xD800 + ((decoded.code - 0x10000) >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + ((decoded.code - 0x10000) & 0x3FF)));
        } else {
            out.push_back(static_cast<char16_t>(decoded.code));
        }
        at += decoded.length;
    }
    return out;
}

std::u16string UnitsFromBytes(std::span<const std::byte> bytes) {
    std::u16string units(bytes.size() / 2, u'\0');
    for (std::size_t index = 0; index < units.size(); ++index) {
        units[index] = static_cast<char16_t>(std::to_integer<unsigned>(bytes[2 * index]) |
                                             std::to_integer<unsigned>(bytes[2 * index + 1]) << 8);
    }
    return units;
}

std::vector<std::byte> BytesFromUnits(std::u16string_view units) {
    std::vector<std::byte> bytes;
    bytes.reserve(units.size() * 2);
    for (const char16_t unit : units) {
        bytes.push_back(static_cast<std::byte>(unit & 0xFF));
        bytes.push_back(static_cast<std::byte>(unit >> 8));
    }
    return bytes;
}

}  // namespace kel::offline
