// Tokens and their groups.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/Result.h"

namespace kel::platform {

/// A security identifier in its binary form.
using Sid = std::vector<std::byte>;

/// One group of a token.
struct TokenGroup {
    Sid sid;
    std::uint32_t attributes = 0;
};

/// An open access token. Closed by its destructor.
class Token {
public:
    virtual ~Token() = default;
    /// GetTokenInformation with TokenGroups, a null buffer: the bytes needed, 0 when it can't be told.
    virtual std::uint32_t GroupsSize() = 0;
    /// GetTokenInformation with TokenGroups into a buffer of that size.
    virtual Result<std::vector<TokenGroup>> Groups() = 0;
};

/// Rights of the own process. Never throws.
class Rights {
public:
    virtual ~Rights() = default;
    /// OpenThreadToken on the calling thread, as itself, for query (access 8). NoToken without impersonation.
    virtual Result<std::unique_ptr<Token>> OpenThreadToken() = 0;
    /// OpenProcessToken on the own process for query (access 8).
    virtual Result<std::unique_ptr<Token>> OpenProcessToken() = 0;
    /// AllocateAndInitializeSid: authority 0 to 255 as its last byte, and its sub-authorities, at most 8.
    virtual Result<Sid> MakeSid(std::uint8_t authority, const std::vector<std::uint32_t>& subAuthorities) = 0;
    /// IsValidSid.
    virtual bool IsValidSid(const Sid& sid) = 0;
    /// EqualSid.
    virtual bool EqualSid(const Sid& left, const Sid& right) = 0;
};

}  // namespace kel::platform
