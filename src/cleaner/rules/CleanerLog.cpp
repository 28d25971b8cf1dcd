// What the cleaner did, for support.
#include <string>

#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Platform.h"
#include "rules/modCleanerHelper.h"
#include "system/modFiles.h"

namespace kel::modCleanerHelper {

namespace {

struct Log {
    bool enabled = false;
};

}  // namespace

bool& EnableLog() {
    return ModuleData<Log>().enabled;
}

void CleanerLog(std::string_view text) {
    Trap("modCleanerHelper", "CleanerLog", [&] {
        if (!EnableLog()) {
            return;
        }
        const std::string folder = WithBackslash(State().UserDataFolder) + "logs";
        if (!modFiles::FolderExists(folder)) {
            modFiles::CreateFolder(folder);
        }
        std::string line = DateText(platform::Current().clock->Now());
        AppendLineToFile(line.append("::").append(text), folder + "\\cleaner.log");
    });
}

}  // namespace kel::modCleanerHelper
