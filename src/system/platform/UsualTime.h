// What reading takes where nothing is in its way.
#pragma once

#include <cstdint>

namespace kel::platform {

/// Nanoseconds that files from memory take to be opened and read, roughly: a measure for what others took.
constexpr double UsualReadTime(std::uint64_t files, std::uint64_t bytes) {
    return 4000 * static_cast<double>(files) + 0.3 * static_cast<double>(bytes);
}

}  // namespace kel::platform
