// Which threat a file, a folder, a hash or a cookie belongs to, and what belongs to a file or a folder that is one.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "scanner/Enumerations.h"

namespace kel {
class clsFolderPaths;
}

/// The tests answer the number of a threat, or 0 for none; the ignore list plays no part in them.
namespace kel::modScannerFiles {

// Lookups in the signature tables, without regard to case. A hit stores its level in LastOptionalScan; one whose level
// exceeds OptMaxOptionLevel does that too, and answers 0. A miss is no failure. Whoever records a detection must do so
// before the next lookup, because the record takes its level from LastOptionalScan.
[[nodiscard]] std::int32_t MD5ThreatExists(std::string_view ThisMD5);
/// @param ThisPath variable form of a file's path
[[nodiscard]] std::int32_t FilePathThreatExists(std::string_view ThisPath);
/// @param ThisFolder variable form of a folder
[[nodiscard]] std::int32_t FolderThreatExists(std::string_view ThisFolder);
[[nodiscard]] std::int32_t CookieThreatExists(std::string_view ThisCookie);
/// Always 0: the interface keeps the operation, and the catalogue has no table of bare file names.
[[nodiscard]] std::int32_t FileThreatExists(std::string_view ThisFile);

/// Tests a file: by path and MD5 as the depth says, by path alone when it is larger than OptMaxMD5Len, and never a
/// file that must not be touched. Variables of the environment in the path are resolved. A missing file is no threat
/// and no failure.
/// @param AltPath path with the file's short name, tried when the platform refuses the long name; or empty
/// @param MD5 not used: the hash is always computed here
[[nodiscard]] std::int32_t IsFileThreat(std::string_view FilePath, std::string_view AltPath, enScanDepth ScanDepth,
                                        std::string_view MD5 = {});

/// IsFileThreat with a function that gives AltPath if it is wanted, which is rare.
[[nodiscard]] std::int32_t IsWalkedFileThreat(std::string_view FilePath, const std::function<std::string()>& AltPath,
                                              enScanDepth ScanDepth);

/// Tests a folder by its path.
/// @param oclsFolderPaths folders for the variable form; null: those of the current scan
[[nodiscard]] std::int32_t IsFolderThreat(std::string_view FolderPath,
                                          const std::shared_ptr<clsFolderPaths>& oclsFolderPaths = nullptr);

/// Drops the last two characters, and one more if the last is then of code 0. Of a short name in its field of 14
/// characters, padded with code 0, that leaves the name if it fills the field, and further characters of code 0
/// behind it if it is shorter.
[[nodiscard]] std::string TrimAltName(std::string_view name);

/// Takes a scan's folders for the variable forms of IsFileThreat, which a walk asks for at each file. Until the first
/// call every test asks the machine.
void TakeFolders(const clsFolderPaths& folders);

// Relations: what a detection drags in. They go to the current scan, under the same threat. An ignored threat adds
// nothing. A failure is reported, and what was recorded before it stays.

/// Adds what registers a file, loads it or starts it: for a library the keys and values of its classes, for a program
/// the startup shortcuts and run entries that lead to it or to a copy with the same hash. Other files have none, nor
/// has a file without a hash.
/// @param path full path of a file that was found
void AddDetectedThreatFileRelations(std::int32_t ThreatID, std::string_view path);

/// Adds the files and folders below a folder, in lower case, each file with its relations. What must not be removed is
/// left out.
/// @param flag true: only the contents of the direct subfolders, not what lies deeper
void AddDetectedThreatFolderContents(std::int32_t ThreatID, std::string_view folder, bool flag);

}  // namespace kel::modScannerFiles
