// File access for fuzz targets: a few files in memory, no folders.
#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/Files.h"

namespace kel::fuzz {

/// What the readers and writers of single files need. Everything else answers SysError::NotSupported.
class MemoryFiles final : public platform::Files {
public:
    void Put(std::string_view path, std::string bytes) { files_[std::string(path)] = std::move(bytes); }
    [[nodiscard]] const std::string& Get(std::string_view path) { return files_[std::string(path)]; }

    bool PathExists(std::string_view path) override { return files_.contains(std::string(path)); }
    platform::SysError Remove(std::string_view path) override {
        return files_.erase(std::string(path)) != 0 ? platform::SysError::Success : platform::SysError::FileNotFound;
    }
    platform::Result<std::unique_ptr<platform::OpenFile>> Open(std::string_view path,
                                                               platform::OpenMode mode) override {
        using platform::OpenMode;
        using platform::SysError;
        if (mode == OpenMode::Read && !PathExists(path)) {
            return SysError::FileNotFound;
        }
        if (mode == OpenMode::CreateNew && PathExists(path)) {
            return SysError::FileExists;
        }
        std::string& bytes = files_[std::string(path)];
        if (mode == OpenMode::Create) {
            bytes.clear();
        }
        return std::unique_ptr<platform::OpenFile>(std::make_unique<File>(bytes));
    }
    platform::Result<std::unique_ptr<platform::FileView>> View(std::string_view path) override {
        if (!PathExists(path)) {
            return platform::SysError::FileNotFound;
        }
        return std::unique_ptr<platform::FileView>(std::make_unique<HeapView>(files_[std::string(path)]));
    }
    platform::Result<std::uint64_t> Length(std::string_view path) override {
        if (!PathExists(path)) {
            return platform::SysError::FileNotFound;
        }
        return std::uint64_t{files_[std::string(path)].size()};
    }

    int PathIsDirectory(std::string_view /*path*/) override { return 0; }
    platform::Result<std::uint32_t> Attributes(std::string_view /*path*/) override { return None; }
    platform::SysError SetAttributes(std::string_view /*path*/, std::uint32_t /*attributes*/) override { return None; }
    platform::Result<std::unique_ptr<platform::Find>> FindFirst(std::string_view /*pattern*/,
                                                                platform::FindData& /*first*/) override {
        return None;
    }
    platform::SysError Rename(std::string_view /*from*/, std::string_view /*to*/) override { return None; }
    platform::SysError MakeFolder(std::string_view /*path*/) override { return None; }
    platform::SysError RemoveFolder(std::string_view /*path*/) override { return None; }
    platform::Result<std::string> LongPath(std::string_view /*path*/) override { return None; }
    platform::Result<std::string> ShortPath(std::string_view /*path*/) override { return None; }
    std::vector<std::string> LogicalDrives() override { return {}; }
    platform::DriveKind DriveType(std::string_view /*root*/) override { return platform::DriveKind::NoRoot; }
    bool MatchSpec(std::string_view /*name*/, std::string_view /*spec*/) override { return false; }
    std::string CurrentFolder() override { return {}; }
    platform::SysError SetCurrentFolder(std::string_view /*path*/) override { return None; }

private:
    static constexpr platform::SysError None = platform::SysError::NotSupported;

    class File final : public platform::OpenFile {
    public:
        explicit File(std::string& bytes) : bytes_(bytes) {}
        platform::Result<std::size_t> Read(std::span<std::byte> into) override {
            const std::size_t count = bytes_.copy(reinterpret_cast<char*>(into.data()), into.size(), at_);
            at_ += count;
            return count;
        }
        platform::SysError Write(std::span<const std::byte> from) override {
            bytes_.resize(std::max(bytes_.size(), at_));
            bytes_.replace(at_, from.size(), reinterpret_cast<const char*>(from.data()), from.size());
            at_ += from.size();
            return platform::SysError::Success;
        }
        platform::SysError Seek(std::uint64_t position) override {
            at_ = std::min(static_cast<std::size_t>(position), bytes_.size());
            return platform::SysError::Success;
        }
        platform::SysError SetEnd() override {
            bytes_.resize(at_);
            return platform::SysError::Success;
        }
        platform::Result<std::uint64_t> Size() override { return std::uint64_t{bytes_.size()}; }
        platform::SysError Flush() override { return platform::SysError::Success; }

    private:
        std::string& bytes_;
        std::size_t at_ = 0;
    };

    class HeapView final : public platform::FileView {
    public:
        // A copy on the heap, so that the sanitizer sees every read past its end.
        explicit HeapView(const std::string& bytes)
            : bytes_(reinterpret_cast<const std::byte*>(bytes.data()),
                     reinterpret_cast<const std::byte*>(bytes.data()) + bytes.size()) {}
        [[nodiscard]] std::span<const std::byte> Bytes() const override { return bytes_; }

    private:
        std::vector<std::byte> bytes_;
    };

    std::map<std::string, std::string> files_;
};

}  // namespace kel::fuzz
