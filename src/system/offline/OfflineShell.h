// Shell operations on a machine that does not run.
#pragma once

#include <functional>

#include "platform/Files.h"
#include "platform/Shell.h"

namespace kel::offline {

class OfflineShell : public platform::Shell {
public:
    using Folders = std::function<platform::Result<std::string>(int)>;

    /// @param files what is deleted from; outlives this object
    /// @param folders tells the special folders
    OfflineShell(platform::Files& files, Folders folders) : files_(files), folders_(std::move(folders)) {}

    platform::Result<std::string> SpecialFolder(int identifier) override { return folders_(identifier); }
    int Delete(std::string_view path, std::uint16_t flags, platform::SysError& lastError) override;
    platform::SysError Execute(std::string_view, std::string_view, std::string_view, int) override {
        return platform::SysError::NotSupported;
    }

private:
    platform::SysError DeleteTree(const std::string& path, std::uint32_t attributes);

    platform::Files& files_;
    Folders folders_;
};

}  // namespace kel::offline
