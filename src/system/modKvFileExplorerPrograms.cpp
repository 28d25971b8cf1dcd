// The programs behind processes, and what a program says about itself.
#include <string>

#include "core/Failures.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Platform.h"
#include "system/modFileInfoAPI.h"
#include "system/modFiles.h"
#include "system/modFolderPaths.h"
#include "system/modKvFileExplorer.h"
#include "system/modWinAPI.h"

namespace kel::modKvFileExplorer {

namespace {

constexpr std::string_view Module = "modKvFileExplorer";

// Query information and read memory.
constexpr std::uint32_t ProcessAccess = 1040;
constexpr std::uint32_t ModuleHandleBytes = 2048;
constexpr std::uint32_t ModulePathBuffer = 512;
constexpr std::size_t ShortestExeFile = 3;

// The program that an entry of the process list names.
std::string ListedProgram(const platform::ProcessEntry& entry) {
    const std::string program = modFiles::StringBeforeNul(entry.exeFile);
    return program.size() < ShortestExeFile ? std::string() : program;
}

std::string ListedProgram(std::uint32_t processId) {
    const auto snapshot = platform::Current().processes->Snapshot();
    if (!snapshot) {
        return {};
    }
    for (const platform::ProcessEntry& entry : *snapshot) {
        if (entry.id == processId) {
            return ListedProgram(entry);
        }
    }
    return {};
}

// The file of a process's program, whose name `program` gives once the process could be opened; empty when it is not
// there.
template <class Program>
std::string ExistingProgram(std::uint32_t processId, Program program) {
    std::string result;
    Trap(Module, "GetProcessFilePath", [&] {
        if (platform::Current().processes->CanOpen(processId, ProcessAccess) != platform::SysError::Success) {
            return;
        }
        std::string path = program();
        if (path.empty()) {
            return;
        }
        if (path.find('\\') == std::string::npos) {
            const std::string inSystem = modFolderPaths::GetSystemFolder() + path;
            if (modFiles::FileExists(inSystem)) {
                path = inSystem;
            }
        }
        path = modFolderPaths::TranslateEnvironmentVariablesPaths(path);
        path = ToText(modFolderPaths::ResolveFilePathEx(path));
        if (modFiles::FileExists(path)) {
            result = path;
        }
    });
    return result;
}

// A string of the version record; empty for a file without one.
std::string VersionText(std::string_view procedure, std::string_view path, std::string FileVersionInfo::*field) {
    std::string result;
    Trap(Module, procedure, [&] {
        if (!path.empty()) {
            FileVersionInfo record;
            modFileInfoAPI::GetFileVersionInfoStrings(path, record);
            result = record.*field;
        }
    });
    return result;
}

}  // namespace

std::string GetProcessFilePath(std::uint32_t processId) {
    return ExistingProgram(processId, [&] { return ExePathFromProcID(processId); });
}

std::string GetProcessFilePath(const platform::ProcessEntry& process) {
    return ExistingProgram(process.id, [&] { return ListedProgram(process); });
}

std::string ExePathFromProcID(std::uint32_t processId) {
    std::string result;
    Trap(Module, "ExePathFromProcID", [&] {
        result = modWinAPI::GetOSVersionName() == "NT" ? ExePathFromProcIDNT(processId) : ListedProgram(processId);
    });
    return result;
}

std::string ExePathFromProcIDNT(std::uint32_t processId) {
    std::string result;
    Trap(Module, "ExePathFromProcIDNT", [&] {
        const auto path =
            platform::Current().processes->FirstModulePath(processId, ModuleHandleBytes, ModulePathBuffer);
        if (path) {
            const std::string plain = ReplaceText(*path, R"(\systemroot\)", modFolderPaths::GetWindowsFolder());
            result = Replace(plain, R"(\??\)", "");
        }
    });
    return result;
}

std::string GetApplicationPublisherFromPath(std::string_view path) {
    return VersionText("GetApplicationPublisherFromPath", path, &FileVersionInfo::CompanyName);
}

std::string GetApplicationCopyrightFromPath(std::string_view path) {
    // Reports under the other procedure's name, as log readers know it.
    return VersionText("GetApplicationPublisherFromPath", path, &FileVersionInfo::LegalCopyright);
}

std::string GetInternalFileName(std::string_view path) {
    return VersionText("GetInternalFileName", path, &FileVersionInfo::InternalName);
}

}  // namespace kel::modKvFileExplorer
