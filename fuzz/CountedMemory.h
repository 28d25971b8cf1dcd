// Counts what the heap holds, so that a fuzz target can say how much memory an input may take.
#pragma once

#include <sanitizer/allocator_interface.h>

#include <algorithm>
#include <cstddef>

namespace kel::fuzz {

/// Bytes that the heap of this program holds now, and the most that it held since Begin.
class HeapCount {
public:
    /// From here on. The first call begins the counting.
    static void Begin() {
        static const int hooks = __sanitizer_install_malloc_and_free_hooks(&Taken, &Given);
        static_cast<void>(hooks);
        live = peak = 0;
    }
    /// The most that was held beyond what Begin found.
    [[nodiscard]] static std::size_t Used() { return peak > 0 ? static_cast<std::size_t>(peak) : 0; }

private:
    static void Taken(const volatile void* /*memory*/, std::size_t size) {
        live += static_cast<std::ptrdiff_t>(size);
        peak = std::max(peak, live);
    }
    static void Given(const volatile void* memory) {
        live -= static_cast<std::ptrdiff_t>(__sanitizer_get_allocated_size(memory));
    }

    inline static std::ptrdiff_t live = 0;
    inline static std::ptrdiff_t peak = 0;
};

}  // namespace kel::fuzz
