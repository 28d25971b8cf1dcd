#include "hivedump/Names.h"

#include <array>
#include <chrono>
#include <cstdio>

namespace kel::hivedump {
namespace {

constexpr std::array<std::string_view, 12> TypeNames{
    "REG_NONE",
    "REG_SZ",
    "REG_EXPAND_SZ",
    "REG_BINARY",
    "REG_DWORD",
    "REG_DWORD_BIG_ENDIAN",
    "REG_LINK",
    "REG_MULTI_SZ",
    "REG_RESOURCE_LIST",
    "REG_FULL_RESOURCE_DESCRIPTOR",
    "REG_RESOURCE_REQUIREMENTS_LIST",
    "REG_QWORD",
};

constexpr std::uint64_t TicksPerSecond = 10'000'000;
constexpr std::uint64_t SecondsFrom1601To1970 = 11'644'473'600;
constexpr std::uint64_t LastSecond = 253'402'300'799;  // of the year 9999, from 1970

bool IsHigh(char16_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}
bool IsLow(char16_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}
// Controls, and what changes the direction of what follows.
bool IsUnprintable(char16_t unit) {
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || (unit >= 0x200B && unit <= 0x200F) ||
           (unit >= 0x2028 && unit <= 0x202E) || (unit >= 0x2060 && unit <= 0x206F) || unit == 0xFEFF ||
           unit >= 0xFFF0 || IsHigh(unit) || IsLow(unit);
}

void AppendUtf8(std::string& out, char32_t character) {
    if (character < 0x80) {
        out += static_cast<char>(character);
        return;
    }
    const int more = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
    constexpr std::array<unsigned, 4> Lead{0, 0xC0, 0xE0, 0xF0};
    out += static_cast<char>(Lead[static_cast<std::size_t>(more)] | static_cast<unsigned>(character >> (6 * more)));
    for (int i = more - 1; i >= 0; --i)
        out += static_cast<char>(0x80U | (static_cast<unsigned>(character >> (6 * i)) & 0x3FU));
}

void AppendEscape(std::string& out, char16_t unit) {
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "\\u%04x", static_cast<unsigned>(unit));
    out += text.data();
}

}  // namespace

std::string_view TypeName(std::uint32_t type) noexcept {
    return type < TypeNames.size() ? TypeNames[type] : std::string_view();
}

void AppendQuoted(std::string& out, std::u16string_view text) {
    out += '"';
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        if (unit == u'"' || unit == u'\\') {
            out += '\\';
            out += static_cast<char>(unit);
        } else if (IsHigh(unit) && i + 1 < text.size() && IsLow(text[i + 1])) {
            AppendUtf8(out, 0x10000 + ((unit & 0x3FFU) << 10) + (text[++i] & 0x3FFU));
        } else if (IsUnprintable(unit)) {
            AppendEscape(out, unit);
        } else {
            AppendUtf8(out, unit);
        }
    }
    out += '"';
}

void AppendHex(std::string& out, std::span<const std::byte> bytes) {
    constexpr std::string_view Digits = "0123456789abcdef";
    const std::size_t at = out.size();
    out.resize(at + bytes.size() * 2);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        out[at + i * 2] = Digits[static_cast<std::size_t>(bytes[i]) >> 4];
        out[at + i * 2 + 1] = Digits[static_cast<std::size_t>(bytes[i]) & 15];
    }
}

void AppendTime(std::string& out, std::uint64_t filetime) {
    const std::uint64_t seconds = filetime / TicksPerSecond;
    if (filetime == 0 || seconds > LastSecond + SecondsFrom1601To1970) {
        out += '-';
        return;
    }
    using namespace std::chrono;
    const sys_seconds time{
        std::chrono::seconds(static_cast<std::int64_t>(seconds) - static_cast<std::int64_t>(SecondsFrom1601To1970))};
    const auto day = floor<days>(time);
    const year_month_day date{day};
    const hh_mm_ss clock{time - day};
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()));
    out += text.data();
}

}  // namespace kel::hivedump
