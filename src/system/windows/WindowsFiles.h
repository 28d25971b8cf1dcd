// Files, folders and drives by the ANSI calls.
#pragma once

#include "platform/Files.h"

namespace kel::windows {

class WindowsFiles final : public platform::Files {
public:
    bool PathExists(std::string_view path) override;
    int PathIsDirectory(std::string_view path) override;
    platform::Result<std::uint32_t> Attributes(std::string_view path) override;
    platform::SysError SetAttributes(std::string_view path, std::uint32_t attributes) override;
    platform::Result<std::unique_ptr<platform::Find>> FindFirst(std::string_view pattern,
                                                                platform::FindData& first) override;
    platform::SysError Remove(std::string_view path) override;
    platform::SysError Rename(std::string_view from, std::string_view to) override;
    platform::SysError MakeFolder(std::string_view path) override;
    platform::SysError RemoveFolder(std::string_view path) override;
    platform::Result<std::unique_ptr<platform::OpenFile>> Open(std::string_view path, platform::OpenMode mode) override;
    platform::Result<std::unique_ptr<platform::FileView>> View(std::string_view path) override;
    platform::Result<std::uint64_t> Length(std::string_view path) override;
    platform::Result<platform::FileStamp> Stamp(std::string_view path) override;
    std::unique_ptr<platform::FolderAhead> Ahead(std::string_view folder) override;
    platform::Result<std::string> LongPath(std::string_view path) override;
    platform::Result<std::string> ShortPath(std::string_view path) override;
    std::vector<std::string> LogicalDrives() override;
    platform::DriveKind DriveType(std::string_view root) override;
    bool MatchSpec(std::string_view name, std::string_view spec) override;
    std::string CurrentFolder() override;
    platform::SysError SetCurrentFolder(std::string_view path) override;
};

}  // namespace kel::windows
