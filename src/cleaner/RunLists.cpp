// The lists in the registry of what is started with the machine or at the logon.
#include <string>

#include "cleaner/CutLinks.h"
#include "cleaner/Unhooking.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "core/Value.h"
#include "rules/modCleanerHelper.h"
#include "system/modFolderPaths.h"
#include "system/modHelper.h"
#include "system/modRegistry.h"

namespace kel::modCleanerHelper {

namespace {

using platform::HiveCurrentUser;
using platform::HiveLocalMachine;

constexpr std::string_view Module = "modCleanerHelper";

struct RunList {
    platform::Hive hive;
    std::string_view key;
};

constexpr RunList RunLists[] = {
    {HiveLocalMachine, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Run)"},
    {HiveLocalMachine, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\RunOnce)"},
    {HiveLocalMachine, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\RunOnceEx)"},
    {HiveCurrentUser, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Run)"},
    {HiveCurrentUser, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\RunOnce)"},
    {HiveCurrentUser, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\RunOnceEx)"},
    {HiveLocalMachine, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\RunServicesOnce)"},
    {HiveLocalMachine, R"(Software\Microsoft\Windows\CurrentVersion\RunServices)"},
    {HiveCurrentUser, R"(Software\Microsoft\Windows\CurrentVersion\RunServices)"},
};

std::string ProgramOf(std::string_view commandLine) {
    return ToText(modFolderPaths::ResolveFilePathEx(
        modFolderPaths::TranslateEnvironmentVariablesPaths(modHelper::GetFilePathFromPathWithCommand(commandLine))));
}

}  // namespace

QuarantineLocations<QThreatLocationRegKey> KillAutoRunLocationsRegistry(std::string_view path) {
    QuarantineLocations<QThreatLocationRegKey> cut;
    Trap(Module, "KillAutoRunLocationsRegistry", [&] {
        for (const RunList& list : RunLists) {
            for (const links::KeyRecord& record : HelperKillAutoRunLocationsRegistry(path, list.hive, list.key)) {
                cut.Add(record);
            }
        }
        for (const links::KeyRecord& record : cut) {
            CleanerLog("Removed registry auto start " + links::ValueText(*record));
        }
    });
    return cut;
}

QuarantineLocations<QThreatLocationRegKey> HelperKillAutoRunLocationsRegistry(std::string_view path,
                                                                              platform::Hive hive,
                                                                              std::string_view key) {
    QuarantineLocations<QThreatLocationRegKey> cut;
    Trap(Module, "HelperKillAutoRunLocationsRegistry", [&] {
        const std::string wanted = LCase(path);
        // What is not there resolves to nothing, and would equal it.
        if (wanted.empty()) {
            return;
        }
        for (const std::string& item : modRegistry::RegistryValuesList(hive, key)) {
            const std::string data = modHelper::StringAfterColon(item);
            if (LCase(ProgramOf(data)) != wanted) {
                continue;
            }
            links::KeyRecord record = links::RecordOf(hive, key);
            record->RegValueName = modHelper::StringBeforeColon(item);
            record->RegValueData = data;
            record->RegValueDataType = modRegistry::GetRegistryValueType(hive, key, record->RegValueName);
            modRegistry::DeleteRegistryValue(hive, key, record->RegValueName);
            cut.Add(std::move(record));
        }
    });
    return cut;
}

}  // namespace kel::modCleanerHelper
