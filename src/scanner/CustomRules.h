// The rules behind modScannerCustom, and the numbers by which they know threats and locations.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "results/Enumerations.h"
#include "results/ThreatLocationCustom.h"

namespace kel {
class Scanner;
}

namespace kel::modScannerCustom {

inline constexpr std::int32_t BrowserHijackThreat = 14831;
inline constexpr std::int32_t Notepad32Threat = 4092;
inline constexpr std::int32_t JimmyHelpThreat = 14898;
inline constexpr std::int32_t BloodhoundThreat = 14933;
inline constexpr std::int32_t OmegaSearchThreat = 14960;

/// CustomID of a location: which repair undoes it.
enum CustomLocation : std::int32_t {
    CustomWininit = 100001,
    CustomShellOpen = 100002,
    CustomBrowserHijack = 148311,
    CustomNotepad32 = 40921,
};

inline constexpr std::string_view WininitFile = "wininit.ini";
/// Of the machine's hive: how a text file is opened.
inline constexpr std::string_view TextFileCommand = R"(SOFTWARE\Classes\txtfile\shell\open\command)";

/// Files that the renames of wininit.ini bring in at the next start.
void ScanWininitCustom(const Scanner& scanner);
/// Programs that the commands for file types and protocols start.
void Custom_ShellOpenCommands(const Scanner& scanner);
/// Pages and search addresses of the browser that point elsewhere.
void ScanBrowserHijackCustom(const Scanner& scanner);
/// A false editor in place of the one that opens text files.
void ScanCoolWebSearchCustom(const Scanner& scanner);
/// A browser helper that is known by its class name.
void ScanJimmyHelpCustom(const Scanner& scanner);
/// A component that was installed from a compiled help file on the machine itself.
void ScanBloodhoundCustom(const Scanner& scanner);
/// Browser helpers and run entries that are known by the length of their files.
void ScanOmegaSearchCustom(const Scanner& scanner);

/// A location that is cleaned behind the others. The texts of its data are the caller's to fill.
[[nodiscard]] ThreatLocationCustom CustomLocationOf(CustomLocation id, std::string displayData);
/// Records it for a threat of the current scan. Raises error 91 without one.
void AddCustom(enScanType scanType, std::int32_t threatID, const ThreatLocationCustom& location);
/// Records a file with its hash.
void AddFile(std::int32_t threatID, const std::string& path);

}  // namespace kel::modScannerCustom
