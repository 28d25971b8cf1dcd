// The file of the ignore list: its two forms.
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/LittleEndian.h"
#include "core/Paths.h"
#include "core/Text.h"
#include "platform/Platform.h"
#include "results/modDataManager.h"

namespace kel::modDataManager {

namespace {

constexpr const char* Module = "modDataManager";

// Tag that the run time puts before a 32-bit integer when a value of any type is written to a binary file.
constexpr std::uint16_t LongTag = 3;

using platform::OpenFile;
using platform::OpenMode;
using platform::SysError;

std::string FilePath() {
    return State().UserDataFolder + "\\" + IgnoredThreatsFile;
}

std::unique_ptr<OpenFile> OpenBinary(const std::string& path, OpenMode mode) {
    auto file = platform::Current().files->Open(path, mode);
    if (!file) {
        paths::RaiseFileError(file.Error(), path);
    }
    return std::move(*file);
}

// Bytes from the position on, as many as there are up to the size of `into`.
std::size_t ReadUpTo(OpenFile& file, std::span<std::byte> into, const std::string& path) {
    std::size_t done = 0;
    while (done < into.size()) {
        const auto read = file.Read(into.subspan(done));
        if (!read) {
            paths::RaiseFileError(read.Error(), path);
        }
        if (*read == 0) {
            break;
        }
        done += *read;
    }
    return done;
}

void ReadNumbers(OpenFile& file, const std::string& path, Collection<std::int32_t>& list) {
    std::array<std::uint8_t, 4> bytes{};
    while (ReadUpTo(file, std::as_writable_bytes(std::span(bytes)), path) == bytes.size()) {
        const auto number = static_cast<std::int32_t>(LoadLittle<std::uint32_t>(bytes.data()));
        // A number that stands in the file twice is passed over.
        if (const std::string key = Text(number); !list.Contains(key)) {
            list.Add(number, key);
        }
    }
}

}  // namespace

bool InitializeIgnoredThreatsData() {
    Trap(Module, "InitializeIgnoredThreatsData", [] {
        const std::string path = FilePath();
        if (paths::FileExists(path)) {
            const auto list = std::make_shared<Collection<std::int32_t>>();
            State().IgnoredThreatIDs = list;
            ReadNumbers(*OpenBinary(path, OpenMode::Read), path, *list);
        } else {
            State().IgnoredThreatIDs.reset();
            OpenBinary(path, OpenMode::ReadWrite);
        }
    });
    return true;
}

void PersistIgnoredThreatsData() {
    Trap(Module, "PersistIgnoredThreatsData", [] {
        const std::string path = FilePath();
        if (paths::FileExists(path)) {
            if (const SysError error = platform::Current().files->Remove(path); error != SysError::Success) {
                paths::RaiseFileError(error, path);
            }
        }
        const auto file = OpenBinary(path, OpenMode::ReadWrite);
        if (!State().IgnoredThreatIDs) {
            Raise(ErrObjectNotSet);
        }
        std::string bytes;
        for (const std::int32_t number : *State().IgnoredThreatIDs) {
            AppendLittle(bytes, LongTag);
            AppendLittle(bytes, static_cast<std::uint32_t>(number));
        }
        if (const SysError error = file->Write(std::as_bytes(std::span(bytes))); error != SysError::Success) {
            paths::RaiseFileError(error, path);
        }
    });
}

}  // namespace kel::modDataManager
