// Services that run a file.
#include <cstdint>
#include <string>

#include "cleaner/Unhooking.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "core/Value.h"
#include "system/modFolderPaths.h"
#include "system/modHelper.h"
#include "system/modRegistry.h"
#include "system/modServices.h"

namespace kel::modCleanerHelper {

namespace {

using platform::HiveLocalMachine;

constexpr std::string_view Module = "modCleanerHelper";
constexpr std::string_view Services = R"(SYSTEM\CurrentControlSet\Services)";
constexpr std::int32_t Disabled = 4;

// One control set is not among them.
constexpr std::string_view ServiceKeys[] = {
    R"(SYSTEM\CurrentControlSet\Services\)",     R"(System\ControlSet001\Services\)",
    R"(System\ControlSet003\Services\)",         R"(SYSTEM\CurrentControlSet\Enum\Root\LEGACY_)",
    R"(SYSTEM\ControlSet001\Enum\Root\LEGACY_)", R"(SYSTEM\ControlSet003\Enum\Root\LEGACY_)",
};

std::string KeyOf(std::string_view name) {
    return std::string(Services).append("\\").append(name);
}

std::string ProgramOf(std::string_view name) {
    const std::string image = ToText(modRegistry::GetRegistryValue(HiveLocalMachine, KeyOf(name), "ImagePath"));
    const std::string path =
        modFolderPaths::TranslateEnvironmentVariablesPaths(modHelper::GetFilePathFromPathWithCommand(image));
    return LCase(ToText(modFolderPaths::ResolveFilePathEx(Trim(path))));
}

}  // namespace

std::string IsFileRunningAsService(std::string_view path) {
    std::string result;
    Trap(Module, "IsFileRunningAsService", [&] {
        const std::string wanted = LCase(path);
        const auto names = modRegistry::RegistrySubKeys(HiveLocalMachine, Services);
        // A program that is not there resolves to nothing, and would equal it.
        if (wanted.empty() || !names) {
            return;
        }
        for (const std::string& name : *names) {
            if (ProgramOf(name) == wanted) {
                result = name;
                return;
            }
        }
    });
    return result;
}

std::int32_t KillService(std::string_view name) {
    Trap(Module, "KillService", [&] {
        if (name.empty()) {
            return;
        }
        modServices::ServiceStop("", name);
        if (const std::string key = KeyOf(name); modRegistry::RegKeyExists(HiveLocalMachine, key)) {
            modRegistry::SetRegistryValue(HiveLocalMachine, key, "Start", Disabled, modRegistry::TypeDword);
        }
    });
    return 0;
}

std::int32_t RemoveService(std::string_view name) {
    Trap(Module, "RemoveService", [&] {
        if (name.empty()) {
            return;
        }
        for (const std::string_view prefix : ServiceKeys) {
            modRegistry::DeleteRegistryKeyTree(HiveLocalMachine, std::string(prefix).append(name));
        }
    });
    return 0;
}

}  // namespace kel::modCleanerHelper
