// Tokens and security identifiers.
#pragma once

#include "platform/Rights.h"

namespace kel::windows {

class WindowsRights final : public platform::Rights {
public:
    platform::Result<std::unique_ptr<platform::Token>> OpenThreadToken() override;
    platform::Result<std::unique_ptr<platform::Token>> OpenProcessToken() override;
    platform::Result<platform::Sid> MakeSid(std::uint8_t authority,
                                            const std::vector<std::uint32_t>& subAuthorities) override;
    bool IsValidSid(const platform::Sid& sid) override;
    bool EqualSid(const platform::Sid& left, const platform::Sid& right) override;
};

}  // namespace kel::windows
