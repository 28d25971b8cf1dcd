// A millisecond counter that does not begin again, on every version of the system.
#pragma once

#include <cstdint>

namespace kel::windows {

/// Milliseconds since the system started. Never goes back if it is asked at least every 49 days.
std::uint64_t TickCount();

}  // namespace kel::windows
