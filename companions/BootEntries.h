// The registry lists of what was left to the start of the machine, as the program reads them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/Result.h"

namespace kel::companions {

/// A value of a list.
struct BootEntry {
    std::string name;
    std::string data;  ///< text before its first NUL; empty for another type than text
};

/// The values of a key below HKEY_CURRENT_USER in the registry's order; none when the key is not there.
platform::Result<std::vector<BootEntry>> ReadEntries(std::string_view key);

/// Removes a value.
platform::SysError RemoveEntry(std::string_view key, std::string_view name);

/// Removes a key that holds no values and no keys any more; any other one stays.
void RemoveEmptyKey(std::string_view key);

}  // namespace kel::companions
