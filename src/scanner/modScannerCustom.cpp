#include "scanner/modScannerCustom.h"

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "core/EngineState.h"
#include "core/Failures.h"
#include "results/Scan.h"
#include "scanner/CustomRules.h"
#include "scanner/Scanner.h"
#include "system/modMD5.h"

namespace kel::modScannerCustom {

namespace {

struct Stage {
    std::string_view text;  // its event
    void (*scan)(const Scanner&);
};
constexpr Stage Stages[] = {
    {"Polymorphic scan of wininit.ini", ScanWininitCustom},
    {R"(Polymorphic scan of shell\open\command)", Custom_ShellOpenCommands},
    {"Polymorphic browser hijack scan", ScanBrowserHijackCustom},
    {"Polymorphic CoolWebSearch scan", ScanCoolWebSearchCustom},
    {"Polymorphic JimmyHelp scan", ScanJimmyHelpCustom},
    {"Polymorphic Bloodhound trojan exploit scan", ScanBloodhoundCustom},
    {"Polymorphic OmegaSearch scan", ScanOmegaSearchCustom},
};

}  // namespace

void ScanCustom(const Scanner& scanner) {
    Trap("modScannerCustom", "ScanCustom", [&] {
        for (const Stage& stage : Stages) {
            if (ScanAbortFlag()) {
                return;
            }
            RequireCurrentScan()->EventStartingLocation(stage.text, ScanTypeProcesses);
            stage.scan(scanner);
            DoEvents();
        }
    });
}

ThreatLocationCustom CustomLocationOf(CustomLocation id, std::string displayData) {
    ThreatLocationCustom location(id);
    location.CleanPriority = CustomCleanPriorityPost;
    location.DisplayData = std::move(displayData);
    return location;
}

void AddCustom(enScanType scanType, std::int32_t threatID, const ThreatLocationCustom& location) {
    RequireCurrentScan()->AddDetectedThreatCustom(scanType, threatID, std::make_shared<ThreatLocationCustom>(location));
}

void AddFile(std::int32_t threatID, const std::string& path) {
    RequireCurrentScan()->AddDetectedThreatFile(ScanTypeFiles, threatID, modMD5::FileMD5(path), path);
}

}  // namespace kel::modScannerCustom

namespace kel {

void Scanner::ScanCustom() {
    modScannerCustom::ScanCustom(*this);
}

}  // namespace kel
