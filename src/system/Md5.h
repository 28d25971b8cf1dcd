// The MD5 message digest (RFC 1321).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace kel {

using Md5Digest = std::array<std::uint8_t, 16>;

/// One digest in the making.
class Md5 {
public:
    /// Takes in further bytes.
    void Update(std::span<const std::byte> bytes);
    /// The digest of all bytes taken in. The object is used up by it.
    [[nodiscard]] Md5Digest Finish();

private:
    std::array<std::uint32_t, 4> state_{0x67452301U, 0xefcdab89U, 0x98badcfeU, 0x10325476U};
    std::uint64_t length_ = 0;
    std::array<std::byte, 64> pending_{};
};

/// 32 lower-case hexadecimal digits.
std::string HexText(const Md5Digest& digest);

}  // namespace kel
