#include "system/MediumSpeed.h"

#include "platform/UsualTime.h"

namespace kel {

namespace {

// A look at a file, or at the time, costs more than a hundredth of a small file, so that of a fast medium's files few
// are looked at.
constexpr unsigned PassedOverWhenFast = 7;

// Where the platform tells.
constexpr unsigned SlowForFiles = 256;

// By time: a slow medium takes many times what memory does. It is slow if many of its files are: a single one may have
// waited for the processor.
constexpr unsigned FilesToJudge = 32;
constexpr unsigned ManyAreSlow = FilesToJudge / 3;
constexpr unsigned FilesUntilJudgedAgain = 4096;
constexpr double SlowIsTimes = 6;

}  // namespace

bool MediumSpeed::IsWorthAsking(platform::AheadFile& file) {
    if (!platformTells_) {
        if (slowFor_ == 0) {
            return false;
        }
        --slowFor_;
        return true;
    }
    if (slowFor_ == 0 && passedOver_ > 0) {
        --passedOver_;
        return false;
    }
    const auto inMemory = file.InMemory();
    if (!inMemory) {
        platformTells_ = false;
        passedOver_ = 0;
        return slowFor_ > 0;
    }
    passedOver_ = PassedOverWhenFast;
    if (!*inMemory) {
        slowFor_ = SlowForFiles;
    } else if (slowFor_ > 0) {
        --slowFor_;
    }
    return !*inMemory;
}

bool MediumSpeed::WantsTime() {
    if (platformTells_) {
        return false;
    }
    if (passedOver_ > 0) {
        --passedOver_;
        return false;
    }
    passedOver_ = judgedFast_ ? PassedOverWhenFast : 0;
    return true;
}

void MediumSpeed::Took(Time::duration time, std::uint64_t bytes) {
    const std::chrono::duration<double, std::nano> took = time;
    slowFiles_ += took.count() > SlowIsTimes * platform::UsualReadTime(1, bytes) ? 1 : 0;
    if (++readFiles_ < FilesToJudge) {
        return;
    }
    slowFor_ = slowFiles_ >= ManyAreSlow ? FilesUntilJudgedAgain : 0;
    judgedFast_ = slowFor_ == 0;
    passedOver_ = judgedFast_ ? PassedOverWhenFast : 0;
    readFiles_ = 0;
    slowFiles_ = 0;
}

}  // namespace kel
