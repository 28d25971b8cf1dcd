// Moving with the quarantine's mark, and deletion at the next start of the system.
#include <array>
#include <cstdint>
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

// Where the mark begins; nothing when the file has none. Only the mark counts, not the line end behind it.
std::optional<std::uint64_t> PlaceOfMark(const std::string& path) {
    auto file = Files().Open(path, platform::OpenMode::Read);
    if (!file) {
        paths::RaiseFileError(file.Error(), path);
    }
    const std::uint64_t size = (*file)->Size().ValueOr(0);
    if (size < MarkLine.size()) {
        return std::nullopt;
    }
    const std::uint64_t place = size - MarkLine.size();
    std::array<char, Mark.size()> found{};
    SysError error = (*file)->Seek(place);
    if (error == SysError::Success) {
        error = (*file)->Read(std::as_writable_bytes(std::span(found))).Error();
    }
    if (error != SysError::Success) {
        paths::RaiseFileError(error, path);
    }
    return std::string_view(found.data(), found.size()) == Mark ? std::optional(place) : std::nullopt;
}

// Takes the mark off by cutting the file where it begins. What else belongs to the file (its owner, its rights, its
// short name) stays, and nothing can be lost on the way: this may be the only copy of what a user wants back.
void RemoveMark(const std::string& path) {
    const auto place = PlaceOfMark(path);
    if (!place) {
        return;
    }
    auto file = Files().Open(path, platform::OpenMode::ReadWrite);
    SysError error = file.Error();
    if (error == SysError::Success) {
        error = (*file)->Seek(*place);
    }
    if (error == SysError::Success) {
        error = (*file)->SetEnd();
    }
    if (error == SysError::Success) {
        error = (*file)->Flush();
    }
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
