// When the next files of a scan are asked for early.
#include "system/MediumSpeed.h"

#include <gtest/gtest.h>

#include <optional>
#include <span>

namespace kel::test {
namespace {

using std::chrono::microseconds;

class File : public platform::AheadFile {
public:
    explicit File(std::optional<bool> inMemory) : inMemory_(inMemory) {}
    std::size_t Read(std::span<std::byte>) override { return 0; }
    void WillBeRead() override {}
    std::optional<bool> InMemory() override {
        ++looks;
        return inMemory_;
    }
    int looks = 0;

private:
    std::optional<bool> inMemory_;
};

class SpeedByTheSystem : public ::testing::Test {
protected:
    // How many of so many files were worth asking for.
    int Ask(File& file, int times) {
        int worth = 0;
        for (int i = 0; i < times; ++i) {
            worth += speed.IsWorthAsking(file) ? 1 : 0;
        }
        return worth;
    }
    MediumSpeed speed;
    File there{true};
    File away{false};
};

TEST_F(SpeedByTheSystem, TheFirstFileThatIsNotInMemoryMakesTheMediumSlow) {
    EXPECT_FALSE(speed.IsSlow());
    EXPECT_TRUE(speed.IsWorthAsking(away));
    EXPECT_TRUE(speed.IsSlow());
}

TEST_F(SpeedByTheSystem, FewFilesInMemoryAreLookedAt) {
    EXPECT_EQ(Ask(there, 800), 0);
    EXPECT_EQ(there.looks, 100);
    EXPECT_FALSE(speed.IsSlow());
}

TEST_F(SpeedByTheSystem, AMediumThatGetsSlowIsNoticedWithinEightFiles) {
    Ask(there, 801);
    EXPECT_EQ(Ask(away, 7), 0);
    EXPECT_EQ(Ask(away, 1), 1);
}

TEST_F(SpeedByTheSystem, OfASlowMediumEachFileIsLookedAtAndOnlyThoseNotInMemoryAreAskedFor) {
    Ask(away, 1);
    EXPECT_EQ(Ask(there, 100), 0);
    EXPECT_EQ(there.looks, 100);
    EXPECT_EQ(Ask(away, 100), 100);
    EXPECT_TRUE(speed.IsSlow());
}

TEST_F(SpeedByTheSystem, ALongRunOfFilesInMemoryMakesItFastAgain) {
    Ask(away, 5000);
    Ask(there, 255);
    EXPECT_TRUE(speed.IsSlow());
    Ask(there, 1);
    EXPECT_FALSE(speed.IsSlow());
}

TEST_F(SpeedByTheSystem, NoTimeIsWanted) {
    Ask(there, 1);
    EXPECT_FALSE(speed.WantsTime());
}

class SpeedByTime : public ::testing::Test {
protected:
    SpeedByTime() { EXPECT_FALSE(speed.IsWorthAsking(silent)); }
    // What is timed of so many files, each of which takes that long.
    int Read(int files, microseconds each) {
        int timed = 0;
        for (int i = 0; i < files; ++i) {
            if (speed.WantsTime()) {
                speed.Took(each, 1000);
                ++timed;
            }
        }
        return timed;
    }
    MediumSpeed speed;
    File silent{std::nullopt};
};

TEST_F(SpeedByTime, AThirdOfSlowFilesMakesTheMediumSlow) {
    Read(22, microseconds(3));
    Read(9, microseconds(200));
    EXPECT_FALSE(speed.IsSlow());
    Read(1, microseconds(200));
    EXPECT_TRUE(speed.IsSlow());
    EXPECT_TRUE(speed.IsWorthAsking(silent));
}

TEST_F(SpeedByTime, AFewSlowFilesDoNot) {
    Read(23, microseconds(3));
    Read(9, microseconds(200));
    EXPECT_FALSE(speed.IsSlow());
    EXPECT_FALSE(speed.IsWorthAsking(silent));
}

TEST_F(SpeedByTime, OfAFastMediumEveryEighthFileIsTimed) {
    EXPECT_EQ(Read(32, microseconds(3)), 32);
    EXPECT_EQ(Read(800, microseconds(3)), 100);
}

TEST_F(SpeedByTime, ASlowMediumIsJudgedAgainAfterFourThousandFiles) {
    Read(32, microseconds(200));
    for (int i = 0; i < 4096; ++i) {
        EXPECT_TRUE(speed.IsWorthAsking(silent));
    }
    EXPECT_FALSE(speed.IsSlow());
    EXPECT_EQ(silent.looks, 1);
}

TEST_F(SpeedByTime, APlatformThatTellsNoMoreIsTimedFromThenOn) {
    MediumSpeed other;
    File away(false);
    EXPECT_TRUE(other.IsWorthAsking(away));
    EXPECT_TRUE(other.IsWorthAsking(silent));
    EXPECT_TRUE(other.WantsTime());
}

}  // namespace
}  // namespace kel::test
