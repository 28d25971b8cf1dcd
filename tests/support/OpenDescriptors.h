// How many descriptors this process has open.
#pragma once

#include <cstddef>
#include <filesystem>
#include <iterator>

namespace kel::test {

/// Of a host that lists them, which Linux is; the one for the listing is among them.
inline std::size_t OpenDescriptors() {
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator()));
}

}  // namespace kel::test
