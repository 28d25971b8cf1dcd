// The bytes of the companion programs.
#pragma once

#include <string_view>

namespace kel::test {

[[nodiscard]] std::string_view CleanerProgramFile();
[[nodiscard]] std::string_view TreeProgramFile();
/// The engine's automation server.
[[nodiscard]] std::string_view ServerProgramFile();

}  // namespace kel::test
