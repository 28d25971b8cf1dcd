#include "CutMachine.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>

#include "KillSwitch.h"
#include "catalogue/ThreatLite.h"
#include "cleaner/Cleaner.h"
#include "core/EngineState.h"
#include "core/Text.h"
#include "engine/Manager.h"
#include "offline/OfflinePlatform.h"
#include "quarantine/Quarantine.h"
#include "quarantine/QuarantineTables.h"
#include "results/DetectedThreat.h"
#include "scanner/EngineData.h"
#include "support/ShellLink.h"
#include "support/ShippedTables.h"

namespace kel::test {

namespace {

namespace fs = std::filesystem;
using platform::Hive;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using platform::SysError;

constexpr std::string_view ScanID = "AAAAAAAA-BBBB-CCCC-DDDD-EEEEEE";
constexpr const char* ClassID = "{0A1B2C3D-0001-4000-8000-00000000EA01}";

struct PlantedFile {
    std::string name;
    std::string path;   // below drive C:, with slashes
    std::string bytes;  // empty: a folder
};

std::string Link(const std::string& target) {
    ShellLink link;
    link.target = target;
    return MakeShellLink(link);
}

const std::vector<PlantedFile>& Files() {
    static const std::vector<PlantedFile> files = {
        {"earlier file", "earlier.exe", "an earlier program"},
        {"program", "evil/program.exe", "a program"},
        {"library", "evil/library.dll", "a library"},
        {"text file", "evil/notes.txt", "some text"},
        {"program of an ini file", "evil/line.exe", "another program"},
        {"ini line", "Windows/win.ini", "[windows]\r\nload=C:\\evil\\line.exe\r\n"},
        {"line of a custom location", "Windows/wininit.ini", "[rename]\r\nNUL=C:\\evil\\custom.exe\r\n"},
        {"shortcut", "startup/program.lnk", Link("C:\\evil\\program.exe")},
        {"file of a folder", "evil folder/inner/deep.txt", "deep in a folder"},
        {"protected file", "evil folder/myforms.dll", "a protected library"},
        {"empty folder", "evil folder/empty", ""},
        {"cookie", "cookies/ada@evil.example[1].txt", "a cookie"},
        {"second cookie", "cookies/ada@evil.example[2].txt", "one more cookie"},
    };
    return files;
}

struct PlantedEntry {
    std::string name;
    Hive hive;
    std::string key;
    std::string value;
    std::string text;
    std::string machine = {};  // where it lies, if not in the tree of that key
};

const std::vector<PlantedEntry>& Entries() {
    const std::string current = R"(Software\Microsoft\Windows\CurrentVersion\)";
    static const std::vector<PlantedEntry> entries = {
        {"earlier value", HiveCurrentUser, "Software\\Earlier", "Name", "earlier data"},
        {"value", HiveLocalMachine, "Software\\Evil", "Name", "Data"},
        {"value of the user", HiveCurrentUser, "Software\\Evil", "Other", "Text"},
        {"value found by its name", HiveCurrentUser, "Software\\Evil", "Named", "unknown"},
        {"value below a key", HiveLocalMachine, "Software\\EvilKey\\Sub", "x", "y"},
        {"run entry", HiveLocalMachine, current + "Run", "Evil", "C:\\evil\\program.exe /quiet"},
        {"run entry of the user", HiveCurrentUser, current + "RunOnce", "Evil", "C:\\evil\\program.exe"},
        {"service", HiveLocalMachine, R"(System\CurrentControlSet\Services\Evil)", "ImagePath",
         "C:\\evil\\program.exe"},
        {"use of a library", HiveLocalMachine, current + R"(ModuleUsage\C:\evil\library.dll)", ".Owner", "evil"},
        {"browser extension", HiveLocalMachine, current + R"(Explorer\Browser Helper Objects\)" + ClassID, "x", "y"},
        {"browser hook", HiveCurrentUser, R"(Software\Microsoft\Internet Explorer\URLSearchHooks)", ClassID, "x"},
        {"command of a custom location", HiveLocalMachine, R"(Software\Classes\evilfile\shell\open\command)", "",
         "C:\\evil\\custom.exe"},
    };
    return entries;
}

std::string ReadAll(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void Write(const fs::path& path, std::string_view bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// An open machine with its engine.
class Opened {
public:
    explicit Opened(const fs::path& work, bool withEngine)
        : machine_(Options(work)), data_(machine_.MountHost(work / "data")), user_(machine_.MountHost(work / "user")) {
        installed_.emplace(machine_.View());
        if (!withEngine) {
            return;
        }
        engine_.emplace();
        State().App.EXEName = "crash_tests";
        State().App.Path = data_.substr(0, data_.size() - 1);
        State().UserDataRootPath = user_;
        Manager().Scanner()->SetUserDataRootPath(user_);
        modMain::LoadEngineData();
    }

private:
    static offline::MachineOptions Options(const fs::path& work) {
        offline::MachineOptions options;
        options.machine = work / "machine";
        options.writable = true;
        return options;
    }
    offline::OfflinePlatform machine_;
    std::string data_, user_;
    std::optional<platform::PlatformScope> installed_;
    std::optional<EngineScope> engine_;
};

std::shared_ptr<DetectedThreat> Detection(std::int32_t id) {
    auto threat = std::make_shared<DetectedThreat>();
    threat->ThreatID = id;
    threat->ScanID = ScanID;
    threat->Threat = std::make_shared<ThreatLite>();
    threat->Threat->ThreatName = "Evil";
    return threat;
}

void AddFile(DetectedThreat& threat, const std::string& path) {
    threat.ThreatLocationFiles->Add(std::make_shared<ThreatLocationFile>(path));
}

void AddEntry(DetectedThreat& threat, Hive hive, const std::string& key, const std::string& name,
              const std::string& data) {
    threat.ThreatLocationRegKeys->Add(std::make_shared<ThreatLocationRegKey>(hive, key, name, data));
}

void AddCustom(DetectedThreat& threat, std::int32_t id, const std::string& data1, const std::string& data2) {
    const auto location = std::make_shared<ThreatLocationCustom>(id);
    location->CleanPriority = CustomCleanPriorityPost;
    location->CustomData1 = data1;
    location->CustomData2 = data2;
    threat.ThreatLocationCustoms->Add(location);
}

std::shared_ptr<DetectedThreat> Evil(std::int32_t id) {
    constexpr std::int32_t WininitLine = 100001;
    constexpr std::int32_t ShellCommand = 100002;
    auto threat = Detection(id);
    if (id == 6) {
        AddFile(*threat, "C:\\earlier.exe");
        AddEntry(*threat, HiveCurrentUser, "Software\\Earlier", "Name", "earlier data");
        return threat;
    }
    for (const char* path : {"program.exe", "library.dll", "notes.txt", "line.exe"}) {
        AddFile(*threat, std::string("C:\\evil\\") + path);
    }
    threat->ThreatLocationFolders->Add(std::make_shared<ThreatLocationFolder>("C:\\evil folder"));
    AddEntry(*threat, HiveLocalMachine, "Software\\Evil", "Name", "Data");
    AddEntry(*threat, HiveCurrentUser, "Software\\Evil", "Other", "Text");
    AddEntry(*threat, HiveCurrentUser, "Software\\Evil", "Named", "");
    AddEntry(*threat, HiveLocalMachine, "Software\\EvilKey", "", "");
    for (const PlantedFile& file : Files()) {
        if (file.path.starts_with("cookies")) {
            const auto cookie = std::make_shared<ThreatLocationCookie>();
            cookie->Cookie = "evil.example";
            cookie->DetectedFilePath = "C:\\" + Replace(file.path, "/", "\\");
            threat->ThreatLocationCookies->Add(cookie);
        }
    }
    AddCustom(*threat, WininitLine, "NUL=C:\\evil\\custom.exe", "");
    AddCustom(*threat, ShellCommand, Text(HiveLocalMachine), R"(Software\Classes\evilfile\shell\open\command)");
    return threat;
}

std::string IdentifierOf(std::int32_t threat) {
    return Quarantine().GetQuarantineThreatIDFromThreatID(threat);
}

}  // namespace

CutMachine::CutMachine() {
    // In memory where that can be: thousands of cuts wait for the disk otherwise.
    const fs::path memory = "/dev/shm";
    const bool inMemory = ::access(memory.c_str(), W_OK) == 0;
    std::string pattern = ((inMemory ? memory : fs::temp_directory_path()) / "kel-crash-XXXXXX").string();
    EXPECT_NE(::mkdtemp(pattern.data()), nullptr);
    work_ = pattern;
    if (GetParam() == Shape::WindowsDisk) {
        MakeXp();
    } else {
        MakeWinePrefix();
    }
    fs::create_directories(work_ / "kept" / "user");
    fs::create_directories(work_ / "data");
    fs::copy(Disk(), work_ / "kept" / "machine", fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    Reset();
    Plant();
    Keep();
}

CutMachine::~CutMachine() {
    std::error_code ignored;
    fs::remove_all(work_, ignored);
}

void CutMachine::MakeWinePrefix() const {
    const auto header = [](const char* place) {
        return "WINE REGISTRY Version 2\n;; All keys relative to " + std::string(place) + "\n\n#arch=win64\n\n";
    };
    File("system.reg",
         header(R"(\\Machine)") + "[Software] 1700000000\n\n[System\\\\CurrentControlSet] 1700000000\n\n");
    File("user.reg", header(R"(\\User\\S-1-5-21-0-0-0-1000)") + "[Software] 1700000000\n\n");
    File("userdef.reg", header(R"(\\User\\.Default)"));
    Folder("dosdevices");
    fs::create_directory_symlink("../drive_c", Disk() / "dosdevices" / "c:");
    Folder("drive_c/Windows/system32");
    Folder("drive_c/users/ada");
}

void CutMachine::Plant() {
    const fs::path drive = work_ / (GetParam() == Shape::WindowsDisk ? "machine" : "machine/drive_c");
    for (const PlantedFile& file : Files()) {
        std::string path = file.path;
        if (GetParam() == Shape::WindowsDisk && path.starts_with("Windows/")) {
            path.replace(0, 7, "WINDOWS");
        }
        if (file.bytes.empty()) {
            fs::create_directories(drive / path);
        } else {
            Write(drive / path, file.bytes);
        }
    }
    const Opened opened(work_, false);
    const auto set = [](platform::Hive hive, const std::string& key, const std::string& name, const std::string& text) {
        auto open = platform::Current().registry->Create(hive, key);
        ASSERT_TRUE(open.Ok()) << key;
        ASSERT_EQ((*open)->Set(name, platform::ValueType::Sz, text + '\0'), SysError::Success) << key;
    };
    for (const PlantedEntry& entry : Entries()) {
        set(entry.hive, entry.key, entry.value, entry.text);
    }
    set(HiveLocalMachine, std::string(R"(Software\Classes\CLSID\)") + ClassID + "\\InprocServer32", "",
        "C:\\evil\\library.dll");
    set(HiveLocalMachine, R"(Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders)", "Common Startup",
        "C:\\startup");
    ASSERT_EQ(platform::Current().registry->Commit(), SysError::Success);
    ShippedTables tables;
    tables.threats = {{.id = EarlierThreat, .name = "Earlier"}, {.id = Threat, .name = "Evil"}};
    tables.WriteTo("Z:\\");
}

void CutMachine::Reset() {
    for (const char* part : {"machine", "user"}) {
        fs::remove_all(work_ / part);
        fs::copy(work_ / "kept" / part, work_ / part, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    }
}

void CutMachine::Keep() {
    for (const char* part : {"machine", "user"}) {
        fs::remove_all(work_ / "kept" / part);
        fs::copy(work_ / part, work_ / "kept" / part, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    }
}

void CutMachine::Clean(std::int32_t threat) {
    const auto detected = std::make_shared<Cleaner::DetectedThreatCollection>();
    detected->Add(Evil(threat), "ThreatID:" + Text(threat));
    Cleaner cleaner;
    cleaner.SetEnableLog(true);
    cleaner.InitializeClean(ScanID, detected);
    cleaner.QuarantineThreat(threat);
    cleaner.UninitializeClean();
}

void CutMachine::Restore(std::int32_t threat) {
    Cleaner().InitializeClean("");
    Quarantine().RestoreThreat(IdentifierOf(threat));
}

void CutMachine::Destroy(std::int32_t threat) {
    Cleaner().InitializeClean("");
    Quarantine().DestroyThreat(IdentifierOf(threat));
}

void CutMachine::RestoreAll() {
    Cleaner().InitializeClean("");
    Quarantine quarantine;
    const auto threats = quarantine.GetQuarantineThreats();
    for (const auto& threat : *threats) {
        quarantine.RestoreThreat(threat->QuarantineThreatID);
    }
}

void CutMachine::Do(const Work& work) const {
    const Opened opened(work_, true);
    work();
}

bool CutMachine::DoUntil(std::uint64_t step, const Work& work) const {
    const pid_t child = ::fork();
    if (child == 0) {
        {
            const Opened opened(work_, true);
            killSwitch::Arm(step);
            work();
        }
        ::_exit(0);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status)) << "signal " << WTERMSIG(status) << " at step " << step;
    EXPECT_TRUE(WEXITSTATUS(status) == 0 || WEXITSTATUS(status) == killSwitch::Killed);
    return WEXITSTATUS(status) == 0;
}

States CutMachine::Now() const {
    const Opened opened(work_, false);
    States states;
    for (const PlantedFile& file : Files()) {
        const std::string path = "C:\\" + Replace(file.path, "/", "\\");
        std::string& state = states[file.name] = Absent;
        if (file.bytes.empty()) {
            state = platform::Current().files->PathIsDirectory(path) != 0 ? "a folder" : Absent;
        } else if (const auto view = platform::Current().files->View(path); view.Ok()) {
            const auto bytes = (*view)->Bytes();
            state.assign(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        }
    }
    for (const PlantedEntry& entry : Entries()) {
        std::string& state = states[entry.name] = Absent;
        if (auto key = platform::Current().registry->Open(entry.hive, entry.key); key.Ok()) {
            if (const auto value = (*key)->Query(entry.value); value.Ok()) {
                state = Text(static_cast<std::int32_t>(value->type)) + ":" + value->data;
            }
        }
    }
    return states;
}

CutMachine::Saved CutMachine::Stores() const {
    std::size_t same = 0;
    std::size_t whole = 0;
    for (const quarantine::Table* table : quarantine::Tables) {
        const std::string now = ReadAll(work_ / "user" / table->file);
        same += now == ReadAll(work_ / "kept" / "user" / table->file) ? 1U : 0U;
        whole += now.empty() ? 0U : 1U;
    }
    if (same == std::size(quarantine::Tables)) {
        return Saved::NotBegun;
    }
    return whole == std::size(quarantine::Tables) ? Saved::Whole : Saved::Partly;
}

bool CutMachine::QuarantineHolds(const std::string& bytes) const {
    for (const auto& entry : fs::recursive_directory_iterator(work_ / "user" / "Quarantine")) {
        if (entry.is_regular_file() && ReadAll(entry.path()).starts_with(bytes)) {
            return true;
        }
    }
    return false;
}

}  // namespace kel::test
