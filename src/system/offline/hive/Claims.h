// Who refers to which cell. In a sound hive every cell is referred to once (descriptors apart); in a hostile one lists
// form rings, and thousands of keys share one list, so that a walk never ends or its output has no bounds.
#pragma once

#include <cstddef>
#include <cstdint>

#include "hive/Bits.h"

namespace kel::offline::regf {

/// Remembers the first reference to each cell. A second one is refused, or paid for from a budget in proportion to
/// the size of the hive, depending on what a repeated reading costs. A reference is known by the offset at which
/// it is stored, so that asking about it again gives the same answer.
class Claims {
public:
    static constexpr std::uint64_t Never = ~std::uint64_t{0};

    struct Answer {
        bool allowed = true;
        bool first = false;  ///< nobody asked about this reference before: the time to report damage
    };

    void Start(std::size_t binsSize);
    /// The reference stored at the offset `at` (a multiple of 4) to `cell`; `cost` are the bytes that reading the cell
    /// once more gives, or Never when it must not be read twice.
    [[nodiscard]] Answer Refer(std::uint32_t at, std::uint32_t cell, std::uint64_t cost);
    /// The root, which no key may list.
    void ClaimRoot(std::uint32_t cell) { claimed_.Set(cell / 8); }

    /// New records begin to live between two offsets: references that are stored there were never refused.
    void Renew(std::uint32_t begin, std::uint32_t end) noexcept {
        for (std::uint32_t at = begin; !refused_.Empty() && at < end; at += 4)
            refused_.Clear(at / 4);
        for (std::uint32_t cell = begin; !shared_.Empty() && cell < end; cell += 8)
            shared_.Clear(cell / 8);
    }
    /// Ends the taking of claims, when the whole hive has been walked: what was refused stays refused, everything else
    /// is allowed. From then on references may move.
    void Freeze() { frozen_ = true; }
    [[nodiscard]] bool Frozen() const noexcept { return frozen_; }
    /// Whether more than one reference to the cell was allowed or refused: it is never freed nor changed in place.
    [[nodiscard]] bool Shared(std::uint32_t cell) const noexcept { return shared_.Test(cell / 8); }

private:
    Bits asked_;
    Bits claimed_;
    Bits refused_;
    Bits shared_;
    std::uint64_t budget_ = 0;
    bool frozen_ = false;
};

}  // namespace kel::offline::regf
