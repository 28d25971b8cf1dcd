// The tests that stand between every removal and the disk or the registry.
#pragma once

#include <string_view>

#include "platform/Registry.h"

/// True means: leave it alone. What fails is reported under the module "modCleanerHelper" and answers false.
namespace kel::modCleanerHelper {

/// By name, by place and by the publisher in the file's version resource.
[[nodiscard]] bool RestrictRemoveFile(std::string_view path);
/// Whether the path is one of the machine's own folders, written with the final backslash that its entry has. What is
/// below such a folder is not protected. The list is made at the first call and never refreshed.
[[nodiscard]] bool RestrictRemoveFolder(std::string_view path);
/// Whether the key is one that the machine needs, in any hive. What is below such a key is not protected.
[[nodiscard]] bool RestrictRemoveRegistryKey(platform::Hive hive, std::string_view key);
/// Whether the value is one that the machine needs, in any hive. The entries have a blank before the bracket and the
/// text that they are compared with has none, so no value is ever refused.
[[nodiscard]] bool RestrictRemoveRegistryValue(platform::Hive hive, std::string_view key, std::string_view name);

}  // namespace kel::modCleanerHelper
