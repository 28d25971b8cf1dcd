#include "decorators/DryRunSystem.h"

namespace kel::decorators {

using platform::Result;
using platform::SysError;

int DryRunShell::Delete(std::string_view path, std::uint16_t, SysError& lastError) {
    while (path.size() > 3 && path.ends_with('\\')) {
        path.remove_suffix(1);
    }
    lastError = files_.RemoveTree(path);
    return static_cast<int>(platform::Number(lastError));
}

SysError DryRunShell::Execute(std::string_view, std::string_view file, std::string_view parameters, int) {
    if (!live_) {
        return SysError::NotSupported;
    }
    // A name alone is looked for in many places.
    const bool path = file.find('\\') != std::string_view::npos;
    if (path) {
        if (const auto attributes = files_.Attributes(file); !attributes) {
            return attributes.Error();
        }
    }
    journal_.Add(WriteKind::ProgramStarted, path ? files_.Absolute(file) : std::string(file), parameters);
    return SysError::Success;
}

Result<std::int32_t> DryRunComponents::Register(std::string_view path) {
    return Call(WriteKind::ComponentRegistered, path);
}

Result<std::int32_t> DryRunComponents::Unregister(std::string_view path) {
    return Call(WriteKind::ComponentUnregistered, path);
}

Result<std::int32_t> DryRunComponents::Call(WriteKind kind, std::string_view path) {
    if (!callable_) {
        return SysError::NotSupported;
    }
    const bool isPath = path.find('\\') != std::string_view::npos;
    if (isPath && !files_.Length(path)) {
        return SysError::ModuleNotFound;
    }
    journal_.Add(kind, isPath ? files_.Absolute(path) : std::string(path));
    return std::int32_t{0};
}

SysError DryRunInternet::Download(std::string_view url, std::string_view path) {
    if (!network_) {
        return SysError::NotSupported;
    }
    if (const SysError error = files_.MakeEmpty(path); error != SysError::Success) {
        return error;
    }
    journal_.Add(WriteKind::FileDownloaded, files_.Absolute(path), url);
    return SysError::Success;
}

Result<std::int32_t> DryRunRestorePoints::Create(std::string_view description, std::int32_t, std::int32_t) {
    if (!available_) {
        return SysError::NotSupported;
    }
    journal_.Add(WriteKind::RestorePointMade, description);
    return std::int32_t{0};
}

Result<std::uint32_t> DryRunVersions::Size(std::string_view path) {
    const auto file = files_.Behind(path);
    return file ? Inner().Size(*file) : file.Error();
}

Result<std::unique_ptr<platform::VersionBlock>> DryRunVersions::Load(std::string_view path, std::uint32_t size) {
    const auto file = files_.Behind(path);
    return file ? Inner().Load(*file, size) : file.Error();
}

}  // namespace kel::decorators
