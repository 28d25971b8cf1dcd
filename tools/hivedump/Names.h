// Texts of a hive for the output.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace kel::hivedump {

/// The usual name of a type, `REG_SZ`; empty for a number that has none.
[[nodiscard]] std::string_view TypeName(std::uint32_t type) noexcept;

/// Appends the text in quotes as JSON has it: printable characters as UTF-8, everything else, lone surrogates too, as
/// \uXXXX. Nothing in it can act on a terminal.
void AppendQuoted(std::string& out, std::u16string_view text);
/// Appends two lower-case digits for each byte.
void AppendHex(std::string& out, std::span<const std::byte> bytes);
/// Appends a FILETIME as `2006-01-02T03:04:05Z`; 0, and what lies behind the year 9999, as `-`.
void AppendTime(std::string& out, std::uint64_t filetime);

}  // namespace kel::hivedump
