// Whether the files of a scan come from a slow medium, so that they are worth asking for early.
#pragma once

#include <chrono>
#include <cstdint>

#include "platform/Files.h"

namespace kel {

/// Judges by the files themselves, all the time, because a part of a disk can be in memory. Where the platform can tell
/// whether a file is, one that isn't makes the medium slow at once, and a run of files that are makes it fast again.
/// Elsewhere the time of reading decides.
class MediumSpeed {
public:
    using Time = std::chrono::steady_clock;

    /// Whether the files of the near future should be opened early.
    [[nodiscard]] bool IsSlow() const { return slowFor_ > 0; }
    /// Judges a file that was just opened and not read yet, and counts it.
    /// @return whether it is worth asking for
    bool IsWorthAsking(platform::AheadFile& file);
    /// Whether it wants to know how long the reading of the next file that was not asked for takes; counts that file.
    bool WantsTime();
    /// @param bytes that were read
    void Took(Time::duration time, std::uint64_t bytes);

private:
    bool platformTells_ = true;
    unsigned passedOver_ = 0;  // files until one is looked at again
    unsigned slowFor_ = 0;     // files

    // By time.
    bool judgedFast_ = false;
    unsigned readFiles_ = 0;
    unsigned slowFiles_ = 0;
};

}  // namespace kel
