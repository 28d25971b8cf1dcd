// Transaction logs made for tests, as Windows would leave them beside a hive that was not written to its end.
#pragma once

#include "HiveFixture.h"

namespace kel::test {

/// The hive as it lies when a write to it began and did not end: its counters differ. `sequence` is the one that the
/// write would have ended with.
[[nodiscard]] Bytes Dirty(Bytes clean, std::uint32_t sequence = 2);

/// A log of Windows up to 8 with what differs between two states of a hive; the time is that of `before`.
[[nodiscard]] Bytes OldLog(const Bytes& before, const Bytes& after);

/// A log of Windows since 8.1; entries are added one after the other.
class NewLog {
public:
    explicit NewLog(const Bytes& hive, std::uint32_t sequence);
    /// Adds what differs between two states as the entry of that number.
    void Add(const Bytes& before, const Bytes& after, std::uint32_t sequence);
    [[nodiscard]] const Bytes& Get() const { return bytes_; }
    /// The position of the entry that was added last.
    [[nodiscard]] std::size_t LastEntry() const { return last_; }

private:
    Bytes bytes_;
    std::size_t last_ = 0;
};

}  // namespace kel::test
