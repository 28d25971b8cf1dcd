// The bytes of the companion programs.
#pragma once

#include <string_view>

namespace kel::test {

[[nodiscard]] std::string_view CleanerProgramFile();
[[nodiscard]] std::string_view TreeProgramFile();

}  // namespace kel::test
