// String operations with the run time's meaning. Positions count from 1, in bytes of the machine's code page.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kel {

/// Letter case by the platform's rule; pure ASCII text does not reach the platform.
std::string LCase(std::string_view text);
std::string UCase(std::string_view text);

/// Without blanks (character code 32 only) at both ends.
std::string_view Trim(std::string_view text);

/// Equal without regard to case.
bool EqualText(std::string_view left, std::string_view right);

/// Position of `part` in `text` from 1, 0 if it is not there; an empty `part` is at 1, unless `text` is empty.
std::size_t InStr(std::string_view text, std::string_view part);
/// The same without regard to case.
std::size_t InStrText(std::string_view text, std::string_view part);
/// Whether `part` is in `text` without regard to case.
bool ContainsText(std::string_view text, std::string_view part);

/// All occurrences of `what` replaced, exactly; an empty `what` replaces nothing.
std::string Replace(std::string_view text, std::string_view what, std::string_view with);
/// The same, where `what` is found without regard to case.
std::string ReplaceText(std::string_view text, std::string_view what, std::string_view with);

/// At most `count` characters from the start, from the end, and from position `start` (1-based; behind the end: empty).
std::string_view Left(std::string_view text, std::size_t count);
std::string_view Right(std::string_view text, std::size_t count);
std::string_view Mid(std::string_view text, std::size_t start, std::size_t count = std::string_view::npos);

/// The path with a trailing backslash; an empty path becomes a single backslash.
std::string WithBackslash(std::string_view path);

/// A number as plain decimal text.
std::string Text(std::int64_t number);

}  // namespace kel
