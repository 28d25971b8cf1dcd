#include "frontend/Machine.h"

#include <filesystem>
#include <system_error>

#include "core/Text.h"

#ifdef _WIN32
#include "windows/WindowsPlatform.h"
#else
#include "offline/OfflinePlatform.h"
#endif

namespace kel::frontend {

namespace fs = std::filesystem;

#ifdef _WIN32

struct Machine::Impl {
    windows::WindowsPlatform platform;
};

Machine::Machine(const SessionOptions& /*options*/) : impl_(std::make_unique<Impl>()) {
}

std::string Machine::HostFolder(const std::string& folder) {
    std::error_code error;
    if (!fs::is_directory(folder, error)) {
        throw MachineError("no such folder: " + folder);
    }
    return WithBackslash(fs::absolute(folder).make_preferred().string());
}

std::string Machine::Name() const {
    return "live";
}

std::string Machine::HostPath(const std::string& path) const {
    return path;
}

std::vector<std::string> Machine::Notes() const {
    return {};
}

#else

struct Machine::Impl {
    std::string name;
    std::unique_ptr<offline::OfflinePlatform> platform_;
    offline::OfflinePlatform& platform;

    explicit Impl(const offline::MachineOptions& options)
        : platform_(std::make_unique<offline::OfflinePlatform>(options)), platform(*platform_) {}
};

Machine::Machine(const SessionOptions& options) {
    offline::MachineOptions machine;
    machine.machine = options.machine;
    machine.user = options.user;
    machine.writable = options.writable;
    for (const std::string& drive : options.drives) {
        machine.drives.push_back({static_cast<char>(drive[0] & ~0x20), drive.substr(2)});
    }
    try {
        impl_ = std::make_unique<Impl>(machine);
    } catch (const offline::OpenError& error) {
        throw MachineError(error.what());
    }
    if (!options.machine.empty() || !options.drives.empty()) {
        impl_->name = !options.machine.empty() ? options.machine : options.drives.front();
    }
}

std::string Machine::HostFolder(const std::string& folder) {
    try {
        return impl_->platform.MountHost(folder);
    } catch (const offline::OpenError& error) {
        throw MachineError(error.what());
    }
}

std::string Machine::Name() const {
    return impl_->name;
}

std::string Machine::HostPath(const std::string& path) const {
    const auto host = impl_->platform.HostPath(path);
    return host ? host->string() : std::string();
}

std::vector<std::string> Machine::Notes() const {
    return impl_->platform.Notes();
}

#endif

Machine::~Machine() = default;

platform::Platform Machine::View() {
    return impl_->platform.View();
}

std::string Machine::MakeHostFolder(const std::string& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) {
        throw MachineError("can't make the folder " + folder + ": " + error.message());
    }
    return HostFolder(folder);
}

void Machine::OnYield(std::function<void()> function) {
    impl_->platform.OnYield(std::move(function));
}

}  // namespace kel::frontend
