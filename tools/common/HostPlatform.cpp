#include "hostplatform/HostPlatform.h"

#include <system_error>

#ifdef _WIN32
#include "windows/WindowsPlatform.h"
#else
#include "offline/OfflinePlatform.h"
#endif

namespace kel::tools {

namespace fs = std::filesystem;

namespace {

// The path from the root on, whose folder is there; throws when it is not.
fs::path Whole(const fs::path& path) {
    std::error_code error;
    fs::path whole = fs::absolute(path, error).lexically_normal();
    if (!error && !whole.has_filename()) {
        whole = whole.parent_path();
    }
    if (error || !fs::is_directory(whole.parent_path(), error)) {
        throw HostPathError("no such folder: " + path.parent_path().string());
    }
    return whole;
}

}  // namespace

#ifdef _WIN32

struct HostPlatform::Impl {
    windows::WindowsPlatform platform;
};

std::string HostPlatform::EnginePath(const fs::path& path) {
    return Whole(path).make_preferred().string();
}

#else

struct HostPlatform::Impl {
    // A machine of no drives: what the program works on is mounted when it is named.
    offline::OfflinePlatform platform{offline::MachineOptions{}};
};

std::string HostPlatform::EnginePath(const fs::path& path) {
    const fs::path whole = Whole(path);
    std::error_code error;
    try {
        if (fs::is_directory(whole, error)) {
            return impl_->platform.MountHost(whole);
        }
        return impl_->platform.MountHost(whole.parent_path()) + whole.filename().string();
    } catch (const offline::OpenError& failure) {
        throw HostPathError(failure.what());
    }
}

#endif

HostPlatform::HostPlatform() : impl_(std::make_unique<Impl>()) {
}

HostPlatform::~HostPlatform() = default;

platform::Platform HostPlatform::View() {
    return impl_->platform.View();
}

}  // namespace kel::tools
