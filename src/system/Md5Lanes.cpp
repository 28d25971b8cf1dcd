#include "system/Md5Lanes.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace kel {

namespace {

constexpr const char* Variable = "KEL_MD5";

constexpr std::array AllKernels = {
    Md5Kernel{"scalar", 1, md5::TransformScalar},
#if defined(__x86_64__) || defined(__i386__)
    Md5Kernel{"sse2", 8, md5::TransformSse2},
    Md5Kernel{"avx2", 16, md5::TransformAvx2},
    Md5Kernel{"avx512", 32, md5::TransformAvx512},
#endif
};

// How many of the kernels, which are in the order of the processors that brought them, run here. The question takes
// into account whether the system saves the registers.
std::size_t CountRunning() {
    std::size_t running = 1;
#if defined(__x86_64__) || defined(__i386__)
    __builtin_cpu_init();
    running += __builtin_cpu_supports("sse2") != 0 ? 1U : 0U;
    running += running == 2 && __builtin_cpu_supports("avx2") != 0 ? 1U : 0U;
    running += running == 3 && __builtin_cpu_supports("avx512f") != 0 ? 1U : 0U;
#endif
    return running;
}

}  // namespace

std::span<const Md5Kernel> Md5Kernels() {
    static const std::size_t running = CountRunning();
    return std::span(AllKernels).first(running);
}

const Md5Kernel* FindMd5Kernel(const char* name) {
    for (const Md5Kernel& kernel : Md5Kernels()) {
        if (std::string_view(kernel.name) == name) {
            return &kernel;
        }
    }
    return nullptr;
}

const Md5Kernel& ChosenMd5Kernel() {
    const char* const wanted = std::getenv(Variable);
    const Md5Kernel* const kernel = wanted != nullptr ? FindMd5Kernel(wanted) : nullptr;
    return kernel != nullptr ? *kernel : Md5Kernels().back();
}

std::size_t PadMd5Tail(std::byte* tail, std::uint64_t length) {
    const std::size_t held = static_cast<std::size_t>(length % Md5BlockBytes);
    const std::size_t blocks = held < Md5BlockBytes - 8 ? 1 : 2;
    const std::size_t end = blocks * Md5BlockBytes - 8;
    tail[held] = std::byte{0x80};
    std::memset(tail + held + 1, 0, end - held - 1);
    const std::uint64_t bits = length * 8;
    for (std::size_t i = 0; i < 8; ++i) {
        tail[end + i] = static_cast<std::byte>(bits >> (8 * i));
    }
    return blocks;
}

}  // namespace kel
