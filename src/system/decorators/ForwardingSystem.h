// The smaller parts of a platform, passing everything on: bases of what changes some of it. Each `inner` must outlive
// its object.
#pragma once

#include <memory>
#include <utility>

#include "platform/Clock.h"
#include "platform/Processes.h"
#include "platform/Rights.h"
#include "platform/Services.h"
#include "platform/Shell.h"
#include "platform/SystemInfo.h"
#include "platform/VersionResources.h"

namespace kel::decorators {

class ForwardingShell : public platform::Shell {
public:
    explicit ForwardingShell(platform::Shell& inner) : inner_(inner) {}

    platform::Result<std::string> SpecialFolder(int identifier) override { return inner_.SpecialFolder(identifier); }
    int Delete(std::string_view path, std::uint16_t flags, platform::SysError& lastError) override {
        return inner_.Delete(path, flags, lastError);
    }
    platform::SysError Execute(std::string_view operation, std::string_view file, std::string_view parameters,
                               int show) override {
        return inner_.Execute(operation, file, parameters, show);
    }

protected:
    [[nodiscard]] platform::Shell& Inner() const { return inner_; }

private:
    platform::Shell& inner_;
};

class ForwardingClock : public platform::Clock {
public:
    explicit ForwardingClock(platform::Clock& inner) : inner_(inner) {}

    platform::Date Now() override { return inner_.Now(); }
    std::uint64_t Ticks() override { return inner_.Ticks(); }
    std::string DateText(platform::Date date) override { return inner_.DateText(date); }
    std::string ShortDateText(platform::Date date) override { return inner_.ShortDateText(date); }
    platform::Result<platform::Date> ParseDate(std::string_view text) override { return inner_.ParseDate(text); }
    platform::Guid NewGuid() override { return inner_.NewGuid(); }

protected:
    [[nodiscard]] platform::Clock& Inner() const { return inner_; }

private:
    platform::Clock& inner_;
};

class ForwardingSystemInfo : public platform::SystemInfo {
public:
    explicit ForwardingSystemInfo(platform::SystemInfo& inner) : inner_(inner) {}

    platform::Result<platform::OsVersion> Version() override { return inner_.Version(); }
    std::string Environment(std::string_view name) override { return inner_.Environment(name); }

protected:
    [[nodiscard]] platform::SystemInfo& Inner() const { return inner_; }

private:
    platform::SystemInfo& inner_;
};

/// An open process that passes everything on to one that it owns.
class ForwardingProcess : public platform::Process {
public:
    explicit ForwardingProcess(std::unique_ptr<platform::Process> inner) : inner_(std::move(inner)) {}

    platform::Result<std::uint32_t> ExitCode() override { return inner_->ExitCode(); }
    platform::SysError End(std::uint32_t exitCode) override { return inner_->End(exitCode); }
    platform::Result<std::uint64_t> StartTime() override { return inner_->StartTime(); }

protected:
    [[nodiscard]] platform::Process& Inner() const { return *inner_; }

private:
    std::unique_ptr<platform::Process> inner_;
};

class ForwardingProcesses : public platform::Processes {
public:
    explicit ForwardingProcesses(platform::Processes& inner) : inner_(inner) {}

    platform::Result<std::vector<platform::ProcessEntry>> Snapshot() override { return inner_.Snapshot(); }
    platform::Result<std::vector<std::string>> SnapshotModules(std::uint32_t processId) override {
        return inner_.SnapshotModules(processId);
    }
    platform::Result<std::vector<platform::ThreadEntry>> SnapshotThreads(std::uint32_t processId) override {
        return inner_.SnapshotThreads(processId);
    }
    platform::Result<std::vector<std::uint32_t>> Identifiers(std::uint32_t most) override {
        return inner_.Identifiers(most);
    }
    platform::Result<std::vector<std::string>> ModulePaths(std::uint32_t processId, std::uint32_t most,
                                                           std::uint32_t capacity) override {
        return inner_.ModulePaths(processId, most, capacity);
    }
    platform::SysError CanOpen(std::uint32_t processId, std::uint32_t access) override {
        return inner_.CanOpen(processId, access);
    }
    platform::Result<std::string> FirstModulePath(std::uint32_t processId, std::uint32_t handleBytes,
                                                  std::uint32_t capacity) override {
        return inner_.FirstModulePath(processId, handleBytes, capacity);
    }
    platform::Result<std::unique_ptr<platform::Process>> Open(std::uint32_t processId, std::uint32_t access) override {
        return inner_.Open(processId, access);
    }
    platform::SysError EndThread(std::uint32_t threadId, std::uint32_t access, std::uint32_t exitCode) override {
        return inner_.EndThread(threadId, access, exitCode);
    }
    std::uint32_t CurrentId() override { return inner_.CurrentId(); }
    platform::SysError SetPriorityClass(std::uint32_t priorityClass) override {
        return inner_.SetPriorityClass(priorityClass);
    }
    platform::SysError SetThreadPriority(std::int32_t priority) override { return inner_.SetThreadPriority(priority); }

protected:
    [[nodiscard]] platform::Processes& Inner() const { return inner_; }

private:
    platform::Processes& inner_;
};

class ForwardingRights : public platform::Rights {
public:
    explicit ForwardingRights(platform::Rights& inner) : inner_(inner) {}

    platform::Result<std::unique_ptr<platform::Token>> OpenThreadToken() override { return inner_.OpenThreadToken(); }
    platform::Result<std::unique_ptr<platform::Token>> OpenProcessToken() override { return inner_.OpenProcessToken(); }
    platform::Result<platform::Sid> MakeSid(std::uint8_t authority,
                                            const std::vector<std::uint32_t>& subAuthorities) override {
        return inner_.MakeSid(authority, subAuthorities);
    }
    bool IsValidSid(const platform::Sid& sid) override { return inner_.IsValidSid(sid); }
    bool EqualSid(const platform::Sid& left, const platform::Sid& right) override {
        return inner_.EqualSid(left, right);
    }

protected:
    [[nodiscard]] platform::Rights& Inner() const { return inner_; }

private:
    platform::Rights& inner_;
};

class ForwardingServices : public platform::Services {
public:
    explicit ForwardingServices(platform::Services& inner) : inner_(inner) {}

    platform::Result<std::unique_ptr<platform::ServiceManager>> OpenManager(std::string_view machine,
                                                                            std::string_view database,
                                                                            std::uint32_t access) override {
        return inner_.OpenManager(machine, database, access);
    }

protected:
    [[nodiscard]] platform::Services& Inner() const { return inner_; }

private:
    platform::Services& inner_;
};

/// A service control manager that passes everything on to one that it owns.
class ForwardingServiceManager : public platform::ServiceManager {
public:
    explicit ForwardingServiceManager(std::unique_ptr<platform::ServiceManager> inner) : inner_(std::move(inner)) {}

    platform::Result<std::unique_ptr<platform::Service>> Open(std::string_view name, std::uint32_t access) override {
        return inner_->Open(name, access);
    }

protected:
    [[nodiscard]] platform::ServiceManager& Inner() const { return *inner_; }

private:
    std::unique_ptr<platform::ServiceManager> inner_;
};

class ForwardingVersions : public platform::VersionResources {
public:
    explicit ForwardingVersions(platform::VersionResources& inner) : inner_(inner) {}

    platform::Result<std::uint32_t> Size(std::string_view path) override { return inner_.Size(path); }
    platform::Result<std::unique_ptr<platform::VersionBlock>> Load(std::string_view path, std::uint32_t size) override {
        return inner_.Load(path, size);
    }

protected:
    [[nodiscard]] platform::VersionResources& Inner() const { return inner_; }

private:
    platform::VersionResources& inner_;
};

}  // namespace kel::decorators
