// A part of a file or of an image of one.
#pragma once

#include <cstddef>

namespace kel::offline {

struct ByteRange {
    std::size_t offset = 0;
    std::size_t size = 0;
};

}  // namespace kel::offline
