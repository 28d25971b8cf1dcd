#include "frontend/ScanStages.h"

#include <initializer_list>
#include <utility>

#include "scanner/Scanner.h"

namespace kel::frontend {

std::vector<std::string> ScanStages::Names() const {
    const std::initializer_list<std::pair<bool, const char*>> all{
        {processes, "processes"}, {modules, "modules"},   {common, "common"},
        {drives, "drives"},       {registry, "registry"}, {cookies, "cookies"},
    };
    std::vector<std::string> names;
    for (const auto& [runs, name] : all) {
        if (runs) {
            names.emplace_back(name);
        }
    }
    return names;
}

ScanStages StagesOf(const ScanOptions& options, const platform::Capabilities& can) {
    const bool named = options.processes || options.modules || options.common || options.registry || options.cookies;
    const bool full = options.full || (!named && options.paths.empty());
    ScanStages stages;
    const auto availableIf = [&](bool available, bool asked, const char* name) {
        if (asked && !available) {
            stages.notAvailable.emplace_back(name);
        }
        return asked && available;
    };
    stages.processes = availableIf(can.processes, full || options.processes || options.modules, "processes");
    stages.modules = stages.processes && (full || options.modules);
    stages.common = full || options.common;
    stages.drives = full || !options.paths.empty();
    stages.registry = availableIf(can.registry, full || options.registry, "registry");
    stages.cookies = full || options.cookies;
    availableIf(can.processes, options.suspendActive, "suspend-active");
    availableIf(can.live, options.priority != 0, "priority");
    return stages;
}

void Apply(const ScanOptions& options, const ScanStages& stages, Scanner& scanner) {
    scanner.DoScanProcesses = stages.processes;
    scanner.OptScanProcessesDeep = stages.modules;
    scanner.DoMostCommon = stages.common;
    scanner.DoSkipCommonFiles = options.skipCommonFiles;
    scanner.DoDriveScan = stages.drives;
    scanner.DoScanRegistry = stages.registry;
    scanner.DoScanCookies = stages.cookies;
    scanner.DoScanZips = options.zips;
    scanner.OptScanDepth = static_cast<enScanDepth>(options.depth);
    scanner.SetOptMaxOptionLevel(options.maxOption);
    scanner.SetScanAllUsers(options.allUsers);
    scanner.SetSuspendActive(options.suspendActive);
    scanner.SetoptWriteHistory(true);
    if (options.maxMd5Len != 0) {
        scanner.SetOptMaxMD5Len(options.maxMd5Len);
    }
}

}  // namespace kel::frontend
