// Which of two ways to read files is the faster one just now.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>

namespace kel::offline {

/// Files can be opened and read one after the other, or beside us. Which one is faster depends on the medium and on
/// what else the machine does: on a busy one the kernel's thread and ours wait for each other. So files are timed in
/// slices, the way that took less is taken for the next one, and the other one is tried again ever more rarely.
class FasterWay {
public:
    enum class Way : std::uint8_t { Alone, Beside };
    using Clock = std::function<std::chrono::nanoseconds()>;

    /// @param depth files that may be under way beside us: the first ones of that way tell nothing of its speed
    FasterWay(Clock clock, unsigned depth) : clock_(std::move(clock)), depth_(depth) {}

    /// The way for the next file.
    Way Next();
    /// Bytes of a file were read, by either way.
    void Read(std::uint64_t bytes) { bytes_ += bytes; }

    static constexpr unsigned FilesAtFirst = 512;
    static constexpr unsigned FilesInSlice = 1024;
    static constexpr unsigned SlicesUntilTried = 8;
    static constexpr unsigned MostSlicesUntilTried = 128;

private:
    void EndSlice();
    [[nodiscard]] double& CostOf(Way way) { return costs_[static_cast<std::size_t>(way)]; }
    [[nodiscard]] Way Better();

    Clock clock_;
    unsigned depth_;
    std::array<double, 2> costs_{};  // of the last slices, the older the less; 0 when there were none
    Way better_ = Way::Alone;
    unsigned patience_ = SlicesUntilTried;
    unsigned waited_ = 0;  // slices since the other way was tried

    // The present slice.
    Way way_ = Way::Alone;
    unsigned untimed_ = 0;
    unsigned length_ = FilesAtFirst;
    unsigned files_ = 0;
    std::uint64_t bytes_ = 0;
    std::chrono::nanoseconds began_{};
};

}  // namespace kel::offline
