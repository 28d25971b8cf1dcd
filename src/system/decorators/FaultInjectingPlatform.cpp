#include "decorators/FaultInjectingPlatform.h"

#include <algorithm>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <utility>

#include "decorators/ForwardingFiles.h"
#include "decorators/ForwardingRegistry.h"
#include "decorators/ForwardingSystem.h"
#include "decorators/FullPath.h"

namespace kel::decorators {

using platform::Platform;
using platform::Result;
using platform::SysError;

namespace {

constexpr std::uint64_t Never = std::numeric_limits<std::uint64_t>::max();

class Faults {
public:
    explicit Faults(const Platform& inner) : inner_(inner) {}

    void FailWrites(std::uint64_t first, std::uint64_t last, SysError error) {
        writes_ = 0;
        first_ = first;
        last_ = last;
        error_ = error;
    }
    void Lock(std::string_view path) { locked_.insert(FullPath(inner_, path)); }
    void Unlock(std::string_view path) { locked_.erase(FullPath(inner_, path)); }
    void LimitBytes(std::uint64_t bytes) { bytesLeft_ = bytes; }
    void FailReads(std::string_view path, SysError error) { unreadable_[FullPath(inner_, path)] = error; }
    void FailProcessLists(SysError error) { processLists_ = error; }
    void FailProcess(std::uint32_t processId, SysError error) { protected_[processId] = error; }
    void FailServices(SysError error) { services_ = error; }
    void Clear() {
        processLists_ = SysError::Success;
        protected_.clear();
        services_ = SysError::Success;
        first_ = Never;
        last_ = 0;
        locked_.clear();
        unreadable_.clear();
        bytesLeft_ = Never;
    }
    [[nodiscard]] std::uint64_t Writes() const { return writes_; }

    // Counts a write: Success when it may go on.
    SysError CountWrite() {
        ++writes_;
        return writes_ >= first_ && writes_ <= last_ ? error_ : SysError::Success;
    }
    [[nodiscard]] bool IsLocked(std::string_view path) const { return locked_.contains(FullPath(inner_, path)); }
    [[nodiscard]] bool HoldsLocked(std::string_view path) const {
        const std::string full = FullPath(inner_, path);
        return std::any_of(locked_.begin(), locked_.end(),
                           [&full](const std::string& locked) { return IsInside(locked, full); });
    }
    [[nodiscard]] SysError ReadError(std::string_view path) const {
        const auto found = unreadable_.find(FullPath(inner_, path));
        return found == unreadable_.end() ? SysError::Success : found->second;
    }
    [[nodiscard]] SysError ProcessListError() const { return processLists_; }
    [[nodiscard]] SysError ProcessError(std::uint32_t processId) const {
        const auto found = protected_.find(processId);
        return found == protected_.end() ? SysError::Success : found->second;
    }
    [[nodiscard]] SysError ServicesError() const { return services_; }
    // Takes up to `wanted` bytes of what the disk still holds.
    std::size_t TakeBytes(std::size_t wanted) {
        if (bytesLeft_ == Never) {
            return wanted;
        }
        const auto taken = static_cast<std::size_t>(std::min<std::uint64_t>(wanted, bytesLeft_));
        bytesLeft_ -= taken;
        return taken;
    }

private:
    Platform inner_;
    std::uint64_t writes_ = 0;
    std::uint64_t first_ = Never;
    std::uint64_t last_ = 0;
    SysError error_ = SysError::Success;
    std::uint64_t bytesLeft_ = Never;
    std::set<std::string> locked_;
    std::map<std::string, SysError> unreadable_;
    SysError processLists_ = SysError::Success;
    std::map<std::uint32_t, SysError> protected_;
    SysError services_ = SysError::Success;
};

class FaultyFile : public ForwardingOpenFile {
public:
    FaultyFile(std::unique_ptr<platform::OpenFile> inner, Faults& faults, SysError readError)
        : ForwardingOpenFile(std::move(inner)), faults_(faults), readError_(readError) {}

    Result<std::size_t> Read(std::span<std::byte> into) override {
        return readError_ != SysError::Success ? Result<std::size_t>(readError_) : Inner().Read(into);
    }
    SysError Write(std::span<const std::byte> from) override {
        if (const SysError error = faults_.CountWrite(); error != SysError::Success) {
            return error;
        }
        const std::size_t fits = faults_.TakeBytes(from.size());
        const SysError error = Inner().Write(from.first(fits));
        return error == SysError::Success && fits < from.size() ? SysError::DiskFull : error;
    }
    SysError SetEnd() override {
        const SysError error = faults_.CountWrite();
        return error != SysError::Success ? error : Inner().SetEnd();
    }

private:
    Faults& faults_;
    SysError readError_;
};

class FaultyFiles : public ForwardingFiles {
public:
    FaultyFiles(platform::Files& inner, Faults& faults) : ForwardingFiles(inner), faults_(faults) {}

    SysError SetAttributes(std::string_view path, std::uint32_t attributes) override {
        const SysError error = faults_.CountWrite();
        return error != SysError::Success ? error : Inner().SetAttributes(path, attributes);
    }
    SysError Remove(std::string_view path) override {
        const SysError error = Change(path);
        return error != SysError::Success ? error : Inner().Remove(path);
    }
    SysError Rename(std::string_view from, std::string_view to) override {
        const SysError error = Change(from);
        return error != SysError::Success ? error : Inner().Rename(from, to);
    }
    SysError MakeFolder(std::string_view path) override {
        const SysError error = faults_.CountWrite();
        return error != SysError::Success ? error : Inner().MakeFolder(path);
    }
    SysError RemoveFolder(std::string_view path) override {
        const SysError error = Change(path);
        return error != SysError::Success ? error : Inner().RemoveFolder(path);
    }
    Result<std::unique_ptr<platform::OpenFile>> Open(std::string_view path, platform::OpenMode mode) override {
        if (mode != platform::OpenMode::Read) {
            if (const SysError error = faults_.CountWrite(); error != SysError::Success) {
                return error;
            }
        }
        if (faults_.IsLocked(path)) {
            return SysError::SharingViolation;
        }
        auto file = Inner().Open(path, mode);
        if (!file) {
            return file.Error();
        }
        return std::unique_ptr<platform::OpenFile>(
            std::make_unique<FaultyFile>(*std::move(file), faults_, faults_.ReadError(path)));
    }
    Result<std::unique_ptr<platform::FileView>> View(std::string_view path) override {
        if (faults_.IsLocked(path)) {
            return SysError::SharingViolation;
        }
        if (const SysError error = faults_.ReadError(path); error != SysError::Success) {
            return error;
        }
        return Inner().View(path);
    }

private:
    SysError Change(std::string_view path) {
        if (const SysError error = faults_.CountWrite(); error != SysError::Success) {
            return error;
        }
        return faults_.HoldsLocked(path) ? SysError::SharingViolation : SysError::Success;
    }

    Faults& faults_;
};

class FaultyKey : public ForwardingKey {
public:
    FaultyKey(std::unique_ptr<platform::RegistryKey> inner, Faults& faults)
        : ForwardingKey(std::move(inner)), faults_(faults) {}

    SysError Set(std::string_view name, platform::ValueType type, std::string_view data) override {
        const SysError error = faults_.CountWrite();
        return error != SysError::Success ? error : Inner().Set(name, type, data);
    }
    SysError RemoveValue(std::string_view name) override {
        const SysError error = faults_.CountWrite();
        return error != SysError::Success ? error : Inner().RemoveValue(name);
    }
    SysError RemoveKey(std::string_view subKey) override {
        const SysError error = faults_.CountWrite();
        return error != SysError::Success ? error : Inner().RemoveKey(subKey);
    }

private:
    Faults& faults_;
};

class FaultyRegistry : public ForwardingRegistry {
public:
    FaultyRegistry(platform::Registry& inner, Faults& faults) : ForwardingRegistry(inner), faults_(faults) {}

    Result<std::unique_ptr<platform::RegistryKey>> Open(platform::Hive hive, std::string_view key,
                                                        std::uint32_t access) override {
        return Wrap(Inner().Open(hive, key, access));
    }
    Result<std::unique_ptr<platform::RegistryKey>> Create(platform::Hive hive, std::string_view key) override {
        if (const SysError error = faults_.CountWrite(); error != SysError::Success) {
            return error;
        }
        return Wrap(Inner().Create(hive, key));
    }
    SysError RemoveKey(platform::Hive hive, std::string_view key) override {
        const SysError error = faults_.CountWrite();
        return error != SysError::Success ? error : Inner().RemoveKey(hive, key);
    }
    SysError Commit() override {
        const SysError error = faults_.CountWrite();
        return error != SysError::Success ? error : Inner().Commit();
    }

private:
    Result<std::unique_ptr<platform::RegistryKey>> Wrap(Result<std::unique_ptr<platform::RegistryKey>> key) {
        if (!key) {
            return key.Error();
        }
        return std::unique_ptr<platform::RegistryKey>(std::make_unique<FaultyKey>(*std::move(key), faults_));
    }

    Faults& faults_;
};

class FaultyShell : public ForwardingShell {
public:
    FaultyShell(platform::Shell& inner, Faults& faults) : ForwardingShell(inner), faults_(faults) {}

    int Delete(std::string_view path, std::uint16_t flags, SysError& lastError) override {
        lastError = faults_.CountWrite();
        if (lastError == SysError::Success && faults_.HoldsLocked(path)) {
            lastError = SysError::SharingViolation;
        }
        return lastError != SysError::Success ? static_cast<int>(platform::Number(lastError))
                                              : Inner().Delete(path, flags, lastError);
    }
    SysError Execute(std::string_view operation, std::string_view file, std::string_view parameters,
                     int show) override {
        const SysError error = faults_.CountWrite();
        return error != SysError::Success ? error : Inner().Execute(operation, file, parameters, show);
    }

private:
    Faults& faults_;
};

class FaultyProcess : public ForwardingProcess {
public:
    FaultyProcess(std::unique_ptr<platform::Process> inner, Faults& faults)
        : ForwardingProcess(std::move(inner)), faults_(faults) {}

    SysError End(std::uint32_t exitCode) override {
        const SysError error = faults_.CountWrite();
        return error != SysError::Success ? error : Inner().End(exitCode);
    }

private:
    Faults& faults_;
};

class FaultyProcesses : public ForwardingProcesses {
public:
    FaultyProcesses(platform::Processes& inner, Faults& faults) : ForwardingProcesses(inner), faults_(faults) {}

    Result<std::vector<platform::ProcessEntry>> Snapshot() override {
        return List([this] { return Inner().Snapshot(); });
    }
    Result<std::vector<platform::ThreadEntry>> SnapshotThreads(std::uint32_t processId) override {
        return List([&] { return Inner().SnapshotThreads(processId); });
    }
    Result<std::vector<std::uint32_t>> Identifiers(std::uint32_t most) override {
        return List([&] { return Inner().Identifiers(most); });
    }
    Result<std::vector<std::string>> SnapshotModules(std::uint32_t processId) override {
        return List([&] { return Of(processId, [&] { return Inner().SnapshotModules(processId); }); });
    }
    Result<std::vector<std::string>> ModulePaths(std::uint32_t processId, std::uint32_t most,
                                                 std::uint32_t capacity) override {
        return List([&] { return Of(processId, [&] { return Inner().ModulePaths(processId, most, capacity); }); });
    }
    Result<std::string> FirstModulePath(std::uint32_t processId, std::uint32_t handleBytes,
                                        std::uint32_t capacity) override {
        return Of(processId, [&] { return Inner().FirstModulePath(processId, handleBytes, capacity); });
    }
    SysError CanOpen(std::uint32_t processId, std::uint32_t access) override {
        const SysError error = faults_.ProcessError(processId);
        return error != SysError::Success ? error : Inner().CanOpen(processId, access);
    }
    Result<std::unique_ptr<platform::Process>> Open(std::uint32_t processId, std::uint32_t access) override {
        auto process = Of(processId, [&] { return Inner().Open(processId, access); });
        if (!process) {
            return process.Error();
        }
        return std::unique_ptr<platform::Process>(std::make_unique<FaultyProcess>(*std::move(process), faults_));
    }
    SysError EndThread(std::uint32_t threadId, std::uint32_t access, std::uint32_t exitCode) override {
        const SysError error = faults_.CountWrite();
        return error != SysError::Success ? error : Inner().EndThread(threadId, access, exitCode);
    }

private:
    template <class Call>
    auto List(Call call) -> decltype(call()) {
        const SysError error = faults_.ProcessListError();
        return error != SysError::Success ? error : call();
    }
    template <class Call>
    auto Of(std::uint32_t processId, Call call) -> decltype(call()) {
        const SysError error = faults_.ProcessError(processId);
        return error != SysError::Success ? error : call();
    }

    Faults& faults_;
};

class FaultyService : public platform::Service {
public:
    FaultyService(std::unique_ptr<platform::Service> inner, Faults& faults)
        : inner_(std::move(inner)), faults_(faults) {}

    SysError Control(std::uint32_t control) override {
        const SysError error = faults_.CountWrite();
        return error != SysError::Success ? error : inner_->Control(control);
    }

private:
    std::unique_ptr<platform::Service> inner_;
    Faults& faults_;
};

class FaultyServiceManager : public ForwardingServiceManager {
public:
    FaultyServiceManager(std::unique_ptr<platform::ServiceManager> inner, Faults& faults)
        : ForwardingServiceManager(std::move(inner)), faults_(faults) {}

    Result<std::unique_ptr<platform::Service>> Open(std::string_view name, std::uint32_t access) override {
        auto service = Inner().Open(name, access);
        if (!service) {
            return service.Error();
        }
        return std::unique_ptr<platform::Service>(std::make_unique<FaultyService>(*std::move(service), faults_));
    }

private:
    Faults& faults_;
};

class FaultyServices : public ForwardingServices {
public:
    FaultyServices(platform::Services& inner, Faults& faults) : ForwardingServices(inner), faults_(faults) {}

    Result<std::unique_ptr<platform::ServiceManager>> OpenManager(std::string_view machine, std::string_view database,
                                                                  std::uint32_t access) override {
        if (const SysError error = faults_.ServicesError(); error != SysError::Success) {
            return error;
        }
        auto manager = Inner().OpenManager(machine, database, access);
        if (!manager) {
            return manager.Error();
        }
        return std::unique_ptr<platform::ServiceManager>(
            std::make_unique<FaultyServiceManager>(*std::move(manager), faults_));
    }

private:
    Faults& faults_;
};

class FaultyInternet : public platform::Internet {
public:
    FaultyInternet(platform::Internet* inner, Faults& faults) : inner_(inner), faults_(faults) {}

    SysError Download(std::string_view url, std::string_view path) override {
        if (const SysError error = faults_.CountWrite(); error != SysError::Success) {
            return error;
        }
        if (faults_.IsLocked(path)) {
            return SysError::SharingViolation;
        }
        return inner_ == nullptr ? SysError::NotSupported : inner_->Download(url, path);
    }

private:
    platform::Internet* inner_;
    Faults& faults_;
};

}  // namespace

struct FaultInjectingPlatform::Impl {
    explicit Impl(const Platform& platform)
        : view(platform),
          faults(platform),
          files(*platform.files, faults),
          registry(*platform.registry, faults),
          shell(*platform.shell, faults),
          processes(*platform.processes, faults),
          services(*platform.services, faults),
          internet(platform.internet, faults) {
        view.files = &files;
        view.registry = &registry;
        view.shell = &shell;
        view.processes = &processes;
        view.services = &services;
        view.internet = &internet;
    }

    Platform view;
    Faults faults;
    FaultyFiles files;
    FaultyRegistry registry;
    FaultyShell shell;
    FaultyProcesses processes;
    FaultyServices services;
    FaultyInternet internet;
};

FaultInjectingPlatform::FaultInjectingPlatform(const Platform& inner) : impl_(std::make_unique<Impl>(inner)) {
}

FaultInjectingPlatform::~FaultInjectingPlatform() = default;

Platform FaultInjectingPlatform::View() const {
    return impl_->view;
}

void FaultInjectingPlatform::FailWrite(std::uint64_t number, SysError error) {
    impl_->faults.FailWrites(number, number, error);
}

void FaultInjectingPlatform::FailWritesFrom(std::uint64_t number, SysError error) {
    impl_->faults.FailWrites(number, Never, error);
}

std::uint64_t FaultInjectingPlatform::Writes() const {
    return impl_->faults.Writes();
}

void FaultInjectingPlatform::Lock(std::string_view path) {
    impl_->faults.Lock(path);
}

void FaultInjectingPlatform::Unlock(std::string_view path) {
    impl_->faults.Unlock(path);
}

void FaultInjectingPlatform::DiskFullAfter(std::uint64_t bytes) {
    impl_->faults.LimitBytes(bytes);
}

void FaultInjectingPlatform::FailReads(std::string_view path, SysError error) {
    impl_->faults.FailReads(path, error);
}

void FaultInjectingPlatform::FailProcessLists(SysError error) {
    impl_->faults.FailProcessLists(error);
}

void FaultInjectingPlatform::FailProcess(std::uint32_t processId, SysError error) {
    impl_->faults.FailProcess(processId, error);
}

void FaultInjectingPlatform::FailServices(SysError error) {
    impl_->faults.FailServices(error);
}

void FaultInjectingPlatform::Clear() {
    impl_->faults.Clear();
}

}  // namespace kel::decorators
