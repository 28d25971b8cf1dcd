// Component servers: whether a file is one, and its registration.
#include <cstddef>
#include <cstdint>
#include <string>

#include "core/Failures.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Platform.h"
#include "rules/modCleanerHelper.h"
#include "system/modHelper.h"
#include "system/modRegistry.h"

namespace kel::modCleanerHelper {

namespace {

constexpr std::string_view Module = "modCleanerHelper";
constexpr std::size_t ShortestPath = 3;
// A class in braces is longer; other subkeys are none.
constexpr std::size_t ShortestClass = 21;
constexpr std::int32_t IsProgram = 1;

using Registration = platform::Result<std::int32_t> (platform::Components::*)(std::string_view);

std::int32_t Call(Registration registration, std::string_view path) {
    const auto answer = (platform::Current().components->*registration)(path);
    return answer ? *answer : static_cast<std::int32_t>(platform::Number(answer.Error()));
}

std::int32_t RegisterSvrEx(std::string_view path) {
    return Call(&platform::Components::Register, path);
}

std::int32_t UnRegisterSvrEx(std::string_view path) {
    return Call(&platform::Components::Unregister, path);
}

std::int32_t Guarded(std::string_view path, std::int32_t (*server)(std::string_view)) {
    if (path.size() < ShortestPath) {
        return 0;
    }
    return EqualText(Right(path, 4), ".exe") ? IsProgram : server(path);
}

}  // namespace

bool IsCOMRegistered(std::string_view path) {
    bool result = false;
    Trap(Module, "IsCOMRegistered", [&] {
        if (path.size() < ShortestPath) {
            return;
        }
        const std::string lower = LCase(path);
        // The name comes first: most classes then need no look at the disk.
        for (const std::string& clsid :
             modRegistry::ClassesServedFrom(modHelper::FileNameFromFilePath(lower), modRegistry::Marks::Names)) {
            if (clsid.size() >= ShortestClass && EqualText(modRegistry::GetFilePathFromCLSID(clsid), lower)) {
                result = true;
                return;
            }
        }
    });
    return result;
}

std::int32_t RegisterCOM(std::string_view path) {
    std::int32_t result = 0;
    Trap(Module, "RegisterCOM", [&] { result = Guarded(path, RegisterSvrEx); });
    return result;
}

std::int32_t UnRegisterCOM(std::string_view path) {
    std::int32_t result = 0;
    Trap(Module, "UnRegisterCOM", [&] { result = Guarded(path, UnRegisterSvrEx); });
    return result;
}

}  // namespace kel::modCleanerHelper
