// The text form of a Wine prefix's registry, piece by piece: names, values and section heads, read and written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hive/RegistryTree.h"

namespace kel::offline {

/// Reads the pieces of a registry text in order. Works on a text that outlives it; nothing is read behind its end.
/// After a failure `Reason()` says what is wrong at `Position()`.
class WineTextReader {
public:
    WineTextReader(std::string_view text, std::size_t position) : text_(text), at_(position) {}

    [[nodiscard]] std::size_t Position() const { return at_; }
    [[nodiscard]] const char* Reason() const { return reason_; }
    [[nodiscard]] bool AtEnd() const { return at_ >= text_.size(); }
    /// The character at the position, NUL at the end.
    [[nodiscard]] char Peek() const { return at_ < text_.size() ? text_[at_] : '\0'; }

    /// One value, `"name"=data` or `@=data`, with its continuation lines and its line end. `value` may be null: then
    /// it is only checked. Text data get the terminator that the form leaves out.
    bool Value(TreeValue* value);

    /// The rest of a section head behind its path: `] 1700000000`. Seconds since 1970, 0 when they are left out.
    bool HeadEnd(std::uint64_t& seconds);
    /// A text in double quotes, the opening one at the position.
    bool Quoted(std::u16string* out);
    /// The end of the line, with nothing but blanks before it.
    bool LineEnd();
    void SkipLine();

private:
    bool Fail(const char* reason);
    bool Characters(char end, std::u16string* out);
    char16_t Escape();
    bool Data(TreeValue* value);
    bool Text(std::uint32_t type, TreeValue* value);
    bool Dword(TreeValue* value);
    bool Hex(std::uint32_t type, TreeValue* value);
    bool Take(std::string_view literal);
    void SkipBlanks();
    bool TypeNumber(std::uint32_t& type);

    std::string_view text_;
    std::size_t at_;
    const char* reason_ = "";
};

/// Units of a text in the form's escapes, as far as `end` (unescaped), from `at`, which moves behind it. Null `out`:
/// only checked. Nothing when the line ends first.
bool DecodeEscaped(std::string_view text, std::size_t& at, char end, std::u16string* out);

/// Appends `units` in the form's escapes; `quoted` are the two characters that need a backslash beside itself.
/// Gives the number of characters that were written.
std::size_t AppendEscaped(std::string& out, std::u16string_view units, std::string_view quoted);

/// Appends the line or lines of a value as Wine writes them.
void AppendValue(std::string& out, const TreeValue& value);

/// Leaves of several values with the same name only the last one's data, in the place of the first.
void KeepLastOfEachName(std::vector<TreeValue>& values);

/// Seconds since 1970 of a FILETIME, 0 for earlier times, and the other way round.
[[nodiscard]] std::uint64_t UnixSeconds(std::uint64_t fileTime);
[[nodiscard]] std::uint64_t FileTimeOfUnix(std::uint64_t seconds);

/// Order of names in Wine's own files: lower case, unit by unit.
[[nodiscard]] bool WineOrder(std::u16string_view left, std::u16string_view right);

}  // namespace kel::offline
