#include "offline/OfflineVersion.h"

#include <array>
#include <charconv>
#include <string>
#include <string_view>

#include "offline/RegistryText.h"

namespace kel::offline {

using platform::OsVersion;

namespace {

constexpr std::string_view CurrentVersionKey = "Software\\Microsoft\\Windows NT\\CurrentVersion";

struct NamedVersion {
    std::string_view name;
    std::uint32_t major;
    std::uint32_t minor;
    std::uint32_t build;
    std::uint32_t platformId;
    std::string_view servicePack;
};

// The names of the value Software\Wine, Version.
constexpr std::array WineVersions{
    NamedVersion{"win95", 4, 0, 950, 1, ""},
    NamedVersion{"win98", 4, 10, 2222, 1, " A "},
    NamedVersion{"winme", 4, 90, 3000, 1, " "},
    NamedVersion{"nt351", 3, 51, 1057, 2, "Service Pack 5"},
    NamedVersion{"nt40", 4, 0, 1381, 2, "Service Pack 6a"},
    NamedVersion{"win2k", 5, 0, 2195, 2, "Service Pack 4"},
    NamedVersion{"winxp", 5, 1, 2600, 2, "Service Pack 3"},
    NamedVersion{"winxp64", 5, 2, 3790, 2, "Service Pack 2"},
    NamedVersion{"win2003", 5, 2, 3790, 2, "Service Pack 2"},
    NamedVersion{"vista", 6, 0, 6002, 2, "Service Pack 2"},
    NamedVersion{"win2008", 6, 0, 6002, 2, "Service Pack 2"},
    NamedVersion{"win7", 6, 1, 7601, 2, "Service Pack 1"},
    NamedVersion{"win2008r2", 6, 1, 7601, 2, "Service Pack 1"},
    NamedVersion{"win8", 6, 2, 9200, 2, ""},
    NamedVersion{"win81", 6, 3, 9600, 2, ""},
    NamedVersion{"win10", 10, 0, 19043, 2, ""},
    NamedVersion{"win11", 10, 0, 22000, 2, ""},
};

struct FolderSign {
    std::string_view folder;
    NamedVersion version;
};

// What only that version has, or those before it in the list have not; the first that is there decides.
constexpr std::array FolderSigns{
    FolderSign{"C:\\WINNT\\system32", {"2000", 5, 0, 2195, 2, ""}},
    FolderSign{"C:\\Users\\Public", {"7", 6, 1, 7601, 2, ""}},
    FolderSign{"C:\\WINDOWS\\system32\\config", {"XP", 5, 1, 2600, 2, ""}},
    FolderSign{"C:\\Documents and Settings", {"XP", 5, 1, 2600, 2, ""}},
    FolderSign{"C:\\WINDOWS\\COMMAND", {"98", 4, 10, 2222, 1, ""}},
    FolderSign{"C:\\WINDOWS\\system32", {"XP", 5, 1, 2600, 2, ""}},
};

OsVersion AsVersion(const NamedVersion& version) {
    return {version.major, version.minor, version.build, version.platformId, std::string(version.servicePack)};
}

std::uint32_t ToNumber(std::string_view text) {
    std::uint32_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

}  // namespace

std::optional<OsVersion> VersionFromRegistry(platform::Registry& registry) {
    const auto text = [&](std::string_view name) {
        return ReadText(registry, platform::HiveLocalMachine, CurrentVersionKey, name);
    };
    OsVersion version;
    version.platformId = 2;
    const auto major = ReadNumber(registry, platform::HiveLocalMachine, CurrentVersionKey, "CurrentMajorVersionNumber");
    if (major) {
        version.major = *major;
        version.minor = ReadNumber(registry, platform::HiveLocalMachine, CurrentVersionKey, "CurrentMinorVersionNumber")
                            .value_or(0);
    } else {
        const auto numbers = text("CurrentVersion");
        const std::size_t dot = numbers ? numbers->find('.') : std::string::npos;
        if (dot == std::string::npos) {
            return std::nullopt;
        }
        version.major = ToNumber(numbers->substr(0, dot));
        version.minor = ToNumber(numbers->substr(dot + 1));
    }
    const auto build = text("CurrentBuildNumber");
    version.build = ToNumber(build ? *build : text("CurrentBuild").value_or(""));
    version.servicePack = text("CSDVersion").value_or("");
    return version;
}

std::optional<OsVersion> VersionOfWinePrefix(platform::Registry& registry) {
    const auto chosen = ReadText(registry, platform::HiveCurrentUser, "Software\\Wine", "Version");
    if (chosen) {
        const std::string name = LowerAscii(*chosen);
        for (const NamedVersion& version : WineVersions) {
            if (version.name == name) {
                return AsVersion(version);
            }
        }
    }
    return VersionFromRegistry(registry);
}

std::optional<OsVersion> VersionFromFolders(platform::Files& files) {
    for (const FolderSign& sign : FolderSigns) {
        if (files.PathIsDirectory(sign.folder) != 0) {
            return AsVersion(sign.version);
        }
    }
    return std::nullopt;
}

}  // namespace kel::offline
