// Cleans a whole machine, or undoes that: what a front end does with the engine, and no more.
//
//   clean_machine clean|restore|destroy MACHINE DATA USER_DATA
//
// `clean` makes the scan of the test and removes every threat that it finds into the quarantine, in the order in which
// they were found. `restore` and `destroy` take every threat out of it again. A line for each threat tells what came
// of it. On Linux MACHINE is an offline machine and the folders are the host's; on Windows it is "live".
#include <cstdint>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "core/EngineState.h"
#include "engine/Manager.h"
#include "platform/Platform.h"
#ifdef _WIN32
#include "windows/WindowsPlatform.h"
#else
#include "offline/OfflinePlatform.h"
#endif

namespace {

#ifdef _WIN32
class Machine {
public:
    explicit Machine(const std::string& /*live*/) {}
    [[nodiscard]] kel::platform::Platform View() { return platform_.View(); }
    [[nodiscard]] static std::string Folder(const std::string& folder) { return folder; }

private:
    kel::windows::WindowsPlatform platform_;
};
#else
class Machine {
public:
    explicit Machine(const std::string& machine) : platform_(Writable(machine)) {}
    [[nodiscard]] kel::platform::Platform View() { return platform_.View(); }
    [[nodiscard]] std::string Folder(const std::string& folder) { return platform_.MountHost(folder); }

private:
    static kel::offline::MachineOptions Writable(const std::string& machine) {
        kel::offline::MachineOptions options;
        options.machine = machine;
        options.writable = true;
        return options;
    }
    kel::offline::OfflinePlatform platform_;
};
#endif

void Clean(kel::Manager& manager) {
    const auto scanner = manager.Scanner();
    scanner->InitializeScan();
    scanner->AddScanDriveAndPath("C:\\");
    scanner->DoDriveScan = true;
    scanner->DoMostCommon = true;
    scanner->DoScanRegistry = true;
    scanner->DoScanCookies = true;
    scanner->DoScanZips = true;
    scanner->OptScanDepth = kel::scandeep;
    scanner->SetOptMaxOptionLevel(2);
    scanner->SetoptWriteHistory(true);
    scanner->RunScanEasy();
    const auto scan = scanner->Scan();
    std::vector<std::int32_t> threats;
    for (const auto& threat : *scan->DetectedThreats()) {
        threats.push_back(threat->ThreatID);
    }

    const auto cleaner = manager.Cleaner();
    cleaner->SetEnableLog(true);
    cleaner->InitializeClean(scan->ScanID, scan->DetectedThreats());
    for (const std::int32_t threat : threats) {
        std::string id;
        const auto result = cleaner->QuarantineThreat(threat, false, id);
        std::printf("clean %d result %d recorded %d\n", threat, static_cast<int>(result), id.empty() ? 0 : 1);
    }
    std::printf("reboot %d\n", cleaner->IsRebootRequired() ? 1 : 0);
    cleaner->UninitializeClean();
    manager.ScanHistory()->Persist();
}

void TakeOut(kel::Manager& manager, bool restore) {
    manager.Cleaner()->InitializeClean("");
    const auto quarantine = manager.Quarantine();
    const auto threats = quarantine->GetQuarantineThreats();
    for (const auto& threat : *threats) {
        const std::string& id = threat->QuarantineThreatID;
        const int result = restore ? static_cast<int>(quarantine->RestoreThreat(id)) : quarantine->DestroyThreat(id);
        std::printf("%s %d result %d\n", restore ? "restore" : "destroy", threat->ThreatID, result);
    }
    std::printf("left %d\n", quarantine->Count());
}

int Work(const std::string& order, const std::string& name, const std::string& data, const std::string& userData) {
    Machine machine(name);
    const std::string dataFolder = machine.Folder(data);
    const std::string userFolder = machine.Folder(userData);
    const kel::platform::Platform view = machine.View();
    const kel::platform::PlatformScope installed(view);
    const kel::EngineScope engine;
    kel::State().App.EXEName = "ombrelane";
    kel::State().App.Path = dataFolder.substr(0, dataFolder.size() - 1);
    kel::State().UserDataRootPath = userFolder;
    kel::Manager manager;
    manager.Scanner()->SetUserDataRootPath(userFolder);
    manager.Inititalize();
    if (order == "clean") {
        Clean(manager);
    } else {
        TakeOut(manager, order == "restore");
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string order = argc == 5 ? argv[1] : "";
    if (order != "clean" && order != "restore" && order != "destroy") {
        std::fputs("usage: clean_machine clean|restore|destroy MACHINE DATA USER_DATA\n", stderr);
        return 64;
    }
    try {
        return Work(order, argv[2], argv[3], argv[4]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "clean_machine: %s\n", error.what());
        return 1;
    }
}
