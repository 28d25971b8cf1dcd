#include "decorators/ReadOnlyPlatform.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "decorators/ForwardingFiles.h"
#include "decorators/ForwardingRegistry.h"
#include "decorators/ForwardingSystem.h"
#include "decorators/FullPath.h"

namespace kel::decorators {

using platform::Platform;
using platform::Result;
using platform::SysError;

namespace {

class WriteRules {
public:
    explicit WriteRules(const Platform& inner) : inner_(inner) {}

    void Allow(std::string_view root) { roots_.push_back(FullPath(inner_, root)); }

    [[nodiscard]] bool Allowed(std::string_view path) const {
        if (roots_.empty()) {
            return false;
        }
        const std::string full = FullPath(inner_, path);
        return std::any_of(roots_.begin(), roots_.end(),
                           [&full](const std::string& root) { return IsInside(full, root); });
    }

    // Why something that must be there is not changed.
    [[nodiscard]] SysError RefuseExisting(std::string_view path) const {
        const auto attributes = inner_.files->Attributes(path);
        return attributes ? SysError::WriteProtect : attributes.Error();
    }

    // Why something new is not made: another reason only when a folder on the way is missing.
    [[nodiscard]] SysError RefuseNew(std::string_view path) const {
        const auto attributes = inner_.files->Attributes(path);
        return attributes || attributes.Error() == SysError::FileNotFound ? SysError::WriteProtect : attributes.Error();
    }

private:
    Platform inner_;
    std::vector<std::string> roots_;
};

class ReadOnlyFiles : public ForwardingFiles {
public:
    ReadOnlyFiles(platform::Files& inner, const WriteRules& rules) : ForwardingFiles(inner), rules_(rules) {}

    Result<std::unique_ptr<platform::Find>> FindNames(std::string_view pattern, platform::FindData& first) override {
        return Inner().FindNames(pattern, first);
    }
    Result<platform::FileStamp> Stamp(std::string_view path) override { return Inner().Stamp(path); }
    std::unique_ptr<platform::FolderAhead> Ahead(std::string_view folder) override { return Inner().Ahead(folder); }
    SysError SetAttributes(std::string_view path, std::uint32_t attributes) override {
        return rules_.Allowed(path) ? Inner().SetAttributes(path, attributes) : rules_.RefuseExisting(path);
    }
    SysError Remove(std::string_view path) override {
        return rules_.Allowed(path) ? Inner().Remove(path) : rules_.RefuseExisting(path);
    }
    SysError RemoveFolder(std::string_view path) override {
        return rules_.Allowed(path) ? Inner().RemoveFolder(path) : rules_.RefuseExisting(path);
    }
    SysError Rename(std::string_view from, std::string_view to) override {
        if (rules_.Allowed(from) && rules_.Allowed(to)) {
            return Inner().Rename(from, to);
        }
        return rules_.RefuseExisting(from);
    }
    SysError MakeFolder(std::string_view path) override {
        if (rules_.Allowed(path)) {
            return Inner().MakeFolder(path);
        }
        return Inner().PathExists(path) ? SysError::AlreadyExists : rules_.RefuseNew(path);
    }
    Result<std::unique_ptr<platform::OpenFile>> Open(std::string_view path, platform::OpenMode mode) override {
        if (mode == platform::OpenMode::Read || rules_.Allowed(path)) {
            return Inner().Open(path, mode);
        }
        return rules_.RefuseNew(path);
    }

private:
    const WriteRules& rules_;
};

class ReadOnlyKey : public ForwardingKey {
public:
    using ForwardingKey::ForwardingKey;

    SysError Set(std::string_view, platform::ValueType, std::string_view) override { return SysError::WriteProtect; }
    SysError RemoveValue(std::string_view name) override {
        const auto value = Inner().Query(name);
        return value ? SysError::WriteProtect : value.Error();
    }
    SysError RemoveKey(std::string_view) override { return SysError::WriteProtect; }
};

class ReadOnlyRegistry : public ForwardingRegistry {
public:
    using ForwardingRegistry::ForwardingRegistry;

    Result<std::unique_ptr<platform::RegistryKey>> Open(platform::Hive hive, std::string_view key,
                                                        std::uint32_t access) override {
        auto open = Inner().Open(hive, key, access);
        if (!open) {
            return open.Error();
        }
        return std::unique_ptr<platform::RegistryKey>(std::make_unique<ReadOnlyKey>(*std::move(open)));
    }
    // Creating a key that is there only opens it.
    Result<std::unique_ptr<platform::RegistryKey>> Create(platform::Hive hive, std::string_view key) override {
        auto open = Open(hive, key, platform::AccessMaximumAllowed);
        return !open && open.Error() == SysError::FileNotFound
                   ? Result<std::unique_ptr<platform::RegistryKey>>(SysError::WriteProtect)
                   : std::move(open);
    }
    SysError RemoveKey(platform::Hive hive, std::string_view key) override {
        const auto open = Inner().Open(hive, key);
        return open ? SysError::WriteProtect : open.Error();
    }
    SysError Commit() override { return SysError::Success; }
};

class ReadOnlyShell : public ForwardingShell {
public:
    ReadOnlyShell(platform::Shell& inner, const WriteRules& rules) : ForwardingShell(inner), rules_(rules) {}

    int Delete(std::string_view path, std::uint16_t flags, SysError& lastError) override {
        if (rules_.Allowed(path)) {
            return Inner().Delete(path, flags, lastError);
        }
        lastError = rules_.RefuseExisting(path);
        return static_cast<int>(platform::Number(lastError));
    }
    // What a program does goes past every decorator, so none is started.
    SysError Execute(std::string_view, std::string_view, std::string_view, int) override {
        return SysError::AccessDenied;
    }

private:
    const WriteRules& rules_;
};

class ReadOnlyProcess : public ForwardingProcess {
public:
    using ForwardingProcess::ForwardingProcess;

    SysError End(std::uint32_t) override { return SysError::AccessDenied; }
};

class ReadOnlyProcesses : public ForwardingProcesses {
public:
    using ForwardingProcesses::ForwardingProcesses;

    Result<std::unique_ptr<platform::Process>> Open(std::uint32_t processId, std::uint32_t access) override {
        auto process = Inner().Open(processId, access);
        if (!process) {
            return process.Error();
        }
        return std::unique_ptr<platform::Process>(std::make_unique<ReadOnlyProcess>(*std::move(process)));
    }
    SysError EndThread(std::uint32_t, std::uint32_t, std::uint32_t) override { return SysError::AccessDenied; }
};

class ReadOnlyService : public platform::Service {
public:
    SysError Control(std::uint32_t) override { return SysError::AccessDenied; }
};

class ReadOnlyServiceManager : public ForwardingServiceManager {
public:
    using ForwardingServiceManager::ForwardingServiceManager;

    Result<std::unique_ptr<platform::Service>> Open(std::string_view name, std::uint32_t access) override {
        const auto service = Inner().Open(name, access);
        if (!service) {
            return service.Error();
        }
        return std::unique_ptr<platform::Service>(std::make_unique<ReadOnlyService>());
    }
};

class ReadOnlyServices : public ForwardingServices {
public:
    using ForwardingServices::ForwardingServices;

    Result<std::unique_ptr<platform::ServiceManager>> OpenManager(std::string_view machine, std::string_view database,
                                                                  std::uint32_t access) override {
        auto manager = Inner().OpenManager(machine, database, access);
        if (!manager) {
            return manager.Error();
        }
        return std::unique_ptr<platform::ServiceManager>(std::make_unique<ReadOnlyServiceManager>(*std::move(manager)));
    }
};

// A registration writes past every decorator, so none is begun.
class ReadOnlyComponents : public platform::Components {
public:
    Result<std::int32_t> Register(std::string_view) override { return SysError::AccessDenied; }
    Result<std::int32_t> Unregister(std::string_view) override { return SysError::AccessDenied; }
};

class ReadOnlyInternet : public platform::Internet {
public:
    ReadOnlyInternet(platform::Internet* inner, const WriteRules& rules) : inner_(inner), rules_(rules) {}

    SysError Download(std::string_view url, std::string_view path) override {
        return inner_ != nullptr && rules_.Allowed(path) ? inner_->Download(url, path) : rules_.RefuseNew(path);
    }

private:
    platform::Internet* inner_;
    const WriteRules& rules_;
};

class ReadOnlyRestorePoints : public platform::RestorePoints {
public:
    Result<std::int32_t> Create(std::string_view, std::int32_t, std::int32_t) override {
        return SysError::AccessDenied;
    }
};

}  // namespace

struct ReadOnlyPlatform::Impl {
    explicit Impl(const Platform& platform)
        : view(platform),
          rules(platform),
          files(*platform.files, rules),
          registry(*platform.registry),
          shell(*platform.shell, rules),
          processes(*platform.processes),
          services(*platform.services),
          internet(platform.internet, rules) {
        view.files = &files;
        view.registry = &registry;
        view.shell = &shell;
        view.processes = &processes;
        view.services = &services;
        view.components = &components;
        view.internet = &internet;
        view.restorePoints = &restorePoints;
        view.can.writable = false;
    }

    Platform view;
    WriteRules rules;
    ReadOnlyFiles files;
    ReadOnlyRegistry registry;
    ReadOnlyShell shell;
    ReadOnlyProcesses processes;
    ReadOnlyServices services;
    ReadOnlyComponents components;
    ReadOnlyInternet internet;
    ReadOnlyRestorePoints restorePoints;
};

ReadOnlyPlatform::ReadOnlyPlatform(const Platform& inner) : impl_(std::make_unique<Impl>(inner)) {
}

ReadOnlyPlatform::~ReadOnlyPlatform() = default;

Platform ReadOnlyPlatform::View() const {
    return impl_->view;
}

void ReadOnlyPlatform::AllowWrites(std::string_view root) {
    impl_->rules.Allow(root);
}

}  // namespace kel::decorators
