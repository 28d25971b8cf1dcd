// MD5 of many texts at once: one text in each lane of the processor's vectors.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "system/Md5.h"

namespace kel {

/// Bytes that MD5 takes in at a time.
constexpr std::size_t Md5BlockBytes = 64;
/// Most lanes of any kernel.
constexpr std::size_t MaxMd5Lanes = 32;

/// One way of digesting, for one kind of processor.
struct Md5Kernel {
    const char* name;   ///< "scalar", "sse2", "avx2", "avx512": what KEL_MD5 says
    std::size_t lanes;  ///< texts at a time, at most MaxMd5Lanes
    /// Takes in `blocks` blocks of every lane.
    /// @param state four rows of `lanes` numbers: the states of all lanes, on a boundary of 64 bytes
    /// @param data `lanes` pointers, each to at least 64 * blocks bytes on any boundary; lanes may share bytes
    void (*transform)(std::uint32_t* state, const std::byte* const* data, std::size_t blocks);
};

/// The kernels that this processor runs, slowest first; "scalar" always is the first.
[[nodiscard]] std::span<const Md5Kernel> Md5Kernels();

/// The kernel of that name. Null when it is unknown or this processor lacks it.
[[nodiscard]] const Md5Kernel* FindMd5Kernel(const char* name);

/// The kernel that the environment variable KEL_MD5 names, else the fastest one. The variable is read at every call.
[[nodiscard]] const Md5Kernel& ChosenMd5Kernel();

/// What stands behind the last whole block of a text: its remaining bytes, a one bit, zeros, and its length.
/// @param tail the `length % 64` remaining bytes, on in place for at least 128 bytes in all
/// @return how many blocks that makes, 1 or 2
std::size_t PadMd5Tail(std::byte* tail, std::uint64_t length);

/// The state before the first block.
constexpr std::uint32_t Md5Start[4] = {0x67452301U, 0xefcdab89U, 0x98badcfeU, 0x10325476U};

namespace md5 {

// The kernels, each in a unit that is compiled for its processor.
void TransformScalar(std::uint32_t* state, const std::byte* const* data, std::size_t blocks);
void TransformSse2(std::uint32_t* state, const std::byte* const* data, std::size_t blocks);
void TransformAvx2(std::uint32_t* state, const std::byte* const* data, std::size_t blocks);
void TransformAvx512(std::uint32_t* state, const std::byte* const* data, std::size_t blocks);

}  // namespace md5

}  // namespace kel
