#include "system/clsFolderPaths.h"

#include <array>
#include <tuple>
#include <utility>

#include "core/Failures.h"
#include "core/Text.h"
#include "system/SpecialFolders.h"
#include "system/modFiles.h"

namespace kel {

namespace {

constexpr std::string_view Module = "clsFolderPaths";

struct ResolvedVariable {
    std::string_view test;
    std::string_view replaced;
    std::string clsFolderPaths::*property;
};
// In the order of the tests. The test is looser than what is replaced: a variable without its backslash passes and
// stays. "%startu%" is spelled as the data's makers have it, so that the startup folder is not translated back.
constexpr std::array ResolvedVariables{
    ResolvedVariable{"%altstartup%", R"(%altstartup%\)", &clsFolderPaths::PathAltStartup},
    ResolvedVariable{"%appdata%", R"(%appdata%\)", &clsFolderPaths::PathUserApplicationData},
    ResolvedVariable{"%common_altstartup%", R"(%common_altstartup%\)", &clsFolderPaths::PathCommonAltStartup},
    ResolvedVariable{"%common_desktopdirectory%", R"(%common_desktopdirectory%\)", &clsFolderPaths::PathCommonDesktop},
    ResolvedVariable{"%common_programs%", R"(%common_programs%\)", &clsFolderPaths::PathCommonPrograms},
    ResolvedVariable{"%common_startmenu%", R"(%common_startmenu%\)", &clsFolderPaths::PathCommonStartMenu},
    ResolvedVariable{"%common_startup%", R"(%common_startup%\)", &clsFolderPaths::PathStartUpFilesAllUsers},
    ResolvedVariable{"%cookies%", R"(%cookies%\)", &clsFolderPaths::PathCookies},
    ResolvedVariable{"%desktopdirectory%", R"(%desktopdirectory%\)", &clsFolderPaths::PathDesktop},
    ResolvedVariable{"%profile%", R"(%profile%\)", &clsFolderPaths::PathProfile},
    ResolvedVariable{"%program_files%", R"(%program_files%\)", &clsFolderPaths::PathProgramFiles},
    ResolvedVariable{R"(%startmenu%\)", R"(%startmenu%\)", &clsFolderPaths::PathStartMenu},
    ResolvedVariable{"%startu%", R"(%startup%\)", &clsFolderPaths::PathStartUpFilesUser},
    ResolvedVariable{"%system%", R"(%system%\)", &clsFolderPaths::PathSystem},
    ResolvedVariable{"%windows%", R"(%windows%\)", &clsFolderPaths::PathWindows},
    ResolvedVariable{"%favorites%", R"(%favorites%\)", &clsFolderPaths::PathFavorites},
};

constexpr std::size_t ShortestPath = 3;

}  // namespace

void clsFolderPaths::LoadFolderPaths() {
    Trap(Module, "LoadFolderPaths", [&] {
        for (const folders::SpecialFolder& folder : folders::SpecialFolders) {
            this->*folder.property = LCase(folders::Find(folder));
        }
    });
}

std::string clsFolderPaths::TranslateFromVariablePath(std::string_view Path) const {
    std::string result;
    Trap(Module, "TranslateFromVariablePath", [&] {
        if (Path.find('%') == std::string_view::npos) {
            result = Path;
            return;
        }
        result = LCase(Path);
        for (const ResolvedVariable& variable : ResolvedVariables) {
            if (result.find(variable.test) != std::string::npos) {
                result = Replace(result, variable.replaced, this->*variable.property);
                break;
            }
        }
        result = Replace(result, R"(\\)", R"(\)");
    });
    return result;
}

std::string clsFolderPaths::TranslateToVariablePath(std::string_view Path) const {
    static_assert(std::tuple_size_v<decltype(folded_)> == folders::PathVariables.size());
    std::string result;
    Trap(Module, "TranslateToVariablePath", [&] {
        result = LCase(Path);
        for (std::size_t row = 0; row < folders::PathVariables.size(); ++row) {
            const folders::PathVariable& variable = folders::PathVariables[row];
            const std::string& property = this->*variable.property;
            if (this->*variable.tested == R"(\)") {
                continue;
            }
            Folded& folded = folded_[row];
            if (folded.property != property) {
                folded = {property, LCase(property)};
            }
            folders::ReplaceFolder(result, folded.folder, variable.text);
        }
    });
    return result;
}

Value clsFolderPaths::ResolveFilePath(std::string_view FilePath) const {
    Value result;
    Trap(Module, "ResolveFilePath", [&] {
        const std::string path = LCase(Trim(FilePath));
        if (path.size() < ShortestPath) {
            return;
        }
        if (modFiles::FileExists(path)) {
            result = path;
            return;
        }
        result = std::string();
        if (path.compare(1, 2, R"(:\)") == 0) {
            return;
        }
        const std::string_view bare = std::string_view(path).substr(path.front() == '\\' ? 1 : 0);
        for (const std::string* folder : {&PathWindows, &PathSystem}) {
            std::string candidate = *folder;
            candidate += bare;
            if (modFiles::FileExists(candidate)) {
                result = std::move(candidate);
                return;
            }
        }
    });
    return result;
}

}  // namespace kel
