// The fixture of tests about what runs: a machine whose processes, registry and special folders are the test's own.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "catalogue/ShippedTables.h"
#include "core/Recordset.h"
#include "core/Text.h"
#include "decorators/ForwardingSystem.h"
#include "support/FakeProcess.h"
#include "support/ScanTest.h"
#include "support/StagedMachine.h"

namespace kel::test {

/// A process list, and what becomes of each process. One that ends is no longer in the list.
class MadeProcesses : public decorators::ForwardingProcesses {
public:
    using ForwardingProcesses::ForwardingProcesses;

    static constexpr std::uint32_t Own = 1;

    std::vector<platform::ProcessEntry> entries;
    std::map<std::uint32_t, std::vector<std::string>> modules;  ///< the program itself is the first
    std::map<std::uint32_t, platform::SysError> openErrors;
    std::map<std::uint32_t, platform::SysError> exitCodeErrors;
    std::map<std::uint32_t, platform::SysError> endErrors;
    std::uint32_t exitCode = FakeProcess::StillActive;
    bool lists = true;
    int snapshots = 0;
    std::vector<std::string> ended;              ///< "ID with CODE by ACCESS", in order
    std::function<void(std::uint32_t)> onEnded;  ///< called when a process is gone

    platform::Result<std::vector<platform::ProcessEntry>> Snapshot() override {
        ++snapshots;
        if (!lists) {
            return platform::SysError::NotEnoughMemory;
        }
        return entries;
    }
    platform::Result<std::vector<std::uint32_t>> Identifiers(std::uint32_t) override {
        if (!lists) {
            return platform::SysError::NotEnoughMemory;
        }
        std::vector<std::uint32_t> identifiers;
        for (const platform::ProcessEntry& entry : entries) {
            identifiers.push_back(entry.id);
        }
        return identifiers;
    }
    platform::Result<std::vector<std::string>> SnapshotModules(std::uint32_t processId) override {
        const auto found = modules.find(processId);
        if (found == modules.end()) {
            return platform::SysError::InvalidParameter;
        }
        return found->second;
    }
    platform::Result<std::string> FirstModulePath(std::uint32_t processId, std::uint32_t, std::uint32_t) override {
        const auto found = modules.find(processId);
        if (found == modules.end()) {
            return platform::SysError::AccessDenied;
        }
        return found->second.front();
    }
    platform::SysError CanOpen(std::uint32_t processId, std::uint32_t) override { return Error(openErrors, processId); }
    platform::Result<std::unique_ptr<platform::Process>> Open(std::uint32_t processId, std::uint32_t access) override {
        if (const auto error = Error(openErrors, processId); error != platform::SysError::Success) {
            return error;
        }
        const auto codeError = Error(exitCodeErrors, processId);
        const auto code = codeError == platform::SysError::Success ? platform::Result<std::uint32_t>(exitCode)
                                                                   : platform::Result<std::uint32_t>(codeError);
        return FakeProcess::Make([=, this](std::uint32_t with) { return End(processId, with, access); }, code);
    }
    std::uint32_t CurrentId() override { return Own; }

private:
    [[nodiscard]] bool Runs(std::uint32_t processId) const {
        for (const platform::ProcessEntry& entry : entries) {
            if (entry.id == processId) {
                return true;
            }
        }
        return false;
    }
    [[nodiscard]] platform::SysError Error(const std::map<std::uint32_t, platform::SysError>& errors,
                                           std::uint32_t processId) const {
        const auto found = errors.find(processId);
        if (found != errors.end()) {
            return found->second;
        }
        return Runs(processId) ? platform::SysError::Success : platform::SysError::InvalidParameter;
    }
    platform::SysError End(std::uint32_t processId, std::uint32_t with, std::uint32_t access) {
        if (const auto error = Error(endErrors, processId); error != platform::SysError::Success) {
            return error;
        }
        ended.push_back(std::to_string(processId) + " with " + std::to_string(with) + " by " + std::to_string(access));
        std::erase_if(entries, [=](const platform::ProcessEntry& entry) { return entry.id == processId; });
        if (onEnded) {
            onEnded(processId);
        }
        return platform::SysError::Success;
    }
};

/// Starts nothing, and remembers what it was to start.
class MadeShell : public decorators::ForwardingShell {
public:
    using ForwardingShell::ForwardingShell;
    std::vector<std::string> started;  ///< operation, file, parameters and window, with bars between
    platform::SysError answer = platform::SysError::Success;

    platform::SysError Execute(std::string_view operation, std::string_view file, std::string_view parameters,
                               int show) override {
        started.push_back(std::string(operation) + "|" + std::string(file) + "|" + std::string(parameters) + "|" +
                          std::to_string(show));
        return answer;
    }
};

class MadeVersion : public decorators::ForwardingSystemInfo {
public:
    using ForwardingSystemInfo::ForwardingSystemInfo;
    platform::OsVersion version{5, 1, 2600, 2, ""};
    platform::Result<platform::OsVersion> Version() override { return version; }
};

struct ResuscitatorRow {
    Value name = Null{};
    Value md5 = Null{};
    Value internalName = Null{};
    bool deleteFile = false;
    bool deleteRegKey = false;
};

/// On XP at first. The engine's own process is number 1.
class MadeMachineTest : public ScanTest {
protected:
    MadeMachineTest()
        : stage_(Machine(), Key() + "\\Stage"),
          processes(*Machine().processes),
          shell(*stage_.View().shell),
          system_(*Machine().system) {
        stage_.Folders()[FolderWindows] = Folder() + "windows";
        stage_.Folders()[FolderSystem] = Folder() + "windows\\system32";
        MakeFolder(Folder() + "windows\\system32");
        platform::Platform view = stage_.View();
        view.processes = &processes;
        view.shell = &shell;
        view.system = &system_;
        Install(view);
    }
    ~MadeMachineTest() override { Install(Machine()); }

    void Runs(std::uint32_t major, std::uint32_t minor, std::uint32_t platformId = 2) {
        system_.version = {major, minor, 1000, platformId, ""};
    }
    void On2000() { Runs(5, 0); }

    /// Writes a program of `bytes` and lets a process run it whose entry is the whole path, as on Windows 9x.
    std::string Run(std::uint32_t processId, const std::string& name, const std::string& bytes,
                    std::uint32_t parent = 0) {
        const std::string path = Folder() + name;
        WriteFile(path, bytes);
        processes.entries.push_back({processId, parent, path});
        processes.modules[processId] = {path};
        return LCase(path);
    }
    /// A process that is known by its name alone.
    void RunNameless(std::uint32_t processId, const std::string& name, std::uint32_t parent = 0) {
        processes.entries.push_back({processId, parent, name});
    }
    [[nodiscard]] StagedMachine& Stage() { return stage_; }

    void WriteResuscitators(const std::vector<ResuscitatorRow>& rows) {
        Recordset table;
        table.AppendField("ThreatID", FieldType::Integer);
        table.AppendField("ResExeName", FieldType::VarChar, 255);
        table.AppendField("ResExeMD5", FieldType::VarChar, 255);
        table.AppendField("ResDeleteFile", FieldType::Boolean);
        table.AppendField("ResDeleteRegKey", FieldType::Boolean);
        table.AppendField("ResInternalName", FieldType::VarChar, 255);
        table.Open();
        for (const ResuscitatorRow& row : rows) {
            table.AddNew();
            table.Set("ThreatID", std::int32_t{1});
            table.Set("ResExeName", row.name);
            table.Set("ResExeMD5", row.md5);
            table.Set("ResDeleteFile", row.deleteFile);
            table.Set("ResDeleteRegKey", row.deleteRegKey);
            table.Set("ResInternalName", row.internalName);
            table.Update();
        }
        table.Save(shipped::Path(shipped::Resuscitators));
    }

private:
    StagedMachine stage_;

protected:
    MadeProcesses processes;
    MadeShell shell;

private:
    MadeVersion system_;
};

}  // namespace kel::test
