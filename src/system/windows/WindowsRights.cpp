#include "windows/WindowsRights.h"

#include <windows.h>

#include <algorithm>
#include <array>

#include "windows/Win32.h"

namespace kel::windows {

namespace {

using platform::Result;
using platform::Sid;
using platform::SysError;
using platform::TokenGroup;

constexpr std::size_t MostSubAuthorities = 8;

struct SidPolicy {
    using Handle = PSID;
    static Handle Invalid() { return nullptr; }
    static void Close(Handle handle) { ::FreeSid(handle); }
};
using OwnedSid = Owned<SidPolicy>;

PSID Pointer(const Sid& sid) {
    // The calls that take it only read.
    return const_cast<std::byte*>(sid.data());
}

Sid Copy(PSID sid) {
    const auto* first = static_cast<const std::byte*>(sid);
    return {first, first + ::GetLengthSid(sid)};
}

class WindowsToken final : public platform::Token {
public:
    explicit WindowsToken(KernelHandle handle) : handle_(std::move(handle)) {}

    std::uint32_t GroupsSize() override {
        DWORD needed = 0;
        ::GetTokenInformation(handle_.Get(), ::TokenGroups, nullptr, 0, &needed);
        return needed;
    }

    Result<std::vector<TokenGroup>> Groups() override {
        DWORD needed = GroupsSize();
        // As 64-bit words, for the alignment of the pointers in it.
        std::vector<std::uint64_t> buffer(needed / sizeof(std::uint64_t) + 1);
        if (::GetTokenInformation(handle_.Get(), ::TokenGroups, buffer.data(), needed, &needed) == FALSE) {
            return LastError();
        }
        const auto* groups = reinterpret_cast<const TOKEN_GROUPS*>(buffer.data());
        std::vector<TokenGroup> copies;
        for (DWORD index = 0; index < groups->GroupCount; ++index) {
            const SID_AND_ATTRIBUTES& group = groups->Groups[index];
            copies.push_back({Copy(group.Sid), group.Attributes});
        }
        return copies;
    }

private:
    KernelHandle handle_;
};

Result<std::unique_ptr<platform::Token>> Owner(BOOL opened, KernelHandle handle) {
    if (opened == FALSE) {
        return LastError();
    }
    return std::unique_ptr<platform::Token>(std::make_unique<WindowsToken>(std::move(handle)));
}

}  // namespace

Result<std::unique_ptr<platform::Token>> WindowsRights::OpenThreadToken() {
    KernelHandle token;
    const BOOL opened = ::OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY, TRUE, token.Out());
    return Owner(opened, std::move(token));
}

Result<std::unique_ptr<platform::Token>> WindowsRights::OpenProcessToken() {
    KernelHandle token;
    const BOOL opened = ::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, token.Out());
    return Owner(opened, std::move(token));
}

Result<Sid> WindowsRights::MakeSid(std::uint8_t authority, const std::vector<std::uint32_t>& subAuthorities) {
    if (subAuthorities.size() > MostSubAuthorities) {
        return static_cast<SysError>(ERROR_INVALID_SID);
    }
    SID_IDENTIFIER_AUTHORITY identifier{{0, 0, 0, 0, 0, authority}};
    std::array<DWORD, MostSubAuthorities> subs{};
    std::copy(subAuthorities.begin(), subAuthorities.end(), subs.begin());
    OwnedSid sid;
    if (::AllocateAndInitializeSid(&identifier, static_cast<BYTE>(subAuthorities.size()), subs[0], subs[1], subs[2],
                                   subs[3], subs[4], subs[5], subs[6], subs[7], sid.Out()) == FALSE) {
        return LastError();
    }
    return Copy(sid.Get());
}

bool WindowsRights::IsValidSid(const Sid& sid) {
    constexpr std::size_t countOffset = 1;
    // The call trusts the count of sub-authorities in the structure.
    return sid.size() > countOffset && sid.size() >= ::GetSidLengthRequired(std::to_integer<UCHAR>(sid[countOffset])) &&
           ::IsValidSid(Pointer(sid)) != FALSE;
}

bool WindowsRights::EqualSid(const Sid& left, const Sid& right) {
    return IsValidSid(left) && IsValidSid(right) && ::EqualSid(Pointer(left), Pointer(right)) != FALSE;
}

}  // namespace kel::windows
