// Version resources, until the reader is there; goes away with it.
#include "offline/OfflineVersions.h"

namespace kel::offline {

platform::Result<std::uint32_t> OfflineVersions::Size(std::string_view) {
    return platform::SysError::ResourceTypeNotFound;
}
platform::Result<std::unique_ptr<platform::VersionBlock>> OfflineVersions::Load(std::string_view, std::uint32_t) {
    return platform::SysError::ResourceTypeNotFound;
}

}  // namespace kel::offline
