#include "offline/MachineView.h"

#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <map>

#include "offline/OfflineRegistry.h"
#include "offline/OfflineSystem.h"
#include "offline/OfflineVersion.h"
#include "offline/RegistryText.h"
#include "offline/ShellFolderTable.h"
#include "offline/UserProfiles.h"
#include "offline/WineRegistryFile.h"
#include "offline/WineServerLock.h"

namespace kel::offline {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view CurrentVersion = "Software\\Microsoft\\Windows\\CurrentVersion";
constexpr std::string_view MachineEnvironment = "SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment";
constexpr std::string_view UserEnvironment = "Environment";
constexpr std::string_view CodePageKey = "SYSTEM\\CurrentControlSet\\Control\\Nls\\CodePage";
constexpr std::u16string_view DefaultSid = u"S-1-5-21-0-0-0-1000";

constexpr std::array<std::string_view, 2> WindowsFolders{"C:\\WINDOWS", "C:\\WINNT"};

bool IsFolder(const fs::path& path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

bool IsFile(const fs::path& path) {
    std::error_code error;
    return fs::is_regular_file(path, error);
}

// A folder below another by a name in any case, so that a disk mounted with its own case is found.
std::optional<fs::path> Below(const fs::path& folder, std::string_view name) {
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        if (LowerAscii(entry.path().filename().string()) == name && entry.is_directory(error)) {
            return entry.path();
        }
    }
    return std::nullopt;
}

std::u16string SidOf(const WineRegistryFile& file) {
    const std::u16string relative = file.RelativeTo();
    const std::size_t last = relative.rfind(u'\\');
    return last == std::u16string::npos || last + 1 == relative.size() ? std::u16string(DefaultSid)
                                                                       : relative.substr(last + 1);
}

std::string Joined(const std::vector<UserProfile>& users) {
    std::string names;
    for (const UserProfile& user : users) {
        names += (names.empty() ? "" : ", ") + user.name;
    }
    return names;
}

}  // namespace

MachineKind DetectKind(const fs::path& machine) {
    if (machine.empty()) {
        return MachineKind::BareFolder;
    }
    if (!IsFolder(machine)) {
        throw OpenError(machine.string() + " is no folder");
    }
    if (IsFile(machine / "system.reg") && IsFolder(machine / "drive_c")) {
        return MachineKind::WinePrefix;
    }
    for (const std::string_view windows : {"windows", "winnt"}) {
        const auto folder = Below(machine, windows);
        const auto system = folder ? Below(*folder, "system32") : std::nullopt;
        if (system && Below(*system, "config")) {
            return MachineKind::WindowsDisk;
        }
    }
    return MachineKind::BareFolder;
}

std::vector<DriveMapping> MachineDrives(const MachineOptions& options, MachineKind kind) {
    std::map<char, fs::path> drives;
    if (!options.machine.empty()) {
        drives['C'] = kind == MachineKind::WinePrefix ? options.machine / "drive_c" : options.machine;
    }
    for (const DriveMapping& drive : options.drives) {
        drives[drive.letter] = drive.folder;
    }
    std::vector<DriveMapping> list;
    list.reserve(drives.size());
    for (const auto& [letter, folder] : drives) {
        list.push_back({letter, folder});
    }
    return list;
}

struct MachineView::Impl {
    platform::Files& files;
    MachineKind kind = MachineKind::BareFolder;
    std::string windows;
    ProfileLayout layout;
    std::vector<UserProfile> users;  // the chosen one first
    const HostPathFunction& hostPath;
    OfflineRegistry registry;
    DiskRegistry disk{registry, files, hostPath};
    OfflineSystem system;
    std::vector<std::string> notes;

    Impl(platform::Files& machineFiles, const HostPathFunction& path) : files(machineFiles), hostPath(path) {}

    void OpenWineRegistry(const MachineOptions& options);
    void OpenDiskRegistry(const MachineOptions& options);
    void RefuseUnwritable(const DriveMapping& drive) const;
    void NoteWindows9x();
    void FindWindows();
    void FindVersion();
    void ChooseUser(const std::string& name);
    void FillSystem();
    void AddEnvironment(platform::Hive hive, std::string_view key);
    [[nodiscard]] std::string Profile() const { return users.empty() ? std::string() : users.front().folder; }
    [[nodiscard]] std::optional<std::string> Named(const ShellFolder& folder);
    [[nodiscard]] std::string Usual(const ShellFolder& folder) const;
};

void MachineView::Impl::OpenWineRegistry(const MachineOptions& options) {
    const fs::path& prefix = options.machine;
    if (options.writable) {
        const std::string lock = HeldServerLock(prefix);
        if (!lock.empty()) {
            throw OpenError(prefix.string() + " is in use: its Wine server holds " + lock +
                            "; end its programs (wineserver -k) before it is changed");
        }
    }
    registry.Add({u"MACHINE"}, std::make_unique<WineRegistryFile>(prefix / "system.reg", prefix));
    if (IsFile(prefix / "userdef.reg")) {
        registry.Add({u"USER", u".DEFAULT"}, std::make_unique<WineRegistryFile>(prefix / "userdef.reg", prefix));
    }
    if (IsFile(prefix / "user.reg")) {
        auto user = std::make_unique<WineRegistryFile>(prefix / "user.reg", prefix);
        const std::u16string sid = SidOf(*user);
        registry.Add({u"USER", sid}, std::move(user));
        registry.SetCurrentUser(sid);
    }
    registry.SetWritable(options.writable);
}

// A drive that was named and can't be written, or whose Windows sleeps: what is written to it then would be lost, or
// would damage it.
void MachineView::Impl::RefuseUnwritable(const DriveMapping& drive) const {
    struct statvfs volume {};
    if (::statvfs(drive.folder.c_str(), &volume) == 0 && (volume.f_flag & ST_RDONLY) != 0) {
        throw OpenError(drive.folder.string() + " is mounted read-only");
    }
    if (::faccessat(AT_FDCWD, drive.folder.c_str(), W_OK, AT_EACCESS) != 0 && errno == EACCES) {
        throw OpenError(drive.folder.string() + " can't be written by this user");
    }
    const auto image = hostPath(std::string(1, drive.letter) + ":\\hiberfil.sys");
    std::string sign(4, '\0');
    if (image && std::ifstream(*image, std::ios::binary).read(sign.data(), 4) && LowerAscii(sign) == "hibr") {
        throw OpenError(drive.folder.string() + " is hibernated: start its Windows and shut it down before it is " +
                        "changed");
    }
}

void MachineView::Impl::OpenDiskRegistry(const MachineOptions& options) {
    for (const std::string_view folder : WindowsFolders) {
        const std::string config = std::string(folder) + "\\system32\\config";
        if (files.PathIsDirectory(config) != 0) {
            disk.OpenMachine(config);
            break;
        }
    }
    registry.SetWritable(options.writable);
}

void MachineView::Impl::NoteWindows9x() {
    for (const std::string_view folder : WindowsFolders) {
        const auto hive = hostPath(std::string(folder) + "\\SYSTEM.DAT");
        std::string sign(4, '\0');
        if (hive && std::ifstream(*hive, std::ios::binary).read(sign.data(), 4) && sign == "CREG") {
            notes.push_back(hive->string() +
                            ": is a registry of Windows 95, 98 or Me (CREG), which is not read; "
                            "what is in the registry is not found");
        }
    }
}

void MachineView::Impl::FindWindows() {
    const auto named =
        ReadText(registry, platform::HiveLocalMachine, "Software\\Microsoft\\Windows NT\\CurrentVersion", "SystemRoot");
    if (named && files.PathIsDirectory(*named) != 0) {
        windows = *named;
        return;
    }
    for (const std::string_view folder : WindowsFolders) {
        if (files.PathIsDirectory(folder) != 0) {
            windows = folder;
            return;
        }
    }
}

void MachineView::Impl::FindVersion() {
    system.SetVersion(kind == MachineKind::WinePrefix ? VersionOfWinePrefix(registry)
                      : registry.Empty()              ? VersionFromFolders(files)
                                                      : VersionFromRegistry(registry));
    if (windows.empty()) {
        return;
    }
    system.SetVariable("SystemDrive", windows.substr(0, 2));
    system.SetVariable("SystemRoot", windows);
    system.SetVariable("windir", windows);
}

void MachineView::Impl::ChooseUser(const std::string& name) {
    layout = FindProfiles(files, windows);
    if (kind == MachineKind::WindowsDisk) {
        const auto version = system.Version();
        layout.modern = version.Ok() ? version->major >= 6 : layout.modern;
        layout = disk.LayoutOf(system, std::move(layout));
        users = disk.ListUsers(system);
    }
    if (users.empty()) {
        users = ListUsers(files, layout);
    }
    if (name.empty()) {
        if (users.size() > 1) {
            throw OpenError("the machine has several users, name one of them: " + Joined(users));
        }
        return;
    }
    const std::string wanted = LowerAscii(name);
    const auto chosen = std::find_if(users.begin(), users.end(), [&](const UserProfile& user) {
        return user.name == name || LowerAscii(user.name) == wanted;
    });
    if (chosen == users.end()) {
        throw OpenError("the machine has no user " + name +
                        (users.empty() ? std::string(" (none at all)") : "; it has: " + Joined(users)));
    }
    std::rotate(users.begin(), chosen, chosen + 1);
}

void MachineView::Impl::FillSystem() {
    if (windows.empty()) {
        return;
    }
    const auto machineText = [&](std::string_view name, std::string usual) {
        return ReadText(registry, platform::HiveLocalMachine, CurrentVersion, name).value_or(std::move(usual));
    };
    const std::string drive = windows.substr(0, 2);
    system.SetVariable("ComSpec", windows + "\\system32\\cmd.exe");
    system.SetVariable("Path", windows + "\\system32;" + windows + ";" + windows + "\\system32\\wbem");
    system.SetVariable("ProgramFiles", machineText("ProgramFilesDir", drive + "\\Program Files"));
    system.SetVariable("CommonProgramFiles", machineText("CommonFilesDir", drive + "\\Program Files\\Common Files"));
    system.SetVariable("ALLUSERSPROFILE", layout.allUsers);
    if (layout.modern) {
        system.SetVariable("PUBLIC", layout.profiles + "\\Public");
        system.SetVariable("ProgramData", layout.allUsers);
    }
    const std::string profile = Profile();
    if (!users.empty()) {
        system.SetVariable("USERNAME", users.front().name);
    }
    if (profile.empty()) {
        AddEnvironment(platform::HiveLocalMachine, MachineEnvironment);
        AddEnvironment(platform::HiveCurrentUser, UserEnvironment);
        return;
    }
    system.SetVariable("USERPROFILE", profile);
    system.SetVariable("HOMEDRIVE", profile.substr(0, 2));
    system.SetVariable("HOMEPATH", profile.substr(2));
    for (const auto& [name, identifier] : {std::pair{"APPDATA", 26}, std::pair{"LOCALAPPDATA", 28}}) {
        for (const ShellFolder& folder : ShellFolders) {
            if (folder.identifier == identifier) {
                system.SetVariable(name, Named(folder).value_or(Usual(folder)));
            }
        }
    }
    const std::string temp = profile + (layout.modern ? "\\AppData\\Local\\Temp" : "\\Local Settings\\Temp");
    system.SetVariable("TEMP", temp);
    system.SetVariable("TMP", temp);
    AddEnvironment(platform::HiveLocalMachine, MachineEnvironment);
    AddEnvironment(platform::HiveCurrentUser, UserEnvironment);
}

/// Sets the variables that a key names, plain ones first, so that the others can hold them. A user's Path comes behind
/// the machine's.
void MachineView::Impl::AddEnvironment(platform::Hive hive, std::string_view key) {
    auto open = registry.Open(hive, key, platform::AccessMaximumAllowed);
    if (!open) {
        return;
    }
    constexpr std::size_t LongestName = 1024;
    constexpr std::size_t LongestText = 65536;
    for (const platform::ValueType type : {platform::ValueType::Sz, platform::ValueType::ExpandSz}) {
        for (std::uint32_t index = 0;; ++index) {
            const auto variable = (*open)->EnumValue(index, LongestName, LongestText);
            if (!variable && variable.Error() != platform::SysError::MoreData) {
                break;
            }
            if (!variable || variable->value.type != type) {
                continue;
            }
            std::string text = variable->value.data;
            text.resize(std::min(text.find('\0'), text.size()));
            text = type == platform::ValueType::ExpandSz ? system.Expand(text) : text;
            const bool behind = hive == platform::HiveCurrentUser && LowerAscii(variable->name) == "path";
            system.SetVariable(variable->name, behind ? system.Environment("Path") + ";" + text : std::move(text));
        }
    }
}

// The registry's own word comes first: `User Shell Folders` is what the shell goes by.
std::optional<std::string> MachineView::Impl::Named(const ShellFolder& folder) {
    if (folder.value.empty()) {
        return std::nullopt;
    }
    const platform::Hive hive =
        folder.base == FolderBase::AllUsers ? platform::HiveLocalMachine : platform::HiveCurrentUser;
    for (const std::string_view key : ShellFolderKeys) {
        const auto text = ReadText(registry, hive, key, folder.value);
        if (text && !text->empty()) {
            return system.Expand(*text);
        }
    }
    return std::nullopt;
}

std::string MachineView::Impl::Usual(const ShellFolder& folder) const {
    std::string base;
    switch (folder.base) {
        case FolderBase::Profile:
            base = Profile();
            break;
        case FolderBase::AllUsers:
            base = layout.allUsers;
            break;
        case FolderBase::Windows:
            base = windows;
            break;
        case FolderBase::Drive:
            base = windows.substr(0, 2);
            break;
    }
    if (base.empty()) {
        return {};
    }
    std::string_view rest = layout.modern ? folder.sinceVista : folder.upToXp;
    if (rest.starts_with("..\\")) {
        base.resize(base.rfind('\\'));
        rest.remove_prefix(3);
    }
    return rest.empty() ? base : base + "\\" + std::string(rest);
}

MachineView::MachineView(const MachineOptions& options, platform::Files& files, const HostPathFunction& hostPath)
    : impl_(std::make_unique<Impl>(files, hostPath)) {
    impl_->kind = DetectKind(options.machine);
    if (options.writable) {
        if (!options.machine.empty()) {
            impl_->RefuseUnwritable({'C', options.machine});
        }
        for (const DriveMapping& drive : options.drives) {
            impl_->RefuseUnwritable(drive);
        }
    }
    if (impl_->kind == MachineKind::WinePrefix) {
        impl_->OpenWineRegistry(options);
    } else if (impl_->kind == MachineKind::WindowsDisk) {
        impl_->OpenDiskRegistry(options);
    }
    impl_->FindWindows();
    impl_->FindVersion();
    impl_->ChooseUser(options.user);
    if (impl_->kind == MachineKind::WindowsDisk && !impl_->users.empty()) {
        impl_->disk.OpenUser(impl_->users.front(), impl_->system);
    }
    if (impl_->registry.Empty()) {
        impl_->NoteWindows9x();
    }
    impl_->FillSystem();
    const std::vector<std::string>& notes = impl_->disk.Notes();
    impl_->notes.insert(impl_->notes.end(), notes.begin(), notes.end());
}

MachineView::~MachineView() = default;

MachineKind MachineView::Kind() const {
    return impl_->kind;
}

std::vector<std::string> MachineView::Users() const {
    std::vector<std::string> names;
    names.reserve(impl_->users.size());
    for (const UserProfile& user : impl_->users) {
        names.push_back(user.name);
    }
    return names;
}

const std::vector<std::string>& MachineView::Notes() const {
    return impl_->notes;
}

const std::string& MachineView::WindowsFolder() const {
    return impl_->windows;
}

platform::Registry& MachineView::Registry() {
    return impl_->registry;
}

bool MachineView::HasRegistry() const {
    return !impl_->registry.Empty();
}

platform::SystemInfo& MachineView::System() {
    return impl_->system;
}

std::string MachineView::CodePage() {
    return ReadText(impl_->registry, platform::HiveLocalMachine, CodePageKey, "ACP").value_or(std::string());
}

platform::Result<std::string> MachineView::SpecialFolder(int identifier) {
    for (const ShellFolder& folder : ShellFolders) {
        if (folder.identifier != identifier) {
            continue;
        }
        // Program Files has names of its own in the registry.
        std::string path = folder.identifier == 38   ? impl_->system.Environment("ProgramFiles")
                           : folder.identifier == 43 ? impl_->system.Environment("CommonProgramFiles")
                                                     : impl_->Named(folder).value_or(impl_->Usual(folder));
        while (path.size() > 3 && path.back() == '\\') {
            path.pop_back();
        }
        if (path.empty() || impl_->files.PathIsDirectory(path) == 0) {
            return platform::SysError::FileNotFound;
        }
        return path;
    }
    return platform::SysError::FileNotFound;
}

}  // namespace kel::offline
