// Ends this process at a change of the disk, as a cut of the power would.
#pragma once

#include <cstdint>

namespace kel::test::killSwitch {

/// Exit code of a process that was ended.
inline constexpr int Killed = 137;

/// From now on every call that changes a file or a folder of the host is two steps: the moment before it and the moment
/// behind it. At the step of that number, counted from 1, the process is gone: nothing is closed, flushed or put right.
/// A step beyond the last one never comes.
void Arm(std::uint64_t step);

}  // namespace kel::test::killSwitch
