// The special folders: where the registry names them, and where they usually are.
#pragma once

#include <array>
#include <string_view>

namespace kel::offline {

/// The keys that name a user's special folders. The first is what the shell goes by.
inline constexpr std::array<std::string_view, 2> ShellFolderKeys{
    "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders",
    "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders",
};

/// What the usual place of a special folder is below.
enum class FolderBase { Profile, AllUsers, Windows, Drive };

struct ShellFolder {
    int identifier;
    std::string_view value;  ///< in `Shell Folders` and `User Shell Folders`; empty: the registry does not name it
    FolderBase base;
    std::string_view upToXp;
    std::string_view sinceVista;
};

// `All Users` of XP is `ProgramData` since Vista, but for the desktop, documents and favorites, which lie in `Public`.
inline constexpr std::array ShellFolders{
    ShellFolder{2, "Programs", FolderBase::Profile, "Start Menu\\Programs",
                "AppData\\Roaming\\Microsoft\\Windows\\Start Menu\\Programs"},
    ShellFolder{5, "Personal", FolderBase::Profile, "My Documents", "Documents"},
    ShellFolder{6, "Favorites", FolderBase::Profile, "Favorites", "Favorites"},
    ShellFolder{7, "Startup", FolderBase::Profile, "Start Menu\\Programs\\Startup",
                "AppData\\Roaming\\Microsoft\\Windows\\Start Menu\\Programs\\StartUp"},
    ShellFolder{8, "Recent", FolderBase::Profile, "Recent", "AppData\\Roaming\\Microsoft\\Windows\\Recent"},
    ShellFolder{9, "SendTo", FolderBase::Profile, "SendTo", "AppData\\Roaming\\Microsoft\\Windows\\SendTo"},
    ShellFolder{11, "Start Menu", FolderBase::Profile, "Start Menu",
                "AppData\\Roaming\\Microsoft\\Windows\\Start Menu"},
    ShellFolder{16, "Desktop", FolderBase::Profile, "Desktop", "Desktop"},
    ShellFolder{21, "Templates", FolderBase::Profile, "Templates", "AppData\\Roaming\\Microsoft\\Windows\\Templates"},
    ShellFolder{22, "Common Start Menu", FolderBase::AllUsers, "Start Menu", "Microsoft\\Windows\\Start Menu"},
    ShellFolder{23, "Common Programs", FolderBase::AllUsers, "Start Menu\\Programs",
                "Microsoft\\Windows\\Start Menu\\Programs"},
    ShellFolder{24, "Common Startup", FolderBase::AllUsers, "Start Menu\\Programs\\Startup",
                "Microsoft\\Windows\\Start Menu\\Programs\\StartUp"},
    ShellFolder{25, "Common Desktop", FolderBase::AllUsers, "Desktop", "..\\Users\\Public\\Desktop"},
    ShellFolder{26, "AppData", FolderBase::Profile, "Application Data", "AppData\\Roaming"},
    ShellFolder{28, "Local AppData", FolderBase::Profile, "Local Settings\\Application Data", "AppData\\Local"},
    ShellFolder{31, "Common Favorites", FolderBase::AllUsers, "Favorites", "..\\Users\\Public\\Favorites"},
    ShellFolder{32, "Cache", FolderBase::Profile, "Local Settings\\Temporary Internet Files",
                "AppData\\Local\\Microsoft\\Windows\\INetCache"},
    ShellFolder{33, "Cookies", FolderBase::Profile, "Cookies", "AppData\\Local\\Microsoft\\Windows\\INetCookies"},
    ShellFolder{34, "History", FolderBase::Profile, "Local Settings\\History",
                "AppData\\Local\\Microsoft\\Windows\\History"},
    ShellFolder{35, "Common AppData", FolderBase::AllUsers, "Application Data", ""},
    ShellFolder{36, "", FolderBase::Windows, "", ""},
    ShellFolder{37, "", FolderBase::Windows, "system32", "system32"},
    ShellFolder{38, "", FolderBase::Drive, "Program Files", "Program Files"},
    ShellFolder{39, "My Pictures", FolderBase::Profile, "My Documents\\My Pictures", "Pictures"},
    ShellFolder{40, "", FolderBase::Profile, "", ""},
    ShellFolder{43, "", FolderBase::Drive, "Program Files\\Common Files", "Program Files\\Common Files"},
    ShellFolder{46, "Common Documents", FolderBase::AllUsers, "Documents", "..\\Users\\Public\\Documents"},
};

}  // namespace kel::offline
