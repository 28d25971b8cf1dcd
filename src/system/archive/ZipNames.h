// Names of archive entries as paths of the machine.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kel::archive {

/// Text of the code page that archives without a mark for UTF-8 use.
[[nodiscard]] std::string Utf8FromCodePage437(std::string_view text);

/// The relative path, with backslashes and without one at its end, that an entry may be unpacked to. Characters that no
/// file name may hold become "_". Nothing for a name that leads elsewhere or means something else on the machine: an
/// absolute path, a drive, a stream, a device, "." or "..", a part that is empty or ends in a dot or a blank, control
/// characters.
/// @param name UTF-8, with separators of either kind; the result is UTF-8 too
[[nodiscard]] std::optional<std::string> SafePath(std::string_view name);

}  // namespace kel::archive
