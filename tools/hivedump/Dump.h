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
};

/// Writes each key, its values behind it, then the keys below it, in the order of the hive; the counts as last line.
/// Data that could not be read whole are shown as far as they go. The damage of `hive` is whole afterwards.
Counts Dump(const offline::Hive& hive, Format format, std::ostream& out);

}  // namespace kel::hivedump
