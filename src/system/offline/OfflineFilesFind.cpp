#include "offline/OfflineFilesFind.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <utility>

#include "offline/OfflineFilesAttributes.h"
#include "offline/OfflineText.h"

namespace kel::offline {

using platform::FindData;
using platform::Result;
using platform::SysError;

namespace {

std::string AlternateName(Folder& folder, Listing& listing, std::size_t index, const std::string& hostName) {
    if (!folder.OfDrive().ntfs) {
        return listing.ShortName(index);
    }
    std::string name = NtfsShortName(folder.Fd(), hostName);
    return FoldName(name) == listing.Folded(index) ? std::string() : name;
}

}  // namespace

Result<FindData> DescribeEntry(Folder& folder, Listing& listing, std::size_t index) {
    const std::string name(listing.Name(index));
    const std::string hostName = HostName(name).value_or(std::string());
    auto data = EntryData(folder.Fd(), hostName, folder.OfDrive().ntfs);
    if (data) {
        data->name = name;
        data->alternateName = AlternateName(folder, listing, index, hostName);
    }
    return data;
}

PatternFind::PatternFind(std::shared_ptr<Folder> folder, std::shared_ptr<Listing> listing, FindPattern pattern,
                         bool root, FindDetail detail)
    : folder_(std::move(folder)),
      listing_(std::move(listing)),
      pattern_(std::move(pattern)),
      detail_(detail),
      dots_(root || !pattern_.MatchesDots() ? 2 : 0) {
}

bool PatternFind::Matches(std::size_t index) {
    if (pattern_.Matches(listing_->Folded(index))) {
        return true;
    }
    if (folder_->OfDrive().ntfs) {
        const std::string name(listing_->Name(index));
        const std::string shortName = NtfsShortName(folder_->Fd(), HostName(name).value_or(std::string()));
        return !shortName.empty() && pattern_.Matches(FoldName(shortName));
    }
    const std::string& shortName = listing_->ShortName(index);
    return !shortName.empty() && pattern_.Matches(shortName);
}

bool PatternFind::DescribeByListing(std::size_t index, FindData& entry) {
    const unsigned char kind = listing_->Kind(index);
    if (kind != DT_REG && kind != DT_DIR) {
        return false;
    }
    entry.attributes = kind == DT_DIR ? platform::AttributeDirectory : platform::AttributeArchive;
    entry.name = listing_->Name(index);
    entry.alternateName.clear();
    return true;
}

bool PatternFind::DescribeDots(FindData& entry) {
    if (detail_ == FindDetail::Names) {
        entry.attributes = platform::AttributeDirectory;
    } else if (auto data = EntryData(folder_->Fd(), ".", folder_->OfDrive().ntfs)) {
        entry = *std::move(data);
    } else {
        return false;
    }
    entry.name = dots_ == 0 ? "." : "..";
    entry.alternateName.clear();
    return true;
}

std::string PatternFind::AlternateName(const FindData& entry) {
    if (detail_ == FindDetail::All || next_ == 0) {
        return entry.alternateName;
    }
    const std::size_t index = next_ - 1;
    return kel::offline::AlternateName(*folder_, *listing_, index, HostName(listing_->Name(index)).value_or(""));
}

SysError PatternFind::Next(FindData& entry) {
    if (dots_ < 2) {
        if (DescribeDots(entry)) {
            ++dots_;
            return SysError::Success;
        }
        dots_ = 2;
    }
    while (next_ < listing_->Size()) {
        const std::size_t index = next_++;
        if (!Matches(index)) {
            continue;
        }
        if (detail_ == FindDetail::Names && DescribeByListing(index, entry)) {
            return SysError::Success;
        }
        if (auto data = DescribeEntry(*folder_, *listing_, index)) {
            entry = *std::move(data);
            return SysError::Success;
        }
    }
    return SysError::NoMoreFiles;
}

}  // namespace kel::offline
