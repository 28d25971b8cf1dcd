#include "offline/OfflineRights.h"

namespace kel::offline {

namespace {

constexpr std::size_t MaxSubAuthorities = 8;  // what AllocateAndInitializeSid takes
constexpr std::size_t MaxStored = 15;         // what an identifier can hold
constexpr std::size_t HeaderSize = 8;         // revision, count, authority of six bytes

}  // namespace

platform::Result<platform::Sid> OfflineRights::MakeSid(std::uint8_t authority,
                                                       const std::vector<std::uint32_t>& subAuthorities) {
    if (subAuthorities.empty() || subAuthorities.size() > MaxSubAuthorities) {
        return platform::SysError::InvalidParameter;
    }
    platform::Sid sid(HeaderSize, std::byte{0});
    sid[0] = std::byte{1};
    sid[1] = static_cast<std::byte>(subAuthorities.size());
    sid[7] = static_cast<std::byte>(authority);
    for (const std::uint32_t number : subAuthorities) {
        for (unsigned shift = 0; shift < 32; shift += 8) {
            sid.push_back(static_cast<std::byte>(number >> shift & 0xFF));
        }
    }
    return sid;
}

bool OfflineRights::IsValidSid(const platform::Sid& sid) {
    return sid.size() >= HeaderSize && sid[0] == std::byte{1} && std::to_integer<std::size_t>(sid[1]) <= MaxStored &&
           sid.size() >= HeaderSize + 4 * std::to_integer<std::size_t>(sid[1]);
}

bool OfflineRights::EqualSid(const platform::Sid& left, const platform::Sid& right) {
    return left == right;
}

}  // namespace kel::offline
