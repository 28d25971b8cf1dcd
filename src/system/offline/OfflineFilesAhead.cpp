// Files that are read before they are asked for.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include "offline/AheadOpener.h"
#include "offline/OfflineFiles.h"

namespace kel::offline {

using platform::AheadFile;
using platform::FileStamp;
using platform::FolderAhead;
using platform::Result;
using platform::SysError;

namespace {

class HostFolderAhead : public FolderAhead {
public:
    HostFolderAhead(std::shared_ptr<AheadOpener> opener, std::shared_ptr<Folder> folder,
                    std::shared_ptr<Listing> listing)
        : opener_(std::move(opener)), folder_(std::move(folder)), listing_(std::move(listing)) {}

    [[nodiscard]] std::size_t Count() const override { return listing_->Size(); }
    [[nodiscard]] std::string_view Name(std::size_t index) const override { return listing_->Name(index); }
    Kind KindOf(std::size_t index) override {
        unsigned char kind = listing_->Kind(index);
        if (kind == DT_UNKNOWN) {
            struct stat status {};
            const auto host = HostName(listing_->Name(index));
            if (host && fstatat(folder_->Fd(), host->c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
                kind = static_cast<unsigned char>(IFTODT(status.st_mode));
            }
        }
        return kind == DT_REG ? Kind::File : kind == DT_DIR ? Kind::Folder : Kind::Other;
    }

    std::unique_ptr<AheadFile> Open(std::size_t index) override {
        // A name as listed is one component of the host's, so that there is no way out of the folder.
        std::string changed;
        const char* const host = KindOf(index) == Kind::File ? HostNameAt(index, changed) : nullptr;
        return host != nullptr ? opener_->Open(folder_, host) : nullptr;
    }
    [[nodiscard]] std::size_t AtOnce() const override { return opener_->AtOnce(); }
    void WillBeEntered(std::size_t index) override {
        std::string changed;
        if (const char* const host = HostNameAt(index, changed)) {
            if (!queue_) {
                queue_ = opener_->Queue();
            }
            queue_->AskForFolder(folder_->Fd(), host);
        }
    }
    std::unique_ptr<AheadFile> OpenNamed(std::string_view name) override {
        const auto index = listing_->Find(name);
        return index ? Open(*index) : nullptr;
    }

private:
    // The host's name of an entry, which lies in `changed` where it differs from the shown one; null where it has none.
    const char* HostNameAt(std::size_t index, std::string& changed) const {
        if (listing_->IsPlain(index)) {
            return listing_->Name(index).data();
        }
        auto host = HostName(listing_->Name(index));
        if (!host) {
            return nullptr;
        }
        changed = *std::move(host);
        return changed.c_str();
    }

    std::shared_ptr<AheadOpener> opener_;
    std::shared_ptr<Folder> folder_;
    std::shared_ptr<Listing> listing_;
    std::shared_ptr<KernelQueue> queue_;  // null unless folders in it were asked for
};

}  // namespace

Result<FileStamp> OfflineFiles::Stamp(std::string_view path) {
    struct stat status;
    if (IsFileAtOnce(path, status)) {
        return StampOf(status);
    }
    auto place = Existing(path);
    if (!place) {
        return place.Error();
    }
    if (place->IsRoot() || fstatat(place->folder->Fd(), place->OnHost().c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 ||
        !S_ISREG(status.st_mode)) {
        return SysError::AccessDenied;
    }
    return StampOf(status);
}

std::unique_ptr<FolderAhead> OfflineFiles::Ahead(std::string_view folder) {
    auto open = resolver_.FolderAt(folder);
    auto listing = open ? open->List() : SysError::PathNotFound;
    if (!listing) {
        return nullptr;
    }
    if (!ahead_) {
        ahead_ = std::make_shared<AheadOpener>();
    }
    ahead_->BeginFolder();
    return std::make_unique<HostFolderAhead>(ahead_, std::move(open), *listing);
}

}  // namespace kel::offline
