#include "system/modPermissions.h"

#include <cstddef>

#include "core/RuntimeError.h"
#include "platform/Platform.h"

namespace kel::modPermissions {

namespace {

constexpr std::uint8_t NtAuthority = 5;
// The built-in domain and its group of administrators.
constexpr std::uint32_t BuiltinDomain = 32;
constexpr std::uint32_t Administrators = 544;
// Places of the group table, counted from 0.
constexpr std::size_t LastPlace = 100;

// The group at a place of the table. The place behind the last group is looked at too; it holds no identifier.
const platform::Sid& GroupAt(const std::vector<platform::TokenGroup>& groups, std::size_t place) {
    static const platform::Sid none;
    if (place > LastPlace) {
        Raise(ErrSubscriptOutOfRange);
    }
    return place < groups.size() ? groups[place].sid : none;
}

}  // namespace

bool HasAdminPermission() {
    platform::Rights& rights = *platform::Current().rights;
    // The thread's token is opened, and then the process's whatever came of it: impersonation plays no part.
    (void)rights.OpenThreadToken();
    auto token = rights.OpenProcessToken();
    if (!token || (*token)->GroupsSize() == 0) {
        return false;
    }
    const auto groups = (*token)->Groups();
    if (!groups) {
        return false;
    }
    const auto administrators = rights.MakeSid(NtAuthority, {BuiltinDomain, Administrators});
    if (!administrators || !rights.IsValidSid(*administrators)) {
        return false;
    }
    for (std::size_t place = 0; place <= groups->size(); ++place) {
        const platform::Sid& sid = GroupAt(*groups, place);
        if (rights.IsValidSid(sid) && rights.EqualSid(sid, *administrators)) {
            return true;
        }
    }
    return false;
}

}  // namespace kel::modPermissions
