#include "companions/WorkLog.h"

#include "cleaner/BootLists.h"
#include "companions/Names.h"
#include "core/Failures.h"
#include "core/Paths.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Platform.h"
#include "system/modCommon.h"
#include "system/modRegistry.h"

namespace kel::companions {

std::string UserDataFolder() {
    const std::string chosen =
        ToText(modRegistry::GetRegistryValue(platform::HiveCurrentUser, boot::Product, boot::UserDataValue));
    if (!Trim(chosen).empty()) {
        return WithBackslash(Trim(chosen));
    }
    const std::string root = modCommon::PathLocalAppData();
    return root.empty() ? root : root + std::string(ProductFolder);
}

std::string LogFolder(std::string_view programPath) {
    std::string folder = UserDataFolder();
    return folder.empty() ? std::string(programPath.substr(0, programPath.rfind('\\') + 1)) : folder;
}

WorkLog::WorkLog(std::string program, std::string folder, std::FILE* failures)
    : program_(std::move(program)), folder_(std::move(folder)), failures_(failures) {
}

void WorkLog::Say(std::string_view text) {
    ResumeNext([&] {
        const std::string logs = folder_ + "logs";
        if (!paths::FolderExists(logs)) {
            paths::CreateFolderPath(logs);
        }
        std::string line = DateText(platform::Current().clock->Now());
        AppendLineToFile(line.append("::").append(text), logs + "\\" + program_ + ".log");
    });
}

void WorkLog::Fail(std::string_view text) {
    hasFailures_ = true;
    Say("Failed: " + std::string(text));
    if (failures_ != nullptr) {
        std::fprintf(failures_, "%s: %.*s\n", program_.c_str(), static_cast<int>(text.size()), text.data());
        std::fflush(failures_);
    }
}

}  // namespace kel::companions
