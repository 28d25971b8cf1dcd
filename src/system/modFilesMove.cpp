// Moving with the quarantine's mark, and deletion at the next start of the system.
#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "core/Failures.h"
#include "core/Paths.h"
#include "core/Text.h"
#include "platform/Platform.h"
#include "system/modFiles.h"
#include "system/modFolderPaths.h"
#include "system/modRegistry.h"
#include "system/modWinAPI.h"

namespace kel::modFiles {

namespace {

using platform::SysError;

constexpr std::string_view Module = "modFiles";
constexpr std::string_view Mark = "6635";
constexpr std::string_view MarkLine = "6635\r\n";

constexpr std::size_t CopyBlock = std::size_t{1} << 20;

platform::Files& Files() {
    return *platform::Current().files;
}

std::int32_t MoveOnce(std::string_view source, std::string_view destination) {
    switch (Files().Rename(source, destination)) {
        case SysError::Success:
            return Done;
        case SysError::FailedWithoutNumber:
            return DeleteFailed;
        case SysError::FileNotFound:
            return FileNotFound;
        case SysError::AccessDenied:
            FileClearAttributes(source);
            return Files().Rename(source, destination) == SysError::Success ? Done : MoveFailed;
        case SysError::SharingViolation:
        case SysError::LockViolation:
            return MoveFailedInUse;
        default:
            return MoveFailed;
    }
}

void AppendMark(std::string_view path) {
    if (Files().Length(path).ValueOr(0) == 0) {
        return;
    }
    if (auto file = Files().Open(path, platform::OpenMode::Append)) {
        (*file)->Write(std::as_bytes(std::span(MarkLine)));
    }
}

bool EndsInMark(std::span<const std::byte> bytes) {
    if (bytes.size() < MarkLine.size()) {
        return false;
    }
    const auto end = bytes.last(MarkLine.size());
    return std::equal(Mark.begin(), Mark.end(), end.begin(),
                      [](char sought, std::byte stored) { return static_cast<std::byte>(sought) == stored; });
}

SysError WriteAll(std::span<const std::byte> bytes, const std::string& path) {
    auto file = Files().Open(path, platform::OpenMode::CreateNew);
    if (!file) {
        return file.Error();
    }
    while (!bytes.empty()) {
        const auto block = bytes.first(std::min(bytes.size(), CopyBlock));
        if (const SysError error = (*file)->Write(block); error != SysError::Success) {
            return error;
        }
        bytes = bytes.subspan(block.size());
    }
    return (*file)->Flush();
}

// A name that nothing in the file's folder has; short, so that it fits wherever the file's own name does.
std::string FreeNameBeside(std::string_view path) {
    const std::size_t folderEnd = path.rfind('\\');
    std::string name(path.substr(0, folderEnd == std::string_view::npos ? 0 : folderEnd + 1));
    name += Mark;
    while (FileExists(name)) {
        name += '_';
    }
    return name;
}

// Takes the mark off. The file is written again beside the old one, which goes only when the new one is complete: this
// may be the only copy of what a user wants back.
void RemoveMark(const std::string& path) {
    const std::string unmarked = FreeNameBeside(path);
    {
        auto view = Files().View(path);
        if (!view) {
            paths::RaiseFileError(view.Error(), path);
        }
        const auto bytes = (*view)->Bytes();
        if (!EndsInMark(bytes)) {
            return;
        }
        if (const SysError error = WriteAll(bytes.first(bytes.size() - MarkLine.size()), unmarked);
            error != SysError::Success) {
            if (error != SysError::FileExists) {
                Files().Remove(unmarked);
            }
            paths::RaiseFileError(error, unmarked);
        }
    }
    SysError error = Files().Remove(path);
    if (error != SysError::Success) {
        Files().Remove(unmarked);
        paths::RaiseFileError(error, path);
    }
    error = Files().Rename(unmarked, path);
    if (error != SysError::Success) {
        paths::RaiseFileError(error, path);
    }
}

constexpr platform::Hive SessionManagerHive = platform::HiveLocalMachine;
constexpr std::string_view SessionManagerKey = R"(SYSTEM\CurrentControlSet\Control\Session Manager)";
constexpr std::string_view PendingOperations = "PendingFileRenameOperations";
constexpr std::int32_t MultiSz = 7;

// Each entry names a file and an empty destination: deleted, not renamed.
void DeleteThroughRegistry(std::string_view path) {
    using namespace std::string_literals;
    std::string entries =
        ToText(modRegistry::GetRegistryValue(SessionManagerHive, SessionManagerKey, PendingOperations));
    if (!entries.empty()) {
        entries += '\0';
    }
    entries += R"(\??\)" + ShortPathFromLongPath(path) + "\0\0\0"s;
    modRegistry::SetRegistryValue(SessionManagerHive, SessionManagerKey, PendingOperations, entries, MultiSz);
}

void DeleteThroughWinInit(std::string_view path) {
    const std::string file = modFolderPaths::GetWindowsFolder() + "WININIT.INI";
    const std::string text = "[rename]\r\nNUL=" + ShortPathFromLongPath(path);
    if (FileExists(file)) {
        TextFileAppend(text, file);
    } else {
        TextFileWrite(text, file);
    }
}

}  // namespace

std::int32_t FileMove(std::string_view source, std::string_view destination, std::int32_t mode) {
    std::int32_t result = Done;
    Trap(Module, "FileMove", [&] {
        FileClearAttributes(source);
        result = MoveOnce(source, destination);
        if (result != Done || destination.empty()) {
            return;
        }
        if (mode == MoveAndMark) {
            AppendMark(destination);
        } else if (mode == MoveAndUnmark) {
            RemoveMark(std::string(destination));
        }
    });
    return result;
}

void FileDeleteOnReboot(std::string_view path) {
    Trap(Module, "FileDeleteOnReboot", [&] {
        const std::string version = modWinAPI::GetOSVersionName();
        if (version == "ME" || version == "98") {
            DeleteThroughWinInit(path);
        } else {
            DeleteThroughRegistry(path);
        }
    });
}

}  // namespace kel::modFiles
