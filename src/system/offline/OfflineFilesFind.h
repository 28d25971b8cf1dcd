// Enumerations of folders.
#pragma once

#include <memory>
#include <string>

#include "offline/OfflineFilesPattern.h"
#include "offline/PathResolver.h"
#include "platform/Files.h"

namespace kel::offline {

/// How much of its entries an enumeration looks up.
enum class FindDetail { All, Names };

/// One entry as an enumeration shows it, with its names.
[[nodiscard]] platform::Result<platform::FindData> DescribeEntry(Folder& folder, Listing& listing, std::size_t index);

/// The entries of a folder that match a pattern. Holds the names that the folder had at the beginning; sizes and
/// attributes are looked up when an entry is given, and what went away in between is left out. Where names alone are
/// wanted, nothing is looked up.
class PatternFind : public platform::Find {
public:
    /// @param root the folder is a drive's root and shows no `.` and `..`
    PatternFind(std::shared_ptr<Folder> folder, std::shared_ptr<Listing> listing, FindPattern pattern, bool root,
                FindDetail detail);
    platform::SysError Next(platform::FindData& entry) override;
    std::string AlternateName(const platform::FindData& entry) override;

private:
    [[nodiscard]] bool Matches(std::size_t index);
    /// Name and directory bit by the host's listing, where that is enough; false where it is not.
    bool DescribeByListing(std::size_t index, platform::FindData& entry);
    bool DescribeDots(platform::FindData& entry);

    std::shared_ptr<Folder> folder_;
    std::shared_ptr<Listing> listing_;
    FindPattern pattern_;
    FindDetail detail_;
    std::size_t dots_;  // how many of `.` and `..` were given
    std::size_t next_ = 0;
};

/// An enumeration whose first entry was its only one.
class SingleFind : public platform::Find {
public:
    platform::SysError Next(platform::FindData&) override { return platform::SysError::NoMoreFiles; }
};

}  // namespace kel::offline
