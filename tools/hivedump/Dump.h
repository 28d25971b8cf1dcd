// Writes out all of a hive, key after key.
#pragma once

#include <cstdint>
#include <ostream>

#include "hive/Hive.h"

namespace kel::hivedump {

enum class Format { Text, JsonLines };

struct Counts {
    std::uint64_t keys = 0;  ///< the root is one
    std::uint64_t values = 0;
    std::uint64_t tooDeep = 0;  ///< keys that were left out, with what is below them
};

/// Levels of keys below the root that are shown, which are all that Windows can make. A hostile chain of keys would be
/// written with a path that grows with each.
inline constexpr std::uint32_t DeepestLevel = 512;

/// Writes each key, its values behind it, then the keys below it, in the order of the hive; the counts as last line.
/// Data that could not be read whole are shown as far as they go. The damage of `hive` is whole afterwards.
Counts Dump(const offline::Hive& hive, Format format, std::ostream& out);

}  // namespace kel::hivedump
