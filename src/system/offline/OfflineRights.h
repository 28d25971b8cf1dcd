// Tokens of a machine that does not run: none. Identifiers are plain data and work.
#pragma once

#include "platform/Rights.h"

namespace kel::offline {

class OfflineRights : public platform::Rights {
public:
    platform::Result<std::unique_ptr<platform::Token>> OpenThreadToken() override {
        return platform::SysError::NoToken;
    }
    platform::Result<std::unique_ptr<platform::Token>> OpenProcessToken() override {
        return platform::SysError::NoToken;
    }
    platform::Result<platform::Sid> MakeSid(std::uint8_t authority,
                                            const std::vector<std::uint32_t>& subAuthorities) override;
    bool IsValidSid(const platform::Sid& sid) override;
    bool EqualSid(const platform::Sid& left, const platform::Sid& right) override;
};

}  // namespace kel::offline
