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
    /// ShellExecuteA without a window and a folder to start in: starts a program, and does not wait for it.
    /// @param operation "open"
    /// @param parameters the program's command line; may be empty
    /// @param show how its window appears, 0: hidden
    /// @return Success for an answer above 32, otherwise the answer, which is an error number (0 is NotEnoughMemory).
    /// NotSupported on a machine that does not run.
    virtual SysError Execute(std::string_view operation, std::string_view file, std::string_view parameters,
                             int show) = 0;
};

}  // namespace kel::platform
