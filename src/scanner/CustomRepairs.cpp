// What undoes a custom location.
#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>

#include "core/Failures.h"
#include "core/Value.h"
#include "platform/Registry.h"
#include "rules/modCleanerHelper.h"
#include "scanner/CustomRules.h"
#include "scanner/modScannerCustom.h"
#include "system/modFolderPaths.h"
#include "system/modRegistry.h"

namespace kel::modScannerCustom {

namespace {

constexpr std::int32_t RegSz = 1;

constexpr std::string_view Editor = R"(%SystemRoot%\system32\NOTEPAD.EXE %1)";
constexpr std::string_view Player = R"("C:\Program Files\Windows Media Player\wmplayer.exe" \prefetch:6 /Open "%L")";
constexpr std::string_view Browser = R"("C:\Program Files\Internet Explorer\iexplore.exe" -nohome)";
constexpr std::string_view OtherCommand = R"("%1" %*)";

struct OriginalCommand {
    std::string_view type;
    std::string_view command;
};
constexpr OriginalCommand OriginalCommands[] = {
    {"txtfile", Editor},   {"htafile", R"(mshta.exe "%1" %*)"},
    {"mp3file", Player},   {"mpegfile", Player},
    {"htmlfile", Browser}, {"http", Browser},
    {"https", Browser},
};

void WriteCommand(platform::Hive hive, std::string_view key, std::string_view command) {
    modRegistry::SetRegistryValue(hive, key, {}, std::string(command), RegSz);
}

void CleanWininitCustom(const ThreatLocationCustom& location) {
    modCleanerHelper::RemoveFullLineFromFile(location.CustomData1,
                                             modFolderPaths::GetWindowsFolder().append(WininitFile));
}

void CleanShellOpenCustom(const ThreatLocationCustom& location) {
    const auto* const original =
        std::find_if(std::begin(OriginalCommands), std::end(OriginalCommands),
                     [&](const OriginalCommand& row) { return row.type == location.CustomData3; });
    // A location of the scan has no number here, so it ends here.
    const platform::Hive hive = ToLong(Value(location.CustomData1));
    WriteCommand(hive, location.CustomData2, original == std::end(OriginalCommands) ? OtherCommand : original->command);
}

void CleanCoolWebSearchCustom(const ThreatLocationCustom& /*location*/) {
    WriteCommand(platform::HiveLocalMachine, TextFileCommand, Editor);
}

void CleanBrowserHijackCustom(const ThreatLocationCustom& /*location*/) {
    modCleanerHelper::RestoreIEURLSettings();
}

struct Repair {
    CustomLocation id;
    void (*run)(const ThreatLocationCustom&);
};
constexpr Repair Repairs[] = {
    {CustomWininit, CleanWininitCustom},
    {CustomShellOpen, CleanShellOpenCustom},
    {CustomNotepad32, CleanCoolWebSearchCustom},
    {CustomBrowserHijack, CleanBrowserHijackCustom},
};

}  // namespace

void CleanCustom(const ThreatLocationCustom& location) {
    Trap("modScannerCustom", "CleanCustom", [&] {
        for (const Repair& repair : Repairs) {
            if (repair.id == location.CustomID()) {
                ResumeNext([&] { repair.run(location); });
            }
        }
    });
}

}  // namespace kel::modScannerCustom
