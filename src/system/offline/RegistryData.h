// Data of registry values between the form in which they are stored and that of the platform's ANSI calls.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "hive/RegistryTree.h"
#include "platform/Registry.h"

namespace kel::offline {

/// Whether data of that type are text, which the ANSI calls convert.
[[nodiscard]] bool IsTextType(platform::ValueType type);

/// What the ANSI calls give of stored data: text in UTF-8, with its terminator added where it is missing and there is
/// text at all; an odd byte at the end of text is lost. Other types as they are.
[[nodiscard]] platform::RegistryValue ToAnsi(const TreeValue& value);

/// What the ANSI calls store of `data`: text as UTF-16LE, as long as it was given. Other types as they are.
[[nodiscard]] std::vector<std::byte> FromAnsi(platform::ValueType type, std::string_view data);

}  // namespace kel::offline
