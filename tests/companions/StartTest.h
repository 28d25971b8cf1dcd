// The fixture of a machine that starts anew with something left to it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "LogLines.h"
#include "companions/Names.h"
#include "companions/StartWork.h"
#include "decorators/ForwardingRegistry.h"
#include "support/EngineTest.h"
#include "support/StagedMachine.h"

namespace kel::test {

inline constexpr const char* CleanerExe = R"(SOFTWARE\Kelvane Software\Ombrelane\CleanerExe)";
inline constexpr const char* Destroy = R"(SOFTWARE\Kelvane Software\Ombrelane\CleanerExe\Destroy)";
inline constexpr const char* DelFolders = R"(SOFTWARE\Kelvane Software\Ombrelane\CleanerExe\DelFolders)";
inline constexpr const char* DelFiles = R"(SOFTWARE\Kelvane Software\Ombrelane\CleanerExe\DelFiles)";
inline constexpr const char* DelRegKeys = R"(SOFTWARE\Kelvane Software\Ombrelane\CleanerExe\DelRegKeys)";
inline constexpr const char* DelRegValues = R"(SOFTWARE\Kelvane Software\Ombrelane\CleanerExe\DelRegValues)";

/// A key that keeps its values.
class SealedKey : public decorators::ForwardingKey {
public:
    using ForwardingKey::ForwardingKey;
    platform::SysError RemoveValue(std::string_view /*name*/) override { return platform::SysError::AccessDenied; }
};

/// A registry of which one key can't be opened, or keeps its values.
class GuardedRegistry : public decorators::ForwardingRegistry {
public:
    using ForwardingRegistry::ForwardingRegistry;
    std::string guarded;
    std::string sealed;

    platform::Result<std::unique_ptr<platform::RegistryKey>> Open(platform::Hive hive, std::string_view key,
                                                                  std::uint32_t access) override {
        if (!guarded.empty() && guarded == key) {
            return platform::SysError::AccessDenied;
        }
        auto open = Inner().Open(hive, key, access);
        if (open && !sealed.empty() && sealed == key) {
            return std::unique_ptr<platform::RegistryKey>(std::make_unique<SealedKey>(*std::move(open)));
        }
        return open;
    }
    /// What was written on a machine that runs stays.
    void Discard() override {}
};

/// The registry is empty.
class StartTest : public EngineTest {
protected:
    StartTest() : stage_(Machine(), Key() + "\\Stage"), registry_(*stage_.View().registry) {
        MakeFolder(Things());
        stage_.Folders()[FolderWindows] = Folder() + "windows";
        stage_.Folders()[FolderSystem] = Folder() + "windows\\system32";
        MakeFolder(Folder() + "windows");
        MakeFolder(Folder() + "windows\\system32");
        Install(Staged());
    }
    ~StartTest() override { Install(Machine()); }

    [[nodiscard]] platform::Platform Staged() {
        platform::Platform view = stage_.View();
        view.registry = &registry_;
        view.can.live = true;
        return view;
    }
    [[nodiscard]] StagedMachine& Stage() { return stage_; }
    void Guard(std::string key) { registry_.guarded = std::move(key); }
    void Seal(std::string key) { registry_.sealed = std::move(key); }
    [[nodiscard]] std::string Things() const { return Folder() + "things\\"; }

    void List(std::string_view key, std::string_view name, std::string_view data) {
        stage_.AddText(platform::HiveCurrentUser, key, name, data);
    }
    [[nodiscard]] bool KeyExists(std::string_view key) {
        return stage_.View().registry->Open(platform::HiveCurrentUser, key).Ok();
    }
    /// Names of the values of a list.
    [[nodiscard]] std::vector<std::string> Names(std::string_view key) {
        std::vector<std::string> names;
        if (const auto open = stage_.View().registry->Open(platform::HiveCurrentUser, key)) {
            for (std::uint32_t index = 0;; ++index) {
                const auto value = (*open)->EnumValue(index);
                if (!value) {
                    break;
                }
                names.push_back(value->name);
            }
        }
        return names;
    }
    [[nodiscard]] std::vector<std::string> Log(const std::string& folder = {}) {
        return LogLines(Machine(), folder.empty() ? UserFolder() : folder, companions::CleanerProgram);
    }
    /// Without the lines of the start and the end.
    [[nodiscard]] std::vector<std::string> Work() {
        const std::vector<std::string> lines = Log();
        if (lines.size() < 2 || lines.front() != "Started" || !lines.back().starts_with("Ended with code ")) {
            ADD_FAILURE() << "no whole log of " << lines.size() << " lines";
            return lines;
        }
        return {lines.begin() + 1, lines.end() - 1};
    }
    companions::StartEnd Run(companions::Engine& engine) {
        return companions::WorkAtStart(engine, UserFolder(), false, log);
    }

    companions::WorkLog log{companions::CleanerProgram, UserFolder(), nullptr};

private:
    StagedMachine stage_;
    GuardedRegistry registry_;
};

}  // namespace kel::test
