// The files of a machine that does not run: directories of the host as drives.
#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "offline/OfflineFilesFind.h"
#include "offline/PathResolver.h"
#include "platform/Files.h"

namespace kel::offline {

class AheadOpener;

/// The rules of paths, names and attributes are in docs/offline.md.
class OfflineFiles : public platform::Files {
public:
    /// Adds a drive, or replaces the one of that letter. Throws std::system_error when the folder can't be opened.
    /// @param hidden left out of LogicalDrives
    void AddDrive(char letter, const std::filesystem::path& folder, bool hidden);
    [[nodiscard]] const PathResolver& Resolver() const { return resolver_; }
    /// The host's path behind a path, if it exists.
    [[nodiscard]] std::optional<std::filesystem::path> HostPath(std::string_view path);

    bool PathExists(std::string_view path) override;
    int PathIsDirectory(std::string_view path) override;
    platform::Result<std::uint32_t> Attributes(std::string_view path) override;
    platform::SysError SetAttributes(std::string_view path, std::uint32_t attributes) override;
    platform::Result<std::unique_ptr<platform::Find>> FindFirst(std::string_view pattern,
                                                                platform::FindData& first) override;
    platform::Result<std::unique_ptr<platform::Find>> FindNames(std::string_view pattern,
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

private:
    platform::Result<std::unique_ptr<platform::Find>> Enumerate(std::string_view pattern, platform::FindData& first,
                                                                FindDetail detail);
    /// A plain file that is there under exactly that name; of all others the long way tells more.
    bool IsFileAtOnce(std::string_view path, struct stat& status);
    /// The place of something that is there, else FileNotFound; InvalidName for a file with a trailing backslash.
    platform::Result<Place> Existing(std::string_view path);
    platform::Result<platform::FindData> Data(const Place& place);
    /// The path with each component in another form.
    template <class NameOf>
    platform::Result<std::string> Convert(std::string_view path, NameOf nameOf);

    PathResolver resolver_;
    std::shared_ptr<AheadOpener> ahead_;
};

}  // namespace kel::offline
