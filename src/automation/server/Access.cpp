#include "server/Access.h"

#include <array>
#include <memory>

#include "automation/Com.h"
#include "windows/Win32.h"

namespace kel::automation {

namespace {

struct SidPolicy {
    using Handle = PSID;
    static Handle Invalid() { return nullptr; }
    static void Close(Handle handle) { ::FreeSid(handle); }
};
using Sid = windows::Owned<SidPolicy>;

Sid WellKnown(DWORD first, DWORD second = 0) {
    SID_IDENTIFIER_AUTHORITY authority = SECURITY_NT_AUTHORITY;
    Sid made;
    ::AllocateAndInitializeSid(&authority, second == 0 ? 1 : 2, first, second, 0, 0, 0, 0, 0, 0, made.Out());
    return made;
}

// The user's identifier with the room that it points into.
std::vector<std::byte> ThisUser() {
    windows::KernelHandle token;
    if (::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, token.Out()) == FALSE) {
        return {};
    }
    DWORD size = 0;
    ::GetTokenInformation(token.Get(), TokenUser, nullptr, 0, &size);
    std::vector<std::byte> room(size);
    if (size == 0 || ::GetTokenInformation(token.Get(), TokenUser, room.data(), size, &size) == FALSE) {
        return {};
    }
    return room;
}

}  // namespace

std::vector<std::byte> MakeAccess(Caller caller, AccessRights rights) {
    const Sid administrators = WellKnown(SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS);
    const Sid system = WellKnown(SECURITY_LOCAL_SYSTEM_RID);
    const Sid group = WellKnown(caller == Caller::Interactive ? SECURITY_INTERACTIVE_RID : SECURITY_PRINCIPAL_SELF_RID);
    const std::vector<std::byte> user = caller == Caller::ThisUser ? ThisUser() : std::vector<std::byte>();
    const PSID callers = caller != Caller::ThisUser ? group.Get()
                         : user.empty()             ? nullptr
                                                    : reinterpret_cast<const TOKEN_USER*>(user.data())->User.Sid;
    if (!administrators || !system || callers == nullptr) {
        return {};
    }
    alignas(ACL) std::array<std::byte, 512> room{};
    ACL* const list = reinterpret_cast<ACL*>(room.data());
    SECURITY_DESCRIPTOR descriptor{};
    if (::InitializeAcl(list, static_cast<DWORD>(room.size()), ACL_REVISION) == FALSE ||
        ::AddAccessAllowedAce(list, ACL_REVISION, rights, callers) == FALSE ||
        ::AddAccessAllowedAce(list, ACL_REVISION, rights, administrators.Get()) == FALSE ||
        ::AddAccessAllowedAce(list, ACL_REVISION, rights, system.Get()) == FALSE ||
        ::InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION) == FALSE ||
        ::SetSecurityDescriptorOwner(&descriptor, administrators.Get(), FALSE) == FALSE ||
        ::SetSecurityDescriptorGroup(&descriptor, administrators.Get(), FALSE) == FALSE ||
        ::SetSecurityDescriptorDacl(&descriptor, TRUE, list, FALSE) == FALSE) {
        return {};
    }
    DWORD size = 0;
    ::MakeSelfRelativeSD(&descriptor, nullptr, &size);
    std::vector<std::byte> made(size);
    return size != 0 && ::MakeSelfRelativeSD(&descriptor, made.data(), &size) != FALSE ? made
                                                                                       : std::vector<std::byte>();
}

bool RestrictCallers() {
    const std::vector<std::byte> access = MakeAccess(Caller::ThisUser, CallLocally);
    if (access.empty()) {
        return true;
    }
    // COM wants the absolute form.
    std::array<DWORD, 5> sizes{};
    PSECURITY_DESCRIPTOR relative = const_cast<std::byte*>(access.data());
    ::MakeAbsoluteSD(relative, nullptr, &sizes[0], nullptr, &sizes[1], nullptr, &sizes[2], nullptr, &sizes[3], nullptr,
                     &sizes[4]);
    std::array<std::vector<std::byte>, 5> parts;
    for (std::size_t part = 0; part < parts.size(); ++part) {
        parts[part].resize(sizes[part]);
    }
    const auto at = [&](std::size_t part) { return parts[part].empty() ? nullptr : parts[part].data(); };
    if (::MakeAbsoluteSD(relative, at(0), &sizes[0], reinterpret_cast<ACL*>(at(1)), &sizes[1],
                         reinterpret_cast<ACL*>(at(2)), &sizes[2], at(3), &sizes[3], at(4), &sizes[4]) == FALSE) {
        return false;
    }
    return SUCCEEDED(::CoInitializeSecurity(at(0), -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_CONNECT,
                                            RPC_C_IMP_LEVEL_IDENTIFY, nullptr, EOAC_NONE, nullptr));
}

}  // namespace kel::automation
