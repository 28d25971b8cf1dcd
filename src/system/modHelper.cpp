#include "system/modHelper.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "core/Failures.h"
#include "core/Text.h"
#include "platform/Platform.h"

namespace kel::modHelper {

namespace {

constexpr std::string_view Module = "modHelper";

struct HiveName {
    std::string_view name;
    platform::Hive hive;
};
// In the order in which a path's beginning is compared with them.
constexpr std::array Hives{
    HiveName{"HKEY_LOCAL_MACHINE", platform::HiveLocalMachine},
    HiveName{"HKEY_CURRENT_USER", platform::HiveCurrentUser},
    HiveName{"HKEY_CLASSES_ROOT", platform::HiveClassesRoot},
    HiveName{"HKEY_USERS", platform::HiveUsers},
};

struct DataTypeName {
    std::string_view name;
    std::int32_t number;
};
// The catalogue's own numbers: the last two are the other way round on the platform.
constexpr std::array DataTypes{
    DataTypeName{"REG_SZ", 1},
    DataTypeName{"REG_SZ_EX", 2},
    DataTypeName{"REG_DWORD", 3},
    DataTypeName{"REG_BINARY", 4},
};

constexpr std::size_t LongestEmptyKey = 5;
constexpr std::size_t ShortestCommand = 5;
// Characters kept behind the last dot of a command line: an extension of four, or one of three and a blank.
constexpr std::size_t ExtensionLength = 4;

struct TimePart {
    std::int64_t seconds;
    std::string_view word;
};
constexpr std::array TimeParts{
    TimePart{86400, " days "},
    TimePart{3600, " hrs "},
    TimePart{60, " mins "},
};

// Runs a procedure that gives a text; what it gave before a failure stays.
template <class Body>
std::string TextOf(std::string_view procedure, Body&& body) {
    std::string result;
    Trap(Module, procedure, [&] { body(result); });
    return result;
}

// Seconds since the day 0. The fraction of a date is its time of day, also before that day.
std::int64_t Seconds(Date date) {
    const double day = std::trunc(date.days);
    return static_cast<std::int64_t>(day) * 86400 + std::llround(std::abs(date.days - day) * 86400.0);
}

std::string_view WithoutOneBackslashAtEachEnd(std::string_view text) {
    if (text.starts_with('\\')) {
        text.remove_prefix(1);
    }
    if (text.ends_with('\\')) {
        text.remove_suffix(1);
    }
    return text;
}

// The first argument of rundll32, without its entry point.
std::string RunDllArgument(const std::string& command) {
    std::string argument = command;
    if (const std::size_t blank = argument.find(' '); blank != std::string::npos) {
        argument.erase(0, blank + 1);
    }
    argument.resize(std::min(argument.size(), argument.find(',')));
    return argument;
}

}  // namespace

platform::Hive GetRegistryHiveFromFullPath(std::string_view path) {
    platform::Hive result = 0;
    Trap(Module, "GetRegistryHiveFromFullPath", [&] {
        for (const HiveName& entry : Hives) {
            if (UCase(Left(path, entry.name.size())) == entry.name) {
                result = entry.hive;
                return;
            }
        }
    });
    return result;
}

platform::Hive GetRegistryHiveFromHiveName(std::string_view name) {
    platform::Hive result = 0;
    Trap(Module, "GetRegistryHiveFromHiveName", [&] {
        const std::string upper = UCase(name);
        for (const HiveName& entry : Hives) {
            if (upper == entry.name) {
                result = entry.hive;
                return;
            }
        }
    });
    return result;
}

std::string GetRegistryKeyFromFullPath(std::string_view path) {
    return TextOf("GetRegistryKeyFromFullPath", [&](std::string& result) {
        std::string key(path);
        for (const HiveName& entry : Hives) {
            key = ReplaceText(key, entry.name, "");
        }
        if (key.size() > LongestEmptyKey) {
            result = WithoutOneBackslashAtEachEnd(key);
        }
    });
}

std::string GetRegistryHiveNameFromHive(platform::Hive hive) {
    for (const HiveName& entry : Hives) {
        if (entry.hive == hive) {
            return std::string(entry.name);
        }
    }
    return {};
}

std::int32_t GetRegistryDataTypeFromDataTypeName(std::string_view name) {
    std::int32_t result = 0;
    Trap(Module, "GetRegistryDataTypeFromDataTypeName", [&] {
        const std::string upper = UCase(name);
        for (const DataTypeName& entry : DataTypes) {
            if (upper == entry.name) {
                result = entry.number;
                return;
            }
        }
    });
    return result;
}

std::string GetFilePathFromPathWithCommand(std::string_view commandLine) {
    return TextOf("GetFilePathFromPathWithCommand", [&](std::string& result) {
        std::string path = LCase(Trim(commandLine));
        path = Replace(path, "\"", "");
        path = Replace(path, "'", "");
        if (path.size() < ShortestCommand || path.find('.') == std::string::npos) {
            return;
        }
        if (path.find("rundll32") != std::string::npos) {
            path = RunDllArgument(path);
        }
        // An argument of rundll32 may have no dot at all.
        const std::size_t dot = path.rfind('.');
        if (dot == std::string::npos) {
            return;
        }
        const std::size_t kept =
            platform::Current().text->Prefix(std::string_view(path).substr(dot + 1), ExtensionLength);
        result = Trim(Left(path, dot + 1 + kept));
    });
}

std::string GetTotalTimeDispaly(Date startDate, Date endDate) {
    return TextOf("GetTotalTimeDispaly", [&](std::string& result) {
        std::int64_t seconds = Seconds(endDate) - Seconds(startDate);
        for (const TimePart& part : TimeParts) {
            if (seconds > part.seconds) {
                result += Text(seconds / part.seconds);
                result += part.word;
                seconds %= part.seconds;
            }
        }
        if (seconds > 0) {
            result += Text(seconds) + " secs ";
        }
    });
}

std::string StringBeforeColon(std::string_view text) {
    const std::size_t colon = text.find(':');
    return colon == std::string_view::npos ? std::string() : std::string(text.substr(0, colon));
}

std::string StringAfterColon(std::string_view text) {
    const std::size_t colon = text.find(':');
    return colon == std::string_view::npos ? std::string() : std::string(text.substr(colon + 1));
}

std::string FolderFromFilePath(std::string_view path) {
    const std::size_t end = path.rfind('\\');
    return end == std::string_view::npos ? std::string() : std::string(path.substr(0, end + 1));
}

std::string FileNameFromFilePath(std::string_view path) {
    const std::size_t end = path.rfind('\\');
    return std::string(end == std::string_view::npos ? path : path.substr(end + 1));
}

std::string GuidFromText(std::string_view text) {
    return TextOf("GuidFromText", [&](std::string& result) {
        const std::size_t first = text.find('{');
        const std::size_t last = text.find('}');
        if (first == std::string_view::npos || last == std::string_view::npos) {
            return;
        }
        if (last < first) {
            Raise(ErrInvalidProcedureCall);
        }
        result = text.substr(first, last - first + 1);
    });
}

}  // namespace kel::modHelper
