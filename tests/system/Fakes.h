// Parts of a machine that answer what a test wants, over the real ones.
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "decorators/ForwardingFiles.h"
#include "decorators/ForwardingRegistry.h"
#include "decorators/ForwardingSystem.h"
#include "platform/Platform.h"
#include "support/FakeProcess.h"

namespace kel::test {

/// A version of the system and environment variables; a variable that is not set here is not set.
class FakeSystem : public decorators::ForwardingSystemInfo {
public:
    using ForwardingSystemInfo::ForwardingSystemInfo;
    std::optional<platform::OsVersion> version;
    std::map<std::string, std::string, std::less<>> environment;

    platform::Result<platform::OsVersion> Version() override {
        return version ? platform::Result<platform::OsVersion>(*version) : Inner().Version();
    }
    std::string Environment(std::string_view name) override {
        const auto found = environment.find(name);
        return found == environment.end() ? std::string() : found->second;
    }
};

inline constexpr std::uint32_t Windows9x = 1;
inline constexpr std::uint32_t WindowsNt = 2;

/// Special folders by number, and a shell's delete that does nothing but answer.
class FakeShell : public decorators::ForwardingShell {
public:
    using ForwardingShell::ForwardingShell;
    std::map<int, std::string> folders;
    bool fakesDelete = false;
    int deleteResult = 0;
    platform::SysError deleteLastError = platform::SysError::Success;
    std::uint16_t deleteFlags = 0;
    std::vector<std::string> deleted;

    platform::Result<std::string> SpecialFolder(int identifier) override {
        const auto found = folders.find(identifier);
        if (found == folders.end()) {
            return platform::SysError::FileNotFound;
        }
        return found->second;
    }
    int Delete(std::string_view path, std::uint16_t flags, platform::SysError& lastError) override {
        deleted.emplace_back(path);
        deleteFlags = flags;
        if (!fakesDelete) {
            return Inner().Delete(path, flags, lastError);
        }
        lastError = deleteLastError;
        return deleteResult;
    }
};

/// Keeps both big hives below one key of the test's own.
class RedirectedRegistry : public decorators::ForwardingRegistry {
public:
    RedirectedRegistry(platform::Registry& inner, std::string root)
        : ForwardingRegistry(inner), root_(std::move(root)) {}

    platform::Result<std::unique_ptr<platform::RegistryKey>> Open(platform::Hive hive, std::string_view key,
                                                                  std::uint32_t access) override {
        return Inner().Open(platform::HiveCurrentUser, Place(hive, key), access);
    }
    platform::Result<std::unique_ptr<platform::RegistryKey>> Create(platform::Hive hive,
                                                                    std::string_view key) override {
        return Inner().Create(platform::HiveCurrentUser, Place(hive, key));
    }
    platform::SysError RemoveKey(platform::Hive hive, std::string_view key) override {
        return Inner().RemoveKey(platform::HiveCurrentUser, Place(hive, key));
    }

private:
    [[nodiscard]] std::string Place(platform::Hive hive, std::string_view key) const {
        return root_ + (hive == platform::HiveLocalMachine ? "\\Machine\\" : "\\User\\") + std::string(key);
    }

    std::string root_;
};

/// Answers deletes and moves with the errors in line for them; passes on those behind them.
class ScriptedFiles : public decorators::ForwardingFiles {
public:
    using ForwardingFiles::ForwardingFiles;
    std::deque<platform::SysError> removeErrors;
    std::deque<platform::SysError> renameErrors;
    std::vector<std::string> drives;
    std::map<std::string, platform::DriveKind, std::less<>> driveKinds;
    std::map<std::string, std::string, std::less<>> longPaths;
    std::map<std::string, std::string, std::less<>> shortPaths;
    int attributesSet = 0;

    platform::SysError SetAttributes(std::string_view path, std::uint32_t attributes) override {
        ++attributesSet;
        return Inner().SetAttributes(path, attributes);
    }
    platform::SysError Remove(std::string_view path) override {
        return removeErrors.empty() ? Inner().Remove(path) : Next(removeErrors);
    }
    platform::SysError Rename(std::string_view from, std::string_view to) override {
        return renameErrors.empty() ? Inner().Rename(from, to) : Next(renameErrors);
    }
    platform::Result<std::string> LongPath(std::string_view path) override {
        const auto found = longPaths.find(path);
        return found == longPaths.end() ? Inner().LongPath(path) : found->second;
    }
    platform::Result<std::string> ShortPath(std::string_view path) override {
        const auto found = shortPaths.find(path);
        return found == shortPaths.end() ? Inner().ShortPath(path) : found->second;
    }
    std::vector<std::string> LogicalDrives() override { return drives; }
    platform::DriveKind DriveType(std::string_view root) override {
        const auto found = driveKinds.find(root);
        return found == driveKinds.end() ? platform::DriveKind::NoRoot : found->second;
    }

private:
    static platform::SysError Next(std::deque<platform::SysError>& errors) {
        const platform::SysError error = errors.front();
        errors.pop_front();
        return error;
    }
};

/// A process list, the first module of each process and the threads of the machine. What is to be ended is remembered.
class FakeProcesses : public decorators::ForwardingProcesses {
public:
    using ForwardingProcesses::ForwardingProcesses;
    std::vector<platform::ProcessEntry> entries;
    std::map<std::uint32_t, std::string> modules;
    bool granted = true;
    std::uint32_t accessAsked = 0;
    std::uint32_t handleBytesAsked = 0;
    std::uint32_t capacityAsked = 0;
    bool listsProcesses = true;
    std::vector<platform::ThreadEntry> threads;
    bool listsThreads = true;
    struct Ended {
        std::uint32_t id = 0;
        std::uint32_t access = 0;
        std::uint32_t exitCode = 0;
        friend bool operator==(const Ended&, const Ended&) = default;
    };
    std::vector<Ended> endedProcesses;
    std::vector<Ended> endedThreads;

    platform::Result<std::vector<platform::ProcessEntry>> Snapshot() override {
        if (!listsProcesses) {
            return platform::SysError::NoMoreFiles;
        }
        return entries;
    }
    platform::Result<std::vector<platform::ThreadEntry>> SnapshotThreads(std::uint32_t) override {
        if (!listsThreads) {
            return platform::SysError::NoMoreFiles;
        }
        return threads;
    }
    platform::Result<std::unique_ptr<platform::Process>> Open(std::uint32_t processId, std::uint32_t access) override {
        return FakeProcess::Make([=, this](std::uint32_t exitCode) {
            endedProcesses.push_back({processId, access, exitCode});
            return platform::SysError::AccessDenied;
        });
    }
    platform::SysError EndThread(std::uint32_t threadId, std::uint32_t access, std::uint32_t exitCode) override {
        endedThreads.push_back({threadId, access, exitCode});
        return platform::SysError::AccessDenied;
    }
    platform::SysError CanOpen(std::uint32_t, std::uint32_t access) override {
        accessAsked = access;
        return granted ? platform::SysError::Success : platform::SysError::AccessDenied;
    }
    platform::Result<std::string> FirstModulePath(std::uint32_t processId, std::uint32_t handleBytes,
                                                  std::uint32_t capacity) override {
        handleBytesAsked = handleBytes;
        capacityAsked = capacity;
        const auto found = modules.find(processId);
        if (found == modules.end()) {
            return platform::SysError::AccessDenied;
        }
        return found->second;
    }
};

/// A service control manager with one service.
class FakeServices : public decorators::ForwardingServices {
public:
    using ForwardingServices::ForwardingServices;
    bool opens = true;
    std::string service;
    platform::SysError answer = platform::SysError::Success;
    std::vector<std::string> calls;  ///< each with its arguments

    platform::Result<std::unique_ptr<platform::ServiceManager>> OpenManager(std::string_view machine,
                                                                            std::string_view database,
                                                                            std::uint32_t access) override {
        calls.push_back("manager " + std::string(machine) + " " + std::string(database) + " " + std::to_string(access));
        if (!opens) {
            return platform::SysError::AccessDenied;
        }
        return std::unique_ptr<platform::ServiceManager>(std::make_unique<Manager>(*this));
    }

private:
    struct OpenService : platform::Service {
        explicit OpenService(FakeServices& services) : owner(services) {}
        ~OpenService() override { owner.calls.emplace_back("close service"); }
        OpenService(const OpenService&) = delete;
        OpenService& operator=(const OpenService&) = delete;
        platform::SysError Control(std::uint32_t control) override {
            owner.calls.push_back("control " + std::to_string(control));
            return owner.answer;
        }
        FakeServices& owner;
    };
    struct Manager : platform::ServiceManager {
        explicit Manager(FakeServices& services) : owner(services) {}
        ~Manager() override { owner.calls.emplace_back("close manager"); }
        Manager(const Manager&) = delete;
        Manager& operator=(const Manager&) = delete;
        platform::Result<std::unique_ptr<platform::Service>> Open(std::string_view name,
                                                                  std::uint32_t access) override {
            owner.calls.push_back("service " + std::string(name) + " " + std::to_string(access));
            if (name != owner.service) {
                return platform::SysError::ServiceDoesNotExist;
            }
            return std::unique_ptr<platform::Service>(std::make_unique<OpenService>(owner));
        }
        FakeServices& owner;
    };
};

/// A version block whose entries are given one by one.
class FakeVersionBlock : public platform::VersionBlock {
public:
    std::map<std::string, std::string, std::less<>> entries;
    mutable std::vector<std::string> asked;

    [[nodiscard]] std::optional<std::string> Query(std::string_view subBlock) const override {
        asked.emplace_back(subBlock);
        const auto found = entries.find(subBlock);
        return found == entries.end() ? std::nullopt : std::optional(found->second);
    }
};

/// Version resources by path.
class FakeVersions : public decorators::ForwardingVersions {
public:
    using ForwardingVersions::ForwardingVersions;
    std::map<std::string, FakeVersionBlock, std::less<>> blocks;
    std::uint32_t size = 1000;
    std::uint32_t sizeAsked = 0;

    platform::Result<std::uint32_t> Size(std::string_view path) override {
        if (blocks.find(path) == blocks.end()) {
            return platform::SysError::ResourceTypeNotFound;
        }
        return size;
    }
    platform::Result<std::unique_ptr<platform::VersionBlock>> Load(std::string_view path,
                                                                   std::uint32_t bytes) override {
        sizeAsked = bytes;
        const auto found = blocks.find(path);
        if (found == blocks.end()) {
            return platform::SysError::ResourceTypeNotFound;
        }
        return std::unique_ptr<platform::VersionBlock>(std::make_unique<FakeVersionBlock>(found->second));
    }
};

/// Tokens with given groups.
class FakeRights : public decorators::ForwardingRights {
public:
    struct FakeToken : platform::Token {
        std::vector<platform::TokenGroup> groups;
        std::uint32_t size = 0;
        std::uint32_t GroupsSize() override { return size; }
        platform::Result<std::vector<platform::TokenGroup>> Groups() override { return groups; }
    };

    using ForwardingRights::ForwardingRights;
    std::vector<platform::TokenGroup> processGroups;
    std::vector<platform::TokenGroup> threadGroups;
    bool hasProcessToken = true;
    std::uint32_t size = 812;

    platform::Result<std::unique_ptr<platform::Token>> OpenThreadToken() override { return Make(threadGroups); }
    platform::Result<std::unique_ptr<platform::Token>> OpenProcessToken() override {
        if (!hasProcessToken) {
            return platform::SysError::AccessDenied;
        }
        return Make(processGroups);
    }
    platform::Result<platform::Sid> MakeSid(std::uint8_t authority,
                                            const std::vector<std::uint32_t>& subAuthorities) override {
        return Identifier(authority, subAuthorities);
    }
    bool IsValidSid(const platform::Sid& sid) override { return !sid.empty(); }
    bool EqualSid(const platform::Sid& left, const platform::Sid& right) override { return left == right; }

    static platform::Sid Identifier(std::uint8_t authority, const std::vector<std::uint32_t>& subAuthorities) {
        platform::Sid sid{std::byte{1}, static_cast<std::byte>(subAuthorities.size()),
                          std::byte{0}, std::byte{0},
                          std::byte{0}, std::byte{0},
                          std::byte{0}, static_cast<std::byte>(authority)};
        for (const std::uint32_t part : subAuthorities) {
            for (unsigned shift = 0; shift < 32; shift += 8) {
                sid.push_back(static_cast<std::byte>(part >> shift));
            }
        }
        return sid;
    }

private:
    [[nodiscard]] std::unique_ptr<platform::Token> Make(const std::vector<platform::TokenGroup>& groups) const {
        auto token = std::make_unique<FakeToken>();
        token->groups = groups;
        token->size = size;
        return token;
    }
};

}  // namespace kel::test
