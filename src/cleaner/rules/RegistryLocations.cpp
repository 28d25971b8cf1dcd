// From a place in the registry to the file or the class behind it.
#include <optional>
#include <string>

#include "core/Failures.h"
#include "core/Text.h"
#include "platform/Registry.h"
#include "rules/modCleanerHelper.h"
#include "system/modFiles.h"
#include "system/modFolderPaths.h"
#include "system/modHelper.h"
#include "system/modRegistry.h"

namespace kel::modCleanerHelper {

namespace {

constexpr std::string_view Module = "modCleanerHelper";

// Parts of keys are compared in lower case.
constexpr std::string_view DistributionUnits = "software\\microsoft\\code store database\\distribution units";
constexpr std::string_view TypeLibraries = "typelib\\{";
constexpr std::string_view Interfaces = "interface\\";
constexpr std::string_view SharedLibraries = "software\\microsoft\\windows\\currentversion\\shareddlls";
constexpr std::string_view ModulesInUse = "software\\microsoft\\windows\\currentversion\\moduleusage\\";
constexpr std::string_view AppIDs = "appid\\";
constexpr std::string_view MachineClasses = "software\\classes";
constexpr std::string_view RunEntries[] = {"currentversion\\run", "\\currentversion\\runservices"};
constexpr std::string_view ClassInKey[] = {"interface\\", "code store database\\distribution units\\"};

// Places that name a class, by the key or by the name of one of its values.
struct ClassPlace {
    std::string_view part;
    bool byValueName;
};

constexpr ClassPlace ClassPlaces[] = {
    {"explorer\\browser helper objects", false},
    {"explorer\\shellexecutehooks", true},
    {"internet explorer\\explorer bars", false},
    {"internet explorer\\toolbar", true},
    {"internet explorer\\extensions", false},
    {"internet explorer\\toolbar\\shellbrowser", true},
    {"internet explorer\\toolbar\\webbrowser", true},
    {"internet explorer\\urlsearchhooks", true},
    {"clsid\\", false},
    {"typelib\\", false},
};

// A class in braces is longer; what is shorter is none.
constexpr std::size_t ShortestClass = 21;

struct Location {
    platform::Hive hive;
    std::string_view key;
    std::string_view name;
    std::string lower;  ///< the key in lower case

    [[nodiscard]] bool Has(std::string_view part) const { return lower.find(part) != std::string::npos; }
};

std::string TextOf(platform::Hive hive, const std::string& key, std::string_view name) {
    return ToText(modRegistry::GetRegistryValue(hive, key, name));
}

std::string IfThere(std::string path) {
    if (!modFiles::FileExists(path)) {
        path.clear();
    }
    return path;
}

std::string Lengthened(std::string_view path) {
    return path.find('~') == std::string_view::npos ? std::string(path) : modFiles::LongPathFromShortPath(path);
}

// The default value of a key below the classes of the hive; only two hives have classes in a place of their own.
std::string ClassesText(platform::Hive hive, const std::string& key) {
    switch (hive) {
        case platform::HiveClassesRoot:
            return TextOf(hive, key, "");
        case platform::HiveLocalMachine:
            return TextOf(hive, "SOFTWARE\\Classes\\" + key, "");
        default:
            return {};
    }
}

std::string TypeLibraryFile(platform::Hive hive, const std::string& guid) {
    return IfThere(ClassesText(hive, "TypeLib\\" + guid + "\\1.0\\0\\win32"));
}

// The kinds of places. Each answers nothing for a place that is not of its kind, and else the file, or empty.

std::optional<std::string> DownloadedComponent(const Location& place) {
    if (!place.key.ends_with('}') || !place.Has(DistributionUnits)) {
        return std::nullopt;
    }
    const std::string unit =
        "SOFTWARE\\Microsoft\\Code Store Database\\Distribution Units\\" + modHelper::GuidFromText(place.key);
    for (const std::string& entry : modRegistry::RegistryValueNames(place.hive, unit + "\\Contains\\Files")) {
        std::string file = modFiles::StringBeforeNul(entry);
        if (modFiles::FileExists(file)) {
            return file;
        }
    }
    return TextOf(place.hive, unit + "\\DownloadInformation", "INF");
}

std::optional<std::string> TypeLibrary(const Location& place) {
    if (!place.Has(TypeLibraries)) {
        return std::nullopt;
    }
    return TypeLibraryFile(place.hive, modHelper::GuidFromText(place.key));
}

std::optional<std::string> Interface(const Location& place) {
    if (!place.Has(Interfaces)) {
        return std::nullopt;
    }
    const std::string guid = modHelper::GuidFromText(place.key);
    if (guid.size() < ShortestClass) {
        return std::string();
    }
    const std::string library = ClassesText(place.hive, "Interface\\" + guid + "\\TypeLib");
    return library.size() < ShortestClass ? std::string() : TypeLibraryFile(place.hive, library);
}

std::optional<std::string> SharedLibrary(const Location& place) {
    if (place.name.empty() || !place.Has(SharedLibraries)) {
        return std::nullopt;
    }
    return Lengthened(place.name);
}

std::optional<std::string> ModuleInUse(const Location& place) {
    const std::size_t at = InStrText(place.key, ModulesInUse);
    if (at == 0) {
        return std::nullopt;
    }
    return Lengthened(Mid(place.key, at + ModulesInUse.size()));
}

std::optional<std::string> RegisteredClass(const Location& place) {
    const std::string clsid = GetCLSIDfromRegistryLocations(place.hive, place.key, place.name, {});
    if (clsid.empty()) {
        return std::nullopt;
    }
    return modRegistry::GetFilePathFromCLSID(clsid);
}

std::optional<std::string> RunEntry(const Location& place) {
    for (const std::string_view part : RunEntries) {
        if (place.Has(part)) {
            const std::string command = TextOf(place.hive, std::string(place.key), place.name);
            const std::string path =
                modFolderPaths::TranslateEnvironmentVariablesPaths(modHelper::GetFilePathFromPathWithCommand(command));
            return IfThere(ToText(modFolderPaths::ResolveFilePathEx(Trim(path))));
        }
    }
    return std::nullopt;
}

constexpr std::optional<std::string> (*Places[])(const Location&) = {
    DownloadedComponent, TypeLibrary, Interface, SharedLibrary, ModuleInUse, RegisteredClass, RunEntry,
};

std::string NamedClass(const Location& place) {
    for (const ClassPlace& entry : ClassPlaces) {
        if (place.Has(entry.part)) {
            return modHelper::GuidFromText(entry.byValueName ? place.name : place.key);
        }
    }
    return {};
}

// The class of a ProgID.
std::string ProgramClass(const Location& place) {
    const bool classes = place.hive == platform::HiveClassesRoot ||
                         (place.hive == platform::HiveLocalMachine && place.Has(MachineClasses));
    if (!classes || place.key.find('.') == std::string_view::npos || place.key.find('{') != std::string_view::npos) {
        return {};
    }
    return TextOf(place.hive, std::string(place.key) + "\\CLSID", "");
}

std::string ApplicationClass(const Location& place) {
    if (!place.Has(AppIDs)) {
        return {};
    }
    const std::string id = TextOf(place.hive, std::string(place.key), "AppID");
    return id.size() < ShortestClass ? std::string() : modHelper::GuidFromText(id);
}

std::string KeyClass(const Location& place) {
    for (const std::string_view part : ClassInKey) {
        if (place.Has(part)) {
            return modHelper::GuidFromText(place.key);
        }
    }
    return {};
}

constexpr std::string (*Classes[])(const Location&) = {NamedClass, ProgramClass, ApplicationClass, KeyClass};

}  // namespace

std::string GetFilePathfromRegistryLocations(platform::Hive hive, std::string_view key, std::string_view name,
                                             std::string_view /*data*/) {
    std::string result;
    Trap(Module, "GetFilePathfromRegistryLocations", [&] {
        if (key.empty()) {
            return;
        }
        const Location place{hive, key, name, LCase(key)};
        for (const auto file : Places) {
            if (std::optional<std::string> path = file(place)) {
                result = *std::move(path);
                return;
            }
        }
    });
    return result;
}

std::string GetCLSIDfromRegistryLocations(platform::Hive hive, std::string_view key, std::string_view name,
                                          std::string_view /*data*/) {
    std::string result;
    Trap(Module, "GetCLSIDfromRegistryLocations", [&] {
        const Location place{hive, key, name, LCase(key)};
        for (const auto clsid : Classes) {
            result = clsid(place);
            if (!result.empty()) {
                return;
            }
        }
    });
    return result;
}

}  // namespace kel::modCleanerHelper
