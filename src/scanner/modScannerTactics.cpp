#include "scanner/modScannerTactics.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "core/Collection.h"
#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Registry.h"
#include "results/Scan.h"
#include "scanner/Scanner.h"
#include "scanner/modScannerFiles.h"
#include "system/modFiles.h"
#include "system/modFolderPaths.h"
#include "system/modHelper.h"
#include "system/modKvFileExplorer.h"
#include "system/modMD5.h"
#include "system/modRegistry.h"

namespace kel::modScannerTactics {

namespace {

using platform::Hive;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;

constexpr std::string_view Module = "modScannerTactics";

enum class Entries { SubKeys, ValueNames };

// A key whose subkeys or values are named by class identifiers.
struct ClassList {
    Hive hive;
    std::string_view key;
    Entries entries;
};

constexpr ClassList BHOs[] = {
    {HiveLocalMachine, BrowserHelperObjects, Entries::SubKeys},
};
constexpr ClassList IEExtensions[] = {
    {HiveLocalMachine, R"(SOFTWARE\Microsoft\Internet Explorer\Extensions)", Entries::SubKeys},
    {HiveCurrentUser, R"(SOFTWARE\Microsoft\Internet Explorer\Extensions)", Entries::SubKeys},
};
constexpr ClassList IEToolbars[] = {
    {HiveLocalMachine, R"(SOFTWARE\Microsoft\Internet Explorer\Toolbar)", Entries::ValueNames},
};
constexpr ClassList IEExplorerBars[] = {
    {HiveLocalMachine, R"(Software\Microsoft\Internet Explorer\Explorer Bars)", Entries::SubKeys},
    {HiveCurrentUser, R"(Software\Microsoft\Internet Explorer\Explorer Bars)", Entries::SubKeys},
};
constexpr ClassList IEShellBrowser[] = {
    {HiveCurrentUser, R"(Software\Microsoft\Internet Explorer\Toolbar\ShellBrowser)", Entries::ValueNames},
};
constexpr ClassList IEWebBrowser[] = {
    {HiveCurrentUser, R"(Software\Microsoft\Internet Explorer\Toolbar\WebBrowser)", Entries::ValueNames},
};
constexpr ClassList IEURLSearchHooks[] = {
    {HiveCurrentUser, R"(Software\Microsoft\Internet Explorer\URLSearchHooks)", Entries::ValueNames},
};
constexpr ClassList ShellExecuteHooks[] = {
    {HiveLocalMachine, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Explorer\ShellExecuteHooks)", Entries::ValueNames},
};
constexpr ClassList ActiveX[] = {
    {HiveLocalMachine, DistributionUnits, Entries::SubKeys},
};

struct RunList {
    Hive hive;
    std::string_view key;
};
constexpr RunList RunLists[] = {
    {HiveLocalMachine, Run},
    {HiveLocalMachine, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\RunOnce)"},
    {HiveLocalMachine, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\RunOnceEx)"},
    {HiveCurrentUser, Run},
    {HiveCurrentUser, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\RunOnce)"},
    {HiveCurrentUser, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\RunOnceEx)"},
    {HiveLocalMachine, R"(Software\Microsoft\Windows\CurrentVersion\RunServicesOnce)"},
    {HiveLocalMachine, R"(Software\Microsoft\Windows\CurrentVersion\RunServices)"},
    {HiveCurrentUser, R"(Software\Microsoft\Windows\CurrentVersion\RunServices)"},
};

constexpr std::string_view Winlogon = R"(SOFTWARE\Microsoft\Windows NT\CurrentVersion\Winlogon)";

void TestFile(const Scanner& scanner, const std::string& path) {
    if (!modFiles::FileExists(path)) {
        return;
    }
    const std::int32_t threat = modScannerFiles::IsFileThreat(path, {}, scanner.OptScanDepth);
    if (threat > 0) {
        RequireCurrentScan()->AddDetectedThreatFile(ScanTypeFiles, threat, modMD5::FileMD5(path), path);
    }
}

Collection<std::string> ClassesOf(const ClassList& list) {
    Collection<std::string> classes;
    if (list.entries == Entries::SubKeys) {
        if (auto keys = modRegistry::RegistrySubKeys(list.hive, list.key)) {
            classes = *std::move(keys);
        }
        return classes;
    }
    for (const std::string& name : modRegistry::RegistryValueNames(list.hive, list.key)) {
        classes.Add(modFiles::StringBeforeNul(name));
    }
    return classes;
}

template <const auto& Lists>
void TestClasses(const Scanner& scanner) {
    for (const ClassList& list : Lists) {
        for (const std::string& entry : ClassesOf(list)) {
            if (!entry.empty()) {
                TestFile(scanner, modRegistry::GetFilePathFromCLSID(entry));
            }
        }
    }
}

// Resolves each component and tests none of them: what is downloaded is found by the walk and the registry stage.
void ResolveActiveX(const Scanner& /*scanner*/) {
    for (const ClassList& list : ActiveX) {
        for (const std::string& entry : ClassesOf(list)) {
            if (!entry.empty()) {
                static_cast<void>(modRegistry::GetFilePathFromCLSID(entry));
            }
        }
    }
}

void TestShortcuts(const Scanner& scanner, const std::string& folder) {
    for (const std::string& name : modKvFileExplorer::FilesListShallow(folder, "*.*")) {
        TestFile(scanner, modFiles::ShortcutTargetPath(folder + name));
    }
}

void TestStartupFiles(const Scanner& scanner) {
    for (const auto folderOf : {modFolderPaths::GetCommonStartupFolder, modFolderPaths::GetUserStartupFolder}) {
        if (const std::string folder = folderOf(); !folder.empty()) {
            TestShortcuts(scanner, folder);
        }
    }
}

void HelperScanCommonTacticsAutoRegistry(const Scanner& scanner, Hive hive, std::string_view key) {
    Trap(Module, "HelperScanCommonTacticsAutoRegistry", [&] {
        for (const std::string& entry : modRegistry::RegistryValuesList(hive, key)) {
            if (const std::string data = modHelper::StringAfterColon(entry); !data.empty()) {
                TestFile(scanner, FilePathFromRunEntry(data));
            }
        }
    });
}

void TestRunLists(const Scanner& scanner) {
    for (const RunList& list : RunLists) {
        HelperScanCommonTacticsAutoRegistry(scanner, list.hive, list.key);
    }
}

// The value is a list of programs with a comma between two of them.
void TestWinlogonValue(const Scanner& scanner, std::string_view name) {
    const std::string programs = ToText(modRegistry::GetRegistryValue(HiveLocalMachine, Winlogon, name));
    for (std::size_t start = 0; start <= programs.size();) {
        const std::size_t end = std::min(programs.find(',', start), programs.size());
        if (end > start) {
            const std::string path =
                modHelper::GetFilePathFromPathWithCommand(std::string_view(programs).substr(start, end - start));
            TestFile(scanner, ToText(modFolderPaths::ResolveFilePathEx(path)));
        }
        start = end + 1;
    }
}

void TestWinlogonShell(const Scanner& scanner) {
    TestWinlogonValue(scanner, "Shell");
}

void TestWinlogonUserinit(const Scanner& scanner) {
    TestWinlogonValue(scanner, "Userinit");
}

struct Stage {
    std::string_view routine;  // its name in the log
    std::string_view text;     // its event
    void (*test)(const Scanner&);
};
constexpr Stage Stages[] = {
    {"ScanCommonTacticsStartupFiles", "Scanning start up programs", TestStartupFiles},
    {"ScanCommonTacticsAutoRegistry", "Scanning start up registry programs", TestRunLists},
    {"ScanCommonTacticsBHOs", "Scanning Browser Helper Objects (BHOs)", TestClasses<BHOs>},
    {"ScanCommonTacticsIEExtensions", "Scanning Internet Explorer Extensions", TestClasses<IEExtensions>},
    {"ScanCommonTacticsIEToolbars", "Scanning Internet Explorer Toolbars", TestClasses<IEToolbars>},
    {"ScanCommonTacticsIEExplorerBars", "Scanning Internet Explorer Explorer Bars", TestClasses<IEExplorerBars>},
    {"ScanCommonTacticsIEShellBrowser", "Scanning Internet Explorer ShellBrowser", TestClasses<IEShellBrowser>},
    {"ScanCommonTacticsIEWebBrowser", "Scanning Internet Explorer WebBrowser", TestClasses<IEWebBrowser>},
    {"ScanCommonTacticsIEURLSearchHooks", "Scanning Internet Explorer URLSearchHooks", TestClasses<IEURLSearchHooks>},
    {"ScanCommonTacticsShellExecuteHooks", "Scanning ShellExecuteHooks", TestClasses<ShellExecuteHooks>},
    {"ScanCommonTacticsActiveX", "Scanning ActiveX Programs", ResolveActiveX},
    {"ScanCommonTacticsWinlogonShell", "Scanning Winlogon Shell Programs", TestWinlogonShell},
    {"ScanCommonTacticsWinlogonUserinit", "Scanning Winlogon Shell Programs", TestWinlogonUserinit},
};

}  // namespace

std::string FilePathFromRunEntry(std::string_view data) {
    const std::string command = modHelper::GetFilePathFromPathWithCommand(data);
    const std::string path = modFolderPaths::TranslateEnvironmentVariablesPaths(command);
    return ToText(modFolderPaths::ResolveFilePathEx(Trim(path)));
}

void ScanCommonTactics(const Scanner& scanner) {
    Trap(Module, "ScanCommonTactics", [&] {
        for (const Stage& stage : Stages) {
            if (ScanAbortFlag()) {
                return;
            }
            Trap(Module, stage.routine, [&] {
                RequireCurrentScan()->EventStartingLocation(stage.text, ScanTypeFiles);
                stage.test(scanner);
                DoEvents();
            });
        }
    });
}

}  // namespace kel::modScannerTactics

namespace kel {

void Scanner::ScanCommonTactics() {
    modScannerTactics::ScanCommonTactics(*this);
}

}  // namespace kel
