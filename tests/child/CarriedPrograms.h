// The bytes of the programs that tests run.
#pragma once

#include <string_view>

namespace kel::test {

/// A program that waits until it is ended. ChildProcess starts it; as `NAME.exe service X` it is the service X.
[[nodiscard]] std::string_view ChildProgram();
/// A module that can be loaded.
[[nodiscard]] std::string_view ChildModule();
/// A component server. Under the name of twelve hexadecimal digits and ".dll" its class is
/// {6B656C00-7465-7374-0000-} with those digits at the end. While a file of its path and ".refuse" is there, it answers
/// E_ACCESSDENIED and does nothing.
[[nodiscard]] std::string_view ChildServer();

}  // namespace kel::test
