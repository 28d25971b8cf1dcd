// Notices what of a machine could not be looked at, so that a scan never passes over it in silence.
#pragma once

#include <functional>
#include <string_view>

#include "decorators/ForwardingFiles.h"

namespace kel::frontend {

/// Passes everything on; calls `unreadable` for each folder that could not be listed to its end and each file that
/// could not be opened or read, for another reason than that it is not there. A look ahead (see Unnoticed) is not
/// noticed. What it opens it must outlive.
class ReadWatch : public decorators::ForwardingFiles {
public:
    using Report = std::function<void(std::string_view path, platform::SysError error)>;

    /// `inner` must outlive the object.
    ReadWatch(platform::Files& inner, Report unreadable);

    platform::Result<std::unique_ptr<platform::Find>> FindFirst(std::string_view pattern,
                                                                platform::FindData& first) override;
    platform::Result<std::unique_ptr<platform::Find>> FindNames(std::string_view pattern,
                                                                platform::FindData& first) override;
    platform::Result<std::unique_ptr<platform::OpenFile>> Open(std::string_view path, platform::OpenMode mode) override;
    platform::Result<std::unique_ptr<platform::FileView>> View(std::string_view path) override;
    // What could not be read ahead is read again by the operations above, and noticed there.
    platform::Result<platform::FileStamp> Stamp(std::string_view path) override { return Inner().Stamp(path); }
    std::unique_ptr<platform::FolderAhead> Ahead(std::string_view folder) override { return Inner().Ahead(folder); }

private:
    platform::Result<std::unique_ptr<platform::Find>> Watched(platform::Result<std::unique_ptr<platform::Find>> found,
                                                              std::string_view pattern);
    void Note(std::string_view path, platform::SysError error) const;

    Report unreadable_;
};

}  // namespace kel::frontend
