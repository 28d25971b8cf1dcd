#include "offline/FasterWay.h"

#include <algorithm>

#include "platform/UsualTime.h"

namespace kel::offline {

namespace {

// A gain that is worth the kernel's thread.
constexpr double Clearly = 0.9;

FasterWay::Way Other(FasterWay::Way way) {
    return way == FasterWay::Way::Alone ? FasterWay::Way::Beside : FasterWay::Way::Alone;
}

}  // namespace

FasterWay::Way FasterWay::Next() {
    if (files_ == untimed_ + length_) {
        EndSlice();
    }
    if (files_ == untimed_) {
        began_ = clock_();
        bytes_ = 0;
    }
    ++files_;
    return way_;
}

FasterWay::Way FasterWay::Better() {
    if (CostOf(Way::Beside) == 0) {
        return Way::Beside;  // nothing is known of it
    }
    return CostOf(Way::Beside) < CostOf(Way::Alone) * Clearly ? Way::Beside : Way::Alone;
}

void FasterWay::EndSlice() {
    const std::chrono::duration<double, std::nano> took = clock_() - began_;
    // Slices of other files can be compared so.
    const double cost = took.count() / platform::UsualReadTime(length_, bytes_);
    double& known = CostOf(way_);
    known = known == 0 ? cost : (3 * known + cost) / 4;

    const Way before = std::exchange(better_, Better());
    if (better_ != before) {
        patience_ = SlicesUntilTried;
        waited_ = 0;
    }
    Way next = better_;
    if (++waited_ > patience_) {
        next = Other(better_);
        patience_ = std::min(patience_ * 4, MostSlicesUntilTried);
        waited_ = 0;
    }
    untimed_ = next == Way::Beside && way_ == Way::Alone ? depth_ : 0;
    way_ = next;
    length_ = FilesInSlice;
    files_ = 0;
}

}  // namespace kel::offline
