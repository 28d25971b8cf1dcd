// What only a machine that runs can be asked for: files from the network, and points to go back to.
#pragma once

#include "platform/Internet.h"
#include "platform/RestorePoints.h"

namespace kel::offline {

class OfflineInternet final : public platform::Internet {
public:
    platform::SysError Download(std::string_view, std::string_view) override {
        return platform::SysError::NotSupported;
    }
};

class OfflineRestorePoints final : public platform::RestorePoints {
public:
    platform::Result<std::int32_t> Create(std::string_view, std::int32_t, std::int32_t) override {
        return platform::SysError::NotSupported;
    }
};

}  // namespace kel::offline
