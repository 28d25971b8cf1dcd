// Files of a dry run.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "decorators/DryRunJournal.h"
#include "decorators/FileOverlay.h"
#include "decorators/ForwardingFiles.h"

namespace kel::decorators {

/// Reads are the machine's as long as nothing was changed; then each path is looked up in the overlay first.
class DryRunFiles final : public ForwardingFiles {
public:
    /// All must outlive the object.
    DryRunFiles(const platform::Platform& inner, const DryRunJournal& journal);

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
    std::string CurrentFolder() override;
    platform::SysError SetCurrentFolder(std::string_view path) override;

    /// The path as records give it: absolute.
    [[nodiscard]] std::string Absolute(std::string_view path);
    /// Takes a file, or a folder with all that is in it, away at once. Not for a root.
    platform::SysError RemoveTree(std::string_view path);
    /// Makes a file without bytes, or empties one, without a record.
    platform::SysError MakeEmpty(std::string_view path);
    /// The machine's file whose bytes show at the path. ResourceDataNotFound when all of them were written here.
    [[nodiscard]] platform::Result<std::string> Behind(std::string_view path);

private:
    /// Nothing on the path's drive differs from the machine. What most reads of a scan ask: it must cost nothing.
    [[nodiscard]] bool Idle(std::string_view path) const;
    [[nodiscard]] OverlayPath Current();
    [[nodiscard]] platform::Result<OverlayPath> Parse(std::string_view path);
    [[nodiscard]] platform::Result<OverlayPlace> Find(std::string_view path);
    /// What to ask the machine for a place that it has itself.
    [[nodiscard]] std::string OnMachine(const OverlayPlace& place, std::string_view path) const;
    /// Attributes of what is there.
    [[nodiscard]] platform::Result<std::uint32_t> Existing(const OverlayPlace& place, std::string_view path);
    /// Success when a new entry can be made there.
    [[nodiscard]] platform::SysError Vacant(const OverlayPlace& place, std::string_view path);

    platform::Result<std::unique_ptr<platform::Find>> Enumerate(std::string_view pattern, platform::FindData& first,
                                                                bool namesOnly);
    platform::Result<std::vector<platform::FindData>> Merge(const OverlayNode& folder, bool root,
                                                            std::string_view pattern);
    [[nodiscard]] bool IsEmptyFolder(const OverlayPlace& place);

    platform::Result<std::unique_ptr<platform::OpenFile>> OpenToRead(const OverlayPlace& place, std::string_view path);
    platform::Result<std::unique_ptr<platform::OpenFile>> MakeFile(const OverlayPlace& place, platform::OpenMode mode);
    platform::Result<std::unique_ptr<platform::OpenFile>> OpenToWrite(const OverlayPlace& place,
                                                                      platform::OpenMode mode);
    template <class NameOf>
    platform::Result<std::string> Compose(const OverlayPlace& place, NameOf nameOf);

    platform::Platform inner_;
    const DryRunJournal& journal_;
    FileOverlay overlay_;
    std::shared_ptr<OverlayBudget> budget_;
    std::optional<OverlayPath> current_;
};

}  // namespace kel::decorators
