#include "offline/UserProfiles.h"

#include <algorithm>
#include <array>

#include "offline/RegistryText.h"

namespace kel::offline {

namespace {

struct LayoutRow {
    std::string_view profiles;
    std::string_view allUsers;
    bool modern;
};

// The first that is there decides. Vista and later keep a link named like the folder of XP.
constexpr std::array Layouts{
    LayoutRow{"C:\\Users", "C:\\ProgramData", true},
    LayoutRow{"C:\\Documents and Settings", "C:\\Documents and Settings\\All Users", false},
};

constexpr std::array<std::string_view, 8> NoPersons{
    "all users",    "default",        "default user",      "public",
    "localservice", "networkservice", "all users.windows", "defaultuser0"};

}  // namespace

ProfileLayout FindProfiles(platform::Files& files, const std::string& windows) {
    for (const LayoutRow& row : Layouts) {
        if (files.PathIsDirectory(row.profiles) != 0) {
            return {std::string(row.profiles), std::string(row.allUsers), row.modern};
        }
    }
    const std::string profiles = windows + "\\Profiles";
    if (!windows.empty() && files.PathIsDirectory(profiles) != 0) {
        return {profiles, profiles + "\\All Users", false};
    }
    return {};
}

std::vector<UserProfile> ListUsers(platform::Files& files, const ProfileLayout& layout) {
    std::vector<UserProfile> users;
    if (layout.profiles.empty()) {
        return users;
    }
    platform::FindData entry;
    auto find = files.FindFirst(layout.profiles + "\\*", entry);
    if (!find) {
        return users;
    }
    do {
        const bool folder = (entry.attributes & platform::AttributeDirectory) != 0 &&
                            (entry.attributes & platform::AttributeReparsePoint) == 0;
        const bool person = std::find(NoPersons.begin(), NoPersons.end(), LowerAscii(entry.name)) == NoPersons.end();
        if (folder && person && entry.name != "." && entry.name != "..") {
            users.push_back({entry.name, layout.profiles + "\\" + entry.name, {}, {}});
        }
    } while ((*find)->Next(entry) == platform::SysError::Success);
    return users;
}

}  // namespace kel::offline
