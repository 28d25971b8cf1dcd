// Shell operations and special folders.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/Result.h"

namespace kel::platform {

/// Shell access. Never throws.
class Shell {
public:
    virtual ~Shell() = default;
    /// SHGetFolderPathA without window, token and flags: the folder with that identifier, without a trailing
    /// backslash. An error when the machine has none.
    virtual Result<std::string> SpecialFolder(int identifier) = 0;
    /// SHFileOperationA with wFunc 3: deletes `path`, a file or a folder with its contents.
    /// @param flags 20: silent, no confirmation.
    /// @param lastError what GetLastError answers afterwards.
    /// @return the shell's result, 0 when it succeeded.
    virtual int Delete(std::string_view path, std::uint16_t flags, SysError& lastError) = 0;
};

}  // namespace kel::platform
