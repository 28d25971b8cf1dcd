// The users of a machine, by their profile folders.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/Files.h"

namespace kel::offline {

/// A user and the folder of the profile, without a trailing backslash.
struct UserProfile {
    std::string name;
    std::string folder;
    std::u16string sid;  ///< where the registry tells it
    std::string hive;    ///< path of the user's hive on a Windows disk; empty where there is none
};

/// Where profiles lie.
struct ProfileLayout {
    std::string profiles;  ///< `C:\Users`, `C:\Documents and Settings`; empty where there are none
    std::string allUsers;  ///< the profile that is everybody's
    bool modern = false;   ///< folders as since Windows Vista (`AppData\Roaming`), not as up to XP (`Application Data`)
};

/// @param windows the Windows folder without a trailing backslash; its `Profiles` is looked at too
[[nodiscard]] ProfileLayout FindProfiles(platform::Files& files, const std::string& windows);

/// Users with a profile folder, by name; the folders that are no person's are left out.
[[nodiscard]] std::vector<UserProfile> ListUsers(platform::Files& files, const ProfileLayout& layout);

}  // namespace kel::offline
