// A set of small numbers as one bit each.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kel::offline::regf {

/// Grows on Set; a number that was never set is not in it.
class Bits {
public:
    void Reserve(std::size_t count) { words_.resize((count + 63) / 64); }
    [[nodiscard]] bool Test(std::size_t number) const noexcept {
        return number / 64 < words_.size() && (words_[number / 64] >> (number % 64) & 1U) != 0;
    }
    void Set(std::size_t number) {
        if (number / 64 >= words_.size())
            words_.resize(number / 64 + 1);
        words_[number / 64] |= std::uint64_t{1} << (number % 64);
    }
    void Clear(std::size_t number) noexcept {
        if (number / 64 < words_.size())
            words_[number / 64] &= ~(std::uint64_t{1} << (number % 64));
    }
    /// The largest number in the set that is below `number` and at least `least`; `number` when there is none.
    [[nodiscard]] std::size_t Before(std::size_t number, std::size_t least) const noexcept {
        for (std::size_t at = number; at > least;) {
            const std::uint64_t word = (at - 1) / 64 < words_.size() ? words_[(at - 1) / 64] : 0;
            const std::size_t bits = (at - 1) % 64 + 1;
            const std::uint64_t low = bits == 64 ? word : word & ((std::uint64_t{1} << bits) - 1);
            if (low != 0) {
                const std::size_t found = (at - 1) / 64 * 64 + 63 - static_cast<std::size_t>(__builtin_clzll(low));
                return found >= least ? found : number;
            }
            at = (at - 1) / 64 * 64;
        }
        return number;
    }
    [[nodiscard]] bool Empty() const noexcept { return words_.empty(); }
    void Reset() noexcept { words_ = {}; }

private:
    std::vector<std::uint64_t> words_;
};

}  // namespace kel::offline::regf
