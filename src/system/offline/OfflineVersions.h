// Version resources read from the program files themselves.
#pragma once

#include "platform/Files.h"
#include "platform/VersionResources.h"

namespace kel::offline {

/// Reads PE32, PE32+ and NE files through `files`, only the parts that lead to the version resource.
class OfflineVersions : public platform::VersionResources {
public:
    /// `files` must outlive this object.
    explicit OfflineVersions(platform::Files& files) : files_(files) {}

    platform::Result<std::uint32_t> Size(std::string_view path) override;
    platform::Result<std::unique_ptr<platform::VersionBlock>> Load(std::string_view path, std::uint32_t size) override;

private:
    platform::Files& files_;
};

}  // namespace kel::offline
