#include "scanner/modScannerCookies.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/Collection.h"
#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "results/Scan.h"
#include "scanner/ScannerModule.h"
#include "scanner/modScannerFiles.h"
#include "system/clsFolderPaths.h"
#include "system/modFolderPaths.h"
#include "system/modKvFileExplorer.h"

namespace kel::modScannerCookies {

namespace {

// Below the profile of the current user.
constexpr std::string_view Cache = "local settings\\temporary internet files";

Collection<std::string> CookieFolders() {
    if (SharedByScanners().scanAllUsers) {
        return modKvFileExplorer::AllUsersCookieFolders();
    }
    const auto folders = RequireCurrentScan()->FolderPaths;
    if (!folders) {
        Raise(ErrObjectNotSet);
    }
    Collection<std::string> list;
    list.Add(folders->PathCookies);
    list.Add(modFolderPaths::GetUserProfileFolder() + std::string(Cache));
    return list;
}

// What is between the first "@" and the first "["; nothing for a name that is no cookie's.
std::optional<std::string> DomainIn(std::string_view name) {
    const std::size_t at = InStr(name, "@");
    const std::size_t bracket = InStr(name, "[");
    if (at < 1 || bracket <= at) {
        return std::nullopt;
    }
    return LCase(Mid(name, at + 1, bracket - at - 1));
}

void TestCookie(const std::string& folder, const std::string& name) {
    RequireCurrentScan()->EventStartingLocation(name, ScanTypeCookies);
    const std::optional<std::string> domain = DomainIn(name);
    const std::int32_t threat = domain ? modScannerFiles::CookieThreatExists(*domain) : 0;
    if (threat > 0) {
        RequireCurrentScan()->AddDetectedThreatCookie(ScanTypeCookies, threat, *domain, folder + name);
    }
}

}  // namespace

void ScanCookies() {
    Trap("modScannerCookies", "ScanCookies", [&] {
        for (const std::string& cookies : CookieFolders()) {
            if (cookies.empty()) {
                continue;
            }
            const std::string folder = WithBackslash(cookies);
            for (const std::string& name : modKvFileExplorer::FilesListShallow(folder, "*.*")) {
                if (ScanAbortFlag()) {
                    return;
                }
                TestCookie(folder, name);
                DoEvents();
            }
        }
    });
}

}  // namespace kel::modScannerCookies
