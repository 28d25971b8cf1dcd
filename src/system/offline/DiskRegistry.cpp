#include "offline/DiskRegistry.h"

#include <algorithm>
#include <array>

#include "offline/OfflinePlatform.h"
#include "offline/RegistryText.h"
#include "offline/ShellFolderTable.h"
#include "offline/Wtf8.h"

namespace kel::offline {

namespace {

struct MachineHive {
    std::string_view file;
    std::u16string_view root;
    std::u16string_view name;
    bool needed;
};

constexpr std::array MachineHives{
    MachineHive{"system", u"MACHINE", u"SYSTEM", true},  MachineHive{"software", u"MACHINE", u"SOFTWARE", true},
    MachineHive{"sam", u"MACHINE", u"SAM", false},       MachineHive{"security", u"MACHINE", u"SECURITY", false},
    MachineHive{"default", u"USER", u".DEFAULT", false},
};

// The system's own account has the hive of the logon screen.
constexpr std::u16string_view SystemSid = u"S-1-5-18";

constexpr std::string_view ProfileList = "Software\\Microsoft\\Windows NT\\CurrentVersion\\ProfileList";

// Accounts of people, of a computer or its domain and of a cloud; those of the system and of its services are shorter.
constexpr std::array<std::string_view, 2> PeoplePrefixes{"S-1-5-21-", "S-1-12-1-"};

// The hive of a user's classes lies in the folder for local data, which has another name in each language.
constexpr std::string_view ClassesHive = "\\Microsoft\\Windows\\UsrClass.dat";
constexpr std::array<std::string_view, 2> LocalDataFolders{"\\AppData\\Local", "\\Local Settings\\Application Data"};

std::u16string ControlSet(std::uint32_t number) {
    const std::string text = "ControlSet" +
                             std::string(number < 10    ? "00"
                                         : number < 100 ? "0"
                                                        : "") +
                             std::to_string(number);
    return {text.begin(), text.end()};
}

std::string LastName(const std::string& path) {
    return path.substr(path.rfind('\\') + 1);
}

}  // namespace

void DiskRegistry::Note(const HiveFile& hive) {
    const std::string path = hive.Path().string();
    for (const std::string& note : hive.Replay().notes) {
        notes_.push_back(note);
    }
    if (hive.Replay().dirty && !hive.Replay().replayed) {
        notes_.push_back(path + ": was not written to its end, and no log that belongs to it is there");
    }
    if (hive.Damage().Count() != 0) {
        notes_.push_back(path + ": is damaged; hivedump tells what can't be read");
    }
}

/// Mounts the hive at a path of the machine; null when it is not there, or may be left out and can't be read.
RegistryTree* DiskRegistry::Add(const KeyPath& point, const std::string& path, bool needed) {
    const auto host = hostPath_(path);
    if (!host) {
        return nullptr;
    }
    try {
        std::error_code error;
        if (std::filesystem::canonical(*host, error) != *host) {
            throw OpenError(host->string() + " is a link, which is not followed: it may lead out of the disk");
        }
        auto hive = HiveFile::Open(*host);
        Note(*hive);
        return &registry_.Add(point, std::move(hive));
    } catch (const OpenError& error) {
        if (needed) {
            throw;
        }
        notes_.push_back(std::string(error.what()) + "; it is left out");
        return nullptr;
    }
}

void DiskRegistry::OpenMachine(const std::string& config) {
    for (const MachineHive& row : MachineHives) {
        const KeyPath point{std::u16string(row.root), std::u16string(row.name)};
        RegistryTree* tree = Add(point, config + "\\" + std::string(row.file), row.needed);
        if (tree != nullptr && row.name == u"SYSTEM") {
            const auto current = ReadNumber(registry_, platform::HiveLocalMachine, "SYSTEM\\Select", "Current");
            registry_.Mount({u"MACHINE", u"SYSTEM", u"CurrentControlSet"}, *tree, {ControlSet(current.value_or(1))});
        }
        if (tree != nullptr && row.name == u".DEFAULT") {
            registry_.Mount({u"USER", std::u16string(SystemSid)}, *tree, {});
        }
    }
}

ProfileLayout DiskRegistry::LayoutOf(const OfflineSystem& system, ProfileLayout usual) const {
    const auto text = [&](std::string_view name) {
        return system.Expand(
            ReadText(registry_, platform::HiveLocalMachine, std::string(ProfileList), name).value_or(std::string()));
    };
    ProfileLayout layout = std::move(usual);
    const std::string profiles = text("ProfilesDirectory");
    const std::string allUsers = text("AllUsersProfile");
    const std::string programData = text("ProgramData");
    if (!profiles.empty()) {
        layout.profiles = profiles;
    }
    if (!programData.empty()) {
        layout.allUsers = programData;
    } else if (!allUsers.empty()) {
        // Up to XP a name among the profiles.
        layout.allUsers = allUsers.find('\\') == std::string::npos ? layout.profiles + "\\" + allUsers : allUsers;
    }
    return layout;
}

std::vector<UserProfile> DiskRegistry::ListUsers(const OfflineSystem& system) const {
    std::vector<UserProfile> users;
    auto list = registry_.Open(platform::HiveLocalMachine, ProfileList, platform::AccessMaximumAllowed);
    if (!list) {
        return users;
    }
    constexpr std::size_t LongestSid = 256;
    for (std::uint32_t index = 0;; ++index) {
        const auto sid = (*list)->EnumKey(index, LongestSid);
        if (!sid) {
            break;
        }
        const auto image =
            ReadText(registry_, platform::HiveLocalMachine, std::string(ProfileList) + "\\" + *sid, "ProfileImagePath");
        const bool person = std::any_of(PeoplePrefixes.begin(), PeoplePrefixes.end(),
                                        [&](std::string_view prefix) { return sid->starts_with(prefix); });
        if (!image || !person) {
            continue;
        }
        UserProfile user;
        user.sid = FromWtf8(*sid);
        user.folder = system.Expand(*image);
        user.name = LastName(user.folder);
        // Windows NT 3 has no profile folder: the path is that of the hive.
        const bool folder = files_.PathIsDirectory(user.folder) != 0;
        user.hive = folder ? user.folder + "\\NTUSER.DAT" : user.folder;
        if (hostPath_(user.hive)) {
            user.folder = folder ? user.folder : std::string();
            users.push_back(std::move(user));
        }
    }
    std::sort(users.begin(), users.end(),
              [](const UserProfile& left, const UserProfile& right) { return left.name < right.name; });
    return users;
}

void DiskRegistry::OpenUser(const UserProfile& user, const OfflineSystem& system) {
    if (Add({u"USER", user.sid}, user.hive, true) == nullptr) {
        return;
    }
    registry_.SetCurrentUser(user.sid);
    for (const std::string& path : ClassesHivesOf(user, system)) {
        RegistryTree* classes = Add({u"USER", user.sid + u"_Classes"}, path, false);
        if (classes != nullptr) {
            registry_.Mount({u"USER", user.sid, u"Software", u"Classes"}, *classes, {});
            return;
        }
    }
}

std::vector<std::string> DiskRegistry::ClassesHivesOf(const UserProfile& user, const OfflineSystem& system) const {
    std::vector<std::string> paths;
    if (user.folder.empty()) {
        return paths;
    }
    const auto add = [&](const std::string& folder) {
        std::string path = folder + std::string(ClassesHive);
        if (std::find(paths.begin(), paths.end(), path) == paths.end()) {
            paths.push_back(std::move(path));
        }
    };
    OfflineSystem ofUser = system;
    ofUser.SetVariable("USERPROFILE", user.folder);
    for (const std::string_view key : ShellFolderKeys) {
        const auto local = ReadText(registry_, platform::HiveCurrentUser, key, "Local AppData");
        if (local && !local->empty()) {
            add(ofUser.Expand(*local));
        }
    }
    for (const std::string_view folder : LocalDataFolders) {
        add(user.folder + std::string(folder));
    }
    return paths;
}

}  // namespace kel::offline
