// The host itself as the engine's platform, for programs that work on files of the host and on no machine.
#pragma once

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

#include "platform/Platform.h"

namespace kel::tools {

/// A host path has no folder that the engine could see; the text names it.
class HostPathError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Owns the parts of the platform record that View() gives. One thread.
class HostPlatform {
public:
    HostPlatform();
    ~HostPlatform();
    HostPlatform(const HostPlatform&) = delete;
    HostPlatform& operator=(const HostPlatform&) = delete;

    /// The parts, valid as long as this object lives.
    [[nodiscard]] platform::Platform View();

    /// The engine's path of a file or folder of the host, which need not exist; its folder must. A folder comes out
    /// without a trailing backslash, except at a drive's root. Throws HostPathError.
    [[nodiscard]] std::string EnginePath(const std::filesystem::path& path);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace kel::tools
