// Registry paths, command lines, file paths and durations as text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/Value.h"
#include "platform/Registry.h"

/// Stateless text operations. A failure is reported, and the result is empty or 0.
namespace kel::modHelper {

/// The hive that a full key path begins with, or 0.
platform::Hive GetRegistryHiveFromFullPath(std::string_view path);
/// The hive of that name, without regard to case, or 0.
platform::Hive GetRegistryHiveFromHiveName(std::string_view name);
/// A full key path without its hive's name; empty when no more than five characters are left.
std::string GetRegistryKeyFromFullPath(std::string_view path);
/// "HKEY_LOCAL_MACHINE" and so on; empty for a number that is no hive.
std::string GetRegistryHiveNameFromHive(platform::Hive hive);
/// The catalogue's number of a data type name: REG_SZ 1, REG_SZ_EX 2, REG_DWORD 3, REG_BINARY 4, others 0. These are
/// not the platform's numbers.
std::int32_t GetRegistryDataTypeFromDataTypeName(std::string_view name);

/// The file path in a command line, in lower case: without quotes and arguments, behind a `rundll32`.
std::string GetFilePathFromPathWithCommand(std::string_view commandLine);
/// The time between two dates as "1 days 2 hrs 3 mins 4 secs ", parts that are 0 left out.
std::string GetTotalTimeDispaly(Date startDate, Date endDate);

/// What stands before and behind the first ":"; empty when there is none.
std::string StringBeforeColon(std::string_view text);
std::string StringAfterColon(std::string_view text);
/// Up to and including the last backslash; empty when there is none.
std::string FolderFromFilePath(std::string_view path);
/// Behind the last backslash; all when there is none.
std::string FileNameFromFilePath(std::string_view path);
/// From the first "{" to the first "}", both included; empty when one is missing.
std::string GuidFromText(std::string_view text);

}  // namespace kel::modHelper
