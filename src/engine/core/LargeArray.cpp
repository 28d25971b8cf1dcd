#include "core/LargeArray.h"

#include <cstdint>
#include <new>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace kel {

#ifdef __linux__

namespace {

constexpr std::size_t LargePage = std::size_t{2} * 1024 * 1024;

}  // namespace

LargeBlock::LargeBlock(std::size_t bytes) {
    if (bytes < 2 * LargePage) {
        start_ = std::unique_ptr<void, LargeBlockRelease>(::operator new(bytes), LargeBlockRelease{});
        return;
    }
    // Room to begin at a large page; what is never touched takes no memory.
    const std::size_t reserved = bytes + LargePage;
    void* const mapped =
        mmap(nullptr, reserved, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapped == MAP_FAILED) {
        throw std::bad_alloc();
    }
    const auto first = reinterpret_cast<std::uintptr_t>(mapped);
    const std::uintptr_t begin = (first + LargePage - 1) / LargePage * LargePage;
    const std::uintptr_t end = first + reserved;
    if (begin > first) {
        munmap(mapped, begin - first);
    }
    void* const start = static_cast<std::byte*>(mapped) + (begin - first);
    // Only what fills large pages whole: the rest would take a whole one.
    static_cast<void>(madvise(start, bytes / LargePage * LargePage, MADV_HUGEPAGE));
    start_ = std::unique_ptr<void, LargeBlockRelease>(start, LargeBlockRelease{end - begin});
}

void LargeBlockRelease::operator()(void* start) const noexcept {
    if (mapped == 0) {
        ::operator delete(start);
    } else {
        munmap(start, mapped);
    }
}

#else

LargeBlock::LargeBlock(std::size_t bytes) : start_(::operator new(bytes), LargeBlockRelease{}) {
}

void LargeBlockRelease::operator()(void* start) const noexcept {
    ::operator delete(start);
}

#endif

}  // namespace kel
