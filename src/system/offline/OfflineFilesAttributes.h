// Attributes, sizes and times of the host's entries in the machine's terms.
#pragma once

#include <string>
#include <string_view>

#include "platform/Files.h"
#include "platform/Result.h"

namespace kel::offline {

/// What is known of one entry. Names stay empty.
/// @param name the host's name in `folder`, or `.` for the folder itself; a link is not followed
/// @param ntfs the mount shows attributes and times of NTFS
[[nodiscard]] platform::Result<platform::FindData> EntryData(int folder, const std::string& name, bool ntfs);

/// Sets attributes as far as the host can keep them.
[[nodiscard]] platform::SysError SetEntryAttributes(int folder, const std::string& name, bool ntfs,
                                                    std::uint32_t attributes);

/// The 8.3 name that NTFS has for an entry; empty when it has none of its own.
[[nodiscard]] std::string NtfsShortName(int folder, const std::string& name);

/// Which times go with a file's traits: those of a copy are the file's own, a file that is written anew keeps only when
/// it came into being.
enum class KeptTimes { All, Creation };

/// Copies attributes, times and what else belongs to a file from one open file to another. What NTFS knows of it is
/// carried on other file systems and given back when the file returns; what the target can't keep at all is left out.
void CopyFileTraits(int from, int to, KeptTimes times = KeptTimes::All);

/// Copies the 8.3 name of NTFS. It belongs to a name and is lost when that changes: to be copied when `to` has its own.
void CopyShortName(int from, int to);

/// Gives an entry an 8.3 name of NTFS; nothing happens elsewhere, or for an empty one.
void SetNtfsShortName(int folder, const std::string& name, const std::string& shortName);

}  // namespace kel::offline
