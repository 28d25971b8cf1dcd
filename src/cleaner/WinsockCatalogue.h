// The entries of the machine's catalogue of network providers.
#pragma once

#include <string>
#include <string_view>

#include "core/Collection.h"

/// What fails is reported under the module "modCleanerHelper" and the operation's name.
namespace kel::modCleanerHelper {

/// Names of the catalogue's entries whose provider the file is.
/// @param controlSet empty: "CurrentControlSet"
[[nodiscard]] Collection<std::string> GetLSPCatalogEntries(std::string_view path, std::string_view controlSet);
/// Names of all entries, in the order of their listing.
/// @param controlSet empty: "CurrentControlSet"
[[nodiscard]] Collection<std::string> GetAllLSPCatalogEntries(std::string_view controlSet);

}  // namespace kel::modCleanerHelper
