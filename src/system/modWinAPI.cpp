#include "system/modWinAPI.h"

#include <array>
#include <optional>

#include "core/Failures.h"
#include "core/Text.h"
#include "platform/Platform.h"

namespace kel::modWinAPI {

namespace {

constexpr std::string_view VersionInfoSize = "148";
constexpr std::uint32_t AllProcessAccess = 0x1F0FFF;
constexpr std::uint32_t KilledExitCode = 0;

struct VersionWord {
    std::uint32_t major;
    std::optional<std::uint32_t> minor;       ///< nothing: any
    std::optional<std::uint32_t> platformId;  ///< nothing: any
    std::string_view word;
};
constexpr std::array VersionWords{
    VersionWord{3, std::nullopt, std::nullopt, "3x"},
    VersionWord{4, 0, 1, "95"},
    VersionWord{4, 0, 2, "NT"},
    VersionWord{4, 10, std::nullopt, "98"},
    VersionWord{4, 90, std::nullopt, "ME"},
    VersionWord{5, 0, std::nullopt, "NT"},
    VersionWord{5, 1, std::nullopt, "XP"},
};

std::string WordOf(const platform::OsVersion& version) {
    for (const VersionWord& row : VersionWords) {
        if (row.major == version.major && row.minor.value_or(version.minor) == version.minor &&
            row.platformId.value_or(version.platformId) == version.platformId) {
            return std::string(row.word);
        }
    }
    return {};
}

struct VersionField {
    std::string_view name;
    std::uint32_t platform::OsVersion::*member;
};
constexpr std::array VersionFields{
    VersionField{"dwMajorVersion", &platform::OsVersion::major},
    VersionField{"dwMinorVersion", &platform::OsVersion::minor},
    VersionField{"dwBuildNumber", &platform::OsVersion::build},
    VersionField{"dwPlatformId", &platform::OsVersion::platformId},
};

std::string Answer(std::string_view field) {
    const platform::OsVersion version = platform::Current().system->Version().ValueOr({});
    if (field == "dwOSVersionInfoSize") {
        return std::string(VersionInfoSize);
    }
    if (field == "szCSDVersion") {
        return Replace(version.servicePack, std::string_view("\0", 1), "");
    }
    for (const VersionField& entry : VersionFields) {
        if (field == entry.name) {
            return Text(version.*entry.member);
        }
    }
    return WordOf(version);
}

}  // namespace

std::string GetOSVersionName(std::string_view field) {
    std::string result;
    Trap("modWinAPI", "GetOSVersionName", [&] { result = Answer(field); });
    return result;
}

bool IsProcessRunning(std::string_view name, bool kill) {
    if (GetOSVersionName() == "NT") {
        return false;
    }
    const auto processes = platform::Current().processes->Snapshot();
    if (!processes) {
        return false;
    }
    for (const platform::ProcessEntry& process : *processes) {
        if (!ContainsText(Trim(process.exeFile), name)) {
            continue;
        }
        if (kill) {
            // Its exit code is asked for as well, and plays no part.
            if (const auto opened = platform::Current().processes->Open(process.id, AllProcessAccess); opened) {
                (void)(*opened)->ExitCode();
                (void)(*opened)->End(KilledExitCode);
            }
        }
        return true;
    }
    return false;
}

}  // namespace kel::modWinAPI
