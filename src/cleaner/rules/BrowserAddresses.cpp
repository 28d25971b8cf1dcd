#include "rules/BrowserAddresses.h"

#include <utility>

#include "core/EngineState.h"
#include "system/modHelper.h"

namespace kel::addresses {

namespace {

struct InstalledSettings {
    std::function<std::string(std::string_view)> view;
};

}  // namespace

std::string Expected(platform::Hive hive, std::string_view key, std::string_view name) {
    const auto view = ModuleData<InstalledSettings>().view;
    if (!view) {
        return {};
    }
    std::string setting = modHelper::GetRegistryHiveNameFromHive(hive);
    setting.append("\\").append(key);
    if (!name.empty()) {
        setting.append(" ").append(name);
    }
    return view(setting);
}

void AskSettings(std::function<std::string(std::string_view)> settings) {
    ModuleData<InstalledSettings>().view = std::move(settings);
}

}  // namespace kel::addresses
