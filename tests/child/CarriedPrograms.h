// The bytes of the two programs that tests run.
#pragma once

#include <string_view>

namespace kel::test {

/// A program that waits until it is ended. ChildProcess starts it; as `NAME.exe service X` it is the service X.
[[nodiscard]] std::string_view ChildProgram();
/// A module that can be loaded.
[[nodiscard]] std::string_view ChildModule();

}  // namespace kel::test
