#include "offline/WineRegistryText.h"

#include <algorithm>
#include <array>
#include <memory>
#include <numeric>

#include "hive/Upcase.h"

namespace kel::offline {

namespace {

constexpr std::uint32_t TypeSz = 1;
constexpr std::uint32_t TypeExpandSz = 2;
constexpr std::uint32_t TypeBinary = 3;
constexpr std::uint32_t TypeDword = 4;
constexpr std::uint32_t TypeMultiSz = 7;

constexpr std::uint64_t TicksPerSecond = 10'000'000;
constexpr std::uint64_t SecondsTo1970 = 11'644'473'600;

// Index: the control character; '.': it has no letter.
constexpr std::string_view EscapeLetters = ".......abtnvfr.............e....";

constexpr int HexDigit(char character) {
    if (character >= '0' && character <= '9') {
        return character - '0';
    }
    if (character >= 'a' && character <= 'f') {
        return character - 'a' + 10;
    }
    if (character >= 'A' && character <= 'F') {
        return character - 'A' + 10;
    }
    return -1;
}

constexpr bool IsOctal(char16_t unit) {
    return unit >= u'0' && unit <= u'7';
}

// The upcase table turned round; where several letters have one upper case, the first of them.
const std::array<char16_t, 0x10000>& LowerTable() {
    static const auto table = [] {
        auto lower = std::make_unique<std::array<char16_t, 0x10000>>();
        std::iota(lower->begin(), lower->end(), char16_t{0});
        for (std::size_t unit = lower->size(); unit-- > 0;) {
            const char16_t upper = Upcase(static_cast<char16_t>(unit));
            if (upper != unit) {
                (*lower)[upper] = static_cast<char16_t>(unit);
            }
        }
        return lower;
    }();
    return *table;
}

char16_t Lower(char16_t unit) {
    if (unit < 0x80) {
        return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 0x20) : unit;
    }
    return LowerTable()[unit];
}

void AppendNumber(std::string& out, std::uint32_t number, unsigned base, std::size_t width) {
    std::array<char, 12> digits{};
    std::size_t at = digits.size();
    do {
        digits[--at] = "0123456789abcdef"[number % base];
        number /= base;
    } while (number != 0);
    while (digits.size() - at < width) {
        digits[--at] = '0';
    }
    out.append(digits.data() + at, digits.size() - at);
}

void AppendUnits(std::vector<std::byte>& data, std::u16string_view units) {
    for (const char16_t unit : units) {
        data.push_back(static_cast<std::byte>(unit & 0xFF));
        data.push_back(static_cast<std::byte>(unit >> 8));
    }
}

// Only text with its terminator has a form of its own; the rest is written as bytes.
bool IsTerminatedText(const TreeValue& value) {
    const auto& data = value.data;
    return (value.type == TypeSz || value.type == TypeExpandSz || value.type == TypeMultiSz) && data.size() >= 2 &&
           data.size() % 2 == 0 && data[data.size() - 1] == std::byte{0} && data[data.size() - 2] == std::byte{0};
}

std::uint32_t LittleEndian(const std::vector<std::byte>& data) {
    std::uint32_t number = 0;
    for (std::size_t index = data.size(); index-- > 0;) {
        number = number << 8 | std::to_integer<std::uint32_t>(data[index]);
    }
    return number;
}

void AppendHex(std::string& out, const TreeValue& value, std::size_t column) {
    const std::size_t start = out.size();
    out += "hex";
    if (value.type != TypeBinary) {
        out += '(';
        AppendNumber(out, value.type, 16, 1);
        out += ')';
    }
    out += ':';
    column += out.size() - start;
    for (std::size_t index = 0; index < value.data.size(); ++index) {
        AppendNumber(out, std::to_integer<std::uint32_t>(value.data[index]), 16, 2);
        column += 2;
        if (index + 1 == value.data.size()) {
            break;
        }
        out += ',';
        if (++column > 76) {
            out += "\\\n  ";
            column = 2;
        }
    }
}

}  // namespace

bool WineTextReader::Fail(const char* reason) {
    reason_ = reason;
    return false;
}

bool WineTextReader::Take(std::string_view literal) {
    if (text_.substr(at_, literal.size()) != literal) {
        return false;
    }
    at_ += literal.size();
    return true;
}

void WineTextReader::SkipBlanks() {
    while (at_ < text_.size() && (text_[at_] == ' ' || text_[at_] == '\t')) {
        ++at_;
    }
}

void WineTextReader::SkipLine() {
    const std::size_t end = text_.find('\n', at_);
    at_ = end == std::string_view::npos ? text_.size() : end + 1;
}

bool WineTextReader::LineEnd() {
    SkipBlanks();
    if (Peek() == '\r') {
        ++at_;
    }
    if (AtEnd()) {
        return true;
    }
    if (text_[at_] != '\n') {
        return Fail("unexpected text at the end of the line");
    }
    ++at_;
    return true;
}

bool DecodeEscaped(std::string_view text, std::size_t& at, char end, std::u16string* out) {
    const auto digits = [&](unsigned base, std::size_t most) {
        std::uint32_t number = 0;
        for (std::size_t count = 0; count < most && at < text.size(); ++count, ++at) {
            const int digit = HexDigit(text[at]);
            if (digit < 0 || static_cast<unsigned>(digit) >= base) {
                break;
            }
            number = number * base + static_cast<std::uint32_t>(digit);
        }
        return static_cast<char16_t>(number);
    };
    while (at < text.size()) {
        const char character = text[at];
        if (character == end) {
            ++at;
            return true;
        }
        if (character == '\n') {
            return false;
        }
        ++at;
        char16_t unit = static_cast<unsigned char>(character);
        if (character == '\\') {
            if (at >= text.size() || text[at] == '\n') {
                return false;
            }
            const char escape = text[at];
            const std::size_t control = EscapeLetters.find(escape);
            if (escape == 'x' && at + 1 < text.size() && HexDigit(text[at + 1]) >= 0) {
                ++at;
                unit = digits(16, 4);
            } else if (IsOctal(static_cast<unsigned char>(escape))) {
                unit = digits(8, 3);
            } else {
                ++at;
                unit = escape != '.' && control != std::string_view::npos ? static_cast<char16_t>(control)
                                                                          : static_cast<unsigned char>(escape);
            }
        }
        if (out != nullptr) {
            out->push_back(unit);
        }
    }
    return false;
}

bool WineTextReader::Characters(char end, std::u16string* out) {
    return DecodeEscaped(text_, at_, end, out) || Fail("the text has no closing quote");
}

bool WineTextReader::Quoted(std::u16string* out) {
    return Take("\"") ? Characters('"', out) : Fail("a quoted text is missing");
}

bool WineTextReader::HeadEnd(std::uint64_t& seconds) {
    SkipBlanks();
    seconds = 0;
    while (Peek() >= '0' && Peek() <= '9') {
        seconds = seconds * 10 + static_cast<std::uint64_t>(Peek() - '0');
        if (seconds > 0xFFFF'FFFF'FFFFULL) {
            return Fail("the key's time is out of range");
        }
        ++at_;
    }
    return LineEnd();
}

bool WineTextReader::Value(TreeValue* value) {
    if (value != nullptr) {
        *value = TreeValue{};
    }
    if (!Take("@") && !Quoted(value != nullptr ? &value->name : nullptr)) {
        return false;
    }
    SkipBlanks();
    if (!Take("=")) {
        return Fail("the value has no '='");
    }
    SkipBlanks();
    return Data(value) && LineEnd();
}

bool WineTextReader::TypeNumber(std::uint32_t& type) {
    std::uint64_t number = 0;
    const std::size_t start = at_;
    for (; HexDigit(Peek()) >= 0; ++at_) {
        number = number * 16 + static_cast<std::uint64_t>(HexDigit(Peek()));
        if (number > 0xFFFFFFFF) {
            return Fail("the value's type is out of range");
        }
    }
    type = static_cast<std::uint32_t>(number);
    return (at_ > start && Take("):")) || Fail("the value's type is not a number in brackets");
}

bool WineTextReader::Data(TreeValue* value) {
    std::uint32_t type = TypeSz;
    if (Peek() == '"' || Take("str:")) {
        return Text(TypeSz, value);
    }
    if (Take("str(")) {
        return TypeNumber(type) && Text(type, value);
    }
    if (Take("dword:")) {
        return Dword(value);
    }
    if (Take("hex:")) {
        return Hex(TypeBinary, value);
    }
    if (Take("hex(")) {
        return TypeNumber(type) && Hex(type, value);
    }
    return Fail("the value's data have an unknown form");
}

bool WineTextReader::Text(std::uint32_t type, TreeValue* value) {
    if (value == nullptr) {
        return Quoted(nullptr);
    }
    std::u16string units;
    if (!Quoted(&units)) {
        return false;
    }
    units.push_back(u'\0');
    value->type = type;
    value->data.reserve(units.size() * 2);
    AppendUnits(value->data, units);
    return true;
}

bool WineTextReader::Dword(TreeValue* value) {
    std::uint32_t number = 0;
    std::size_t count = 0;
    for (; HexDigit(Peek()) >= 0; ++at_, ++count) {
        number = number << 4 | static_cast<std::uint32_t>(HexDigit(Peek()));
    }
    if (count == 0 || count > 8) {
        return Fail("a dword needs one to eight digits");
    }
    if (value != nullptr) {
        value->type = TypeDword;
        for (unsigned shift = 0; shift < 32; shift += 8) {
            value->data.push_back(static_cast<std::byte>(number >> shift & 0xFF));
        }
    }
    return true;
}

bool WineTextReader::Hex(std::uint32_t type, TreeValue* value) {
    if (value != nullptr) {
        value->type = type;
    }
    for (;;) {
        SkipBlanks();
        if (Peek() == '\\') {
            ++at_;
            if (!LineEnd()) {
                return false;
            }
            continue;
        }
        const int high = HexDigit(Peek());
        if (high < 0) {
            return true;
        }
        ++at_;
        int number = high;
        if (const int low = HexDigit(Peek()); low >= 0) {
            number = high * 16 + low;
            ++at_;
        }
        if (value != nullptr) {
            value->data.push_back(static_cast<std::byte>(number));
        }
        SkipBlanks();
        if (Peek() != ',') {
            return HexDigit(Peek()) < 0 || Fail("bytes must be two digits with commas between them");
        }
        ++at_;
    }
}

std::size_t AppendEscaped(std::string& out, std::u16string_view units, std::string_view quoted) {
    const std::size_t start = out.size();
    for (std::size_t index = 0; index < units.size(); ++index) {
        const char16_t unit = units[index];
        const char16_t next = index + 1 < units.size() ? units[index + 1] : u'\xFFFF';
        if (unit > 127) {
            out += "\\x";
            AppendNumber(out, unit, 16, next < 128 && HexDigit(static_cast<char>(next)) >= 0 ? 4 : 1);
        } else if (unit < 32) {
            out += '\\';
            if (EscapeLetters[unit] != '.') {
                out += EscapeLetters[unit];
            } else {
                AppendNumber(out, unit, 8, IsOctal(next) ? 3 : 1);
            }
        } else {
            const char character = static_cast<char>(unit);
            if (character == '\\' || quoted.find(character) != std::string_view::npos) {
                out += '\\';
            }
            out += character;
        }
    }
    return out.size() - start;
}

void AppendValue(std::string& out, const TreeValue& value) {
    const std::size_t start = out.size();
    if (value.name.empty()) {
        out += "@=";
    } else {
        out += '"';
        AppendEscaped(out, value.name, "\"");
        out += "\"=";
    }
    if (IsTerminatedText(value)) {
        if (value.type != TypeSz) {
            out += "str(";
            AppendNumber(out, value.type, 16, 1);
            out += "):";
        }
        std::u16string units;
        units.reserve(value.data.size() / 2);
        for (std::size_t index = 0; index + 3 < value.data.size(); index += 2) {
            units.push_back(static_cast<char16_t>(std::to_integer<unsigned>(value.data[index]) |
                                                  std::to_integer<unsigned>(value.data[index + 1]) << 8));
        }
        out += '"';
        AppendEscaped(out, units, "\"");
        out += '"';
    } else if (value.type == TypeDword && value.data.size() == 4) {
        out += "dword:";
        AppendNumber(out, LittleEndian(value.data), 16, 8);
    } else {
        AppendHex(out, value, out.size() - start);
    }
    out += '\n';
}

void KeepLastOfEachName(std::vector<TreeValue>& values) {
    const auto less = [&](std::size_t left, std::size_t right) {
        const auto order = CompareNames(values[left].name, values[right].name);
        return order < 0 || (order == 0 && left < right);
    };
    std::vector<std::size_t> order(values.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    if (!std::is_sorted(order.begin(), order.end(), less)) {
        std::sort(order.begin(), order.end(), less);
    }
    std::vector<bool> dropped(values.size());
    for (std::size_t index = 0; index < order.size();) {
        const std::size_t first = order[index++];
        for (; index < order.size() && SameName(values[first].name, values[order[index]].name); ++index) {
            values[first].type = values[order[index]].type;
            values[first].data.swap(values[order[index]].data);
            dropped[order[index]] = true;
        }
    }
    std::size_t kept = 0;
    for (std::size_t index = 0; index < values.size(); ++index) {
        if (!dropped[index]) {
            if (kept != index) {
                values[kept] = std::move(values[index]);
            }
            ++kept;
        }
    }
    values.resize(kept);
}

std::uint64_t UnixSeconds(std::uint64_t fileTime) {
    const std::uint64_t seconds = fileTime / TicksPerSecond;
    return seconds < SecondsTo1970 ? 0 : seconds - SecondsTo1970;
}

std::uint64_t FileTimeOfUnix(std::uint64_t seconds) {
    return (seconds + SecondsTo1970) * TicksPerSecond;
}

bool WineOrder(std::u16string_view left, std::u16string_view right) {
    const std::size_t common = std::min(left.size(), right.size());
    for (std::size_t index = 0; index < common; ++index) {
        const char16_t a = Lower(left[index]);
        const char16_t b = Lower(right[index]);
        if (a != b) {
            return a < b;
        }
    }
    return left.size() < right.size();
}

}  // namespace kel::offline
