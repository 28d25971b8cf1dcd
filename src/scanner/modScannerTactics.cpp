#include "scanner/modScannerTactics.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "core/Collection.h"
#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "core/Unnoticed.h"
#include "core/Value.h"
#include "platform/Registry.h"
#include "results/Scan.h"
#include "scanner/Scanner.h"
#include "scanner/modScannerFiles.h"
#include "system/LookAhead.h"
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

// Is given each entry of a stage.
using Visit = std::function<void(const std::string& entry)>;

template <const auto& Lists>
void ListClasses(const Visit& visit) {
    for (const ClassList& list : Lists) {
        for (const std::string& entry : ClassesOf(list)) {
            if (!entry.empty()) {
                visit(entry);
            }
        }
    }
}

void ListStartupFiles(const Visit& visit) {
    for (const auto folderOf : {modFolderPaths::GetCommonStartupFolder, modFolderPaths::GetUserStartupFolder}) {
        if (const std::string folder = folderOf(); !folder.empty()) {
            for (const std::string& name : modKvFileExplorer::FilesListShallow(folder, "*.*")) {
                visit(folder + name);
            }
        }
    }
}

void HelperScanCommonTacticsAutoRegistry(const Visit& visit, Hive hive, std::string_view key) {
    Trap(Module, "HelperScanCommonTacticsAutoRegistry", [&] {
        for (const std::string& entry : modRegistry::RegistryValuesList(hive, key)) {
            if (const std::string data = modHelper::StringAfterColon(entry); !data.empty()) {
                visit(data);
            }
        }
    });
}

void ListRunEntries(const Visit& visit) {
    for (const RunList& list : RunLists) {
        HelperScanCommonTacticsAutoRegistry(visit, list.hive, list.key);
    }
}

// The value is a list of programs with a comma between two of them.
void ListWinlogonValue(const Visit& visit, std::string_view name) {
    const std::string programs = ToText(modRegistry::GetRegistryValue(HiveLocalMachine, Winlogon, name));
    for (std::size_t start = 0; start <= programs.size();) {
        const std::size_t end = std::min(programs.find(',', start), programs.size());
        if (end > start) {
            visit(programs.substr(start, end - start));
        }
        start = end + 1;
    }
}

void ListWinlogonShell(const Visit& visit) {
    ListWinlogonValue(visit, "Shell");
}

void ListWinlogonUserinit(const Visit& visit) {
    ListWinlogonValue(visit, "Userinit");
}

std::string WinlogonFile(std::string_view entry) {
    return ToText(modFolderPaths::ResolveFilePathEx(modHelper::GetFilePathFromPathWithCommand(entry)));
}

struct Stage {
    std::string_view routine;  // its name in the log
    std::string_view text;     // its event
    void (*list)(const Visit&);
    std::string (*file)(std::string_view entry);  // empty when there is none
    // What `file` looks for, where it is not the entry's text.
    std::string (*named)(std::string_view entry) = nullptr;
    bool tested = true;
};
constexpr auto ClassFile = modRegistry::GetFilePathFromCLSID;
constexpr auto ClassServer = modRegistry::ServerOfClass;
constexpr Stage Stages[] = {
    {"ScanCommonTacticsStartupFiles", "Scanning start up programs", ListStartupFiles, modFiles::ShortcutTargetPath},
    {"ScanCommonTacticsAutoRegistry", "Scanning start up registry programs", ListRunEntries, FilePathFromRunEntry},
    {"ScanCommonTacticsBHOs", "Scanning Browser Helper Objects (BHOs)", ListClasses<BHOs>, ClassFile, ClassServer},
    {"ScanCommonTacticsIEExtensions", "Scanning Internet Explorer Extensions", ListClasses<IEExtensions>, ClassFile,
     ClassServer},
    {"ScanCommonTacticsIEToolbars", "Scanning Internet Explorer Toolbars", ListClasses<IEToolbars>, ClassFile,
     ClassServer},
    {"ScanCommonTacticsIEExplorerBars", "Scanning Internet Explorer Explorer Bars", ListClasses<IEExplorerBars>,
     ClassFile, ClassServer},
    {"ScanCommonTacticsIEShellBrowser", "Scanning Internet Explorer ShellBrowser", ListClasses<IEShellBrowser>,
     ClassFile, ClassServer},
    {"ScanCommonTacticsIEWebBrowser", "Scanning Internet Explorer WebBrowser", ListClasses<IEWebBrowser>, ClassFile,
     ClassServer},
    {"ScanCommonTacticsIEURLSearchHooks", "Scanning Internet Explorer URLSearchHooks", ListClasses<IEURLSearchHooks>,
     ClassFile, ClassServer},
    {"ScanCommonTacticsShellExecuteHooks", "Scanning ShellExecuteHooks", ListClasses<ShellExecuteHooks>, ClassFile,
     ClassServer},
    // What is downloaded is found by the walk and the registry stage.
    {"ScanCommonTacticsActiveX", "Scanning ActiveX Programs", ListClasses<ActiveX>, ClassFile, ClassServer, false},
    {"ScanCommonTacticsWinlogonShell", "Scanning Winlogon Shell Programs", ListWinlogonShell, WinlogonFile},
    {"ScanCommonTacticsWinlogonUserinit", "Scanning Winlogon Shell Programs", ListWinlogonUserinit, WinlogonFile},
};

// What lies on another machine is left to its turn, so that one that does not answer is waited for once.
bool IsRemote(const std::string& text) {
    return text.find(R"(\\)") != std::string::npos;
}

// The files of a stage, found as the stage itself will find them. What is wrong with an entry is told at its turn.
class EntriesAhead : public PathsAhead {
public:
    explicit EntriesAhead(const Stage& stage) : stage_(stage) {
        const Unnoticed unnoticed;
        ResumeNext([&] { stage_.list([&](const std::string& entry) { entries_.push_back(entry); }); });
    }

    // A single file is read at its turn as fast.
    [[nodiscard]] bool Pays() const { return entries_.size() > 1; }

    bool Next(AheadItem& item, bool /*slow*/) override {
        if (next_ == entries_.size()) {
            return false;
        }
        const std::string& entry = entries_[next_++];
        std::string path;
        const Unnoticed unnoticed;
        ResumeNext([&] {
            if (!IsRemote(stage_.named != nullptr ? stage_.named(entry) : entry)) {
                path = stage_.file(entry);
            }
        });
        Fill(item, IsRemote(path) ? std::string() : std::move(path));
        return true;
    }

private:
    const Stage& stage_;
    std::vector<std::string> entries_;
    std::size_t next_ = 0;
};

void Test(const Stage& stage, const Scanner& scanner) {
    std::optional<LookAhead> ahead;
    if (stage.tested && scanner.HashesFiles()) {
        if (auto entries = std::make_unique<EntriesAhead>(stage); entries->Pays()) {
            ahead.emplace(std::move(entries));
        }
    }
    stage.list([&](const std::string& entry) {
        const std::string path = stage.file(entry);
        if (stage.tested) {
            TestFile(scanner, path);
        }
    });
}

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
                Test(stage, scanner);
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
