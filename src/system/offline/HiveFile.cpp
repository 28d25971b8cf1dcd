#include "offline/HiveFile.h"

#include <algorithm>
#include <string_view>

#include "offline/OfflinePlatform.h"
#include "offline/RegistryText.h"

namespace kel::offline {

namespace fs = std::filesystem;
using platform::Result;
using platform::SysError;

namespace {

std::string WhyUnreadable(SysError error) {
    switch (error) {
        case SysError::FileNotFound:
        case SysError::PathNotFound:
            return "is not there";
        case SysError::AccessDenied:
            return "may not be read, or is no file";
        case SysError::BadLength:
            return "is too large, or changes while it is read";
        case SysError::NotEnoughMemory:
            return "does not fit into the memory";
        default:
            return "can't be read (error " + std::to_string(static_cast<int>(error)) + ")";
    }
}

Result<FileIdentity> ReadImage(const fs::path& path, regf::HiveImage& image) {
    return ReadWhole(path, HiveFile::MaximumSize, [&](std::size_t size) {
        return image.Resize(size) ? reinterpret_cast<char*>(image.Data()) : nullptr;
    });
}

/// A log that is there and can't be read is an error: without it the hive might be read as it no longer is.
regf::LogFile ReadLog(const fs::path& path) {
    regf::LogFile log{path.string(), {}};
    const auto read = ReadWhole(path, HiveFile::MaximumSize, [&](std::size_t size) {
        log.bytes.resize(size);
        return reinterpret_cast<char*>(log.bytes.data());
    });
    if (!read)
        throw OpenError(path.string() + " " + WhyUnreadable(read.Error()));
    return log;
}

}  // namespace

std::vector<fs::path> LogsBeside(const fs::path& hive) {
    const std::string wanted = LowerAscii(hive.filename().string()) + ".log";
    std::vector<fs::path> logs;
    std::error_code error;
    const fs::path folder = hive.parent_path().empty() ? fs::path(".") : hive.parent_path();
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        const std::string name = LowerAscii(entry.path().filename().string());
        std::error_code ignored;
        if ((name == wanted || name == wanted + "1" || name == wanted + "2") && entry.is_regular_file(ignored) &&
            !entry.is_symlink(ignored))
            logs.push_back(entry.path());
    }
    std::sort(logs.begin(), logs.end());
    return logs;
}

std::unique_ptr<HiveFile> HiveFile::Open(const fs::path& path, const std::vector<fs::path>& logs) {
    regf::HiveImage image;
    const Result<FileIdentity> identity = ReadImage(path, image);
    if (!identity)
        throw OpenError(path.string() + " " + WhyUnreadable(identity.Error()));
    std::vector<regf::LogFile> read;
    read.reserve(logs.size());
    for (const fs::path& log : logs)
        read.push_back(ReadLog(log));
    try {
        return std::unique_ptr<HiveFile>(new HiveFile(path, *identity, std::move(image), read));
    } catch (const regf::HiveError& error) {
        throw OpenError(path.string() + " " + error.what());
    }
}

SysError HiveFile::Prepare() {
    if (!Changed() || replacement_.Prepared())
        return SysError::Success;
    const std::span<const std::byte> bytes = Render();
    pages_ = ChangedPages();
    return replacement_.Prepare(path_, identity_,
                                std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()), &pages_);
}

SysError HiveFile::Commit() {
    if (!Changed())
        return SysError::Success;
    const SysError prepared = Prepare();
    if (prepared != SysError::Success)
        return prepared;
    const Result<FileIdentity> written = replacement_.Commit();
    if (!written)
        return written.Error();
    identity_ = *written;
    Accept(pages_);
    return SysError::Success;
}

void HiveFile::Discard() {
    Abandon();
    Hive::Discard();
}

}  // namespace kel::offline
