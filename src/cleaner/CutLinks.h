// Records of registry values that are cut, and how the log names them.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/Registry.h"
#include "quarantine/QThreatLocationRegKey.h"

namespace kel::links {

using KeyRecord = std::shared_ptr<QThreatLocationRegKey>;

/// A value as it stands in the registry.
/// @param name empty for the default value
[[nodiscard]] KeyRecord RecordOf(platform::Hive hive, std::string_view key, std::string_view name);
/// A key by itself.
[[nodiscard]] KeyRecord RecordOf(platform::Hive hive, std::string_view key);

/// "HKEY_LOCAL_MACHINE\" and the key.
[[nodiscard]] std::string KeyText(platform::Hive hive, std::string_view key);
/// The same with " [name=data]".
[[nodiscard]] std::string ValueText(const QThreatLocationRegKey& value);

}  // namespace kel::links
