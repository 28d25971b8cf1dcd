// Special folders and the shell's delete.
#pragma once

#include "platform/Shell.h"

namespace kel::windows {

class WindowsShell final : public platform::Shell {
public:
    platform::Result<std::string> SpecialFolder(int identifier) override;
    int Delete(std::string_view path, std::uint16_t flags, platform::SysError& lastError) override;
    platform::SysError Execute(std::string_view operation, std::string_view file, std::string_view parameters,
                               int show) override;
};

}  // namespace kel::windows
