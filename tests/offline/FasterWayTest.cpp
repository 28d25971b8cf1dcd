// Which of two ways to read is taken.
#include "offline/FasterWay.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace kel::test {
namespace {

using offline::FasterWay;
using Way = FasterWay::Way;

constexpr unsigned Depth = 64;
constexpr unsigned Beginning = FasterWay::FilesAtFirst;
constexpr unsigned Slice = FasterWay::FilesInSlice;

class Faster : public ::testing::Test {
protected:
    // Files, each of which takes its way's microseconds.
    std::vector<Way> Files(unsigned count) {
        std::vector<Way> ways;
        for (unsigned file = 0; file < count; ++file) {
            ways.push_back(way.Next());
            way.Read(bytes);
            now += ways.back() == Way::Alone ? alone : beside;
        }
        return ways;
    }
    static unsigned Beside(const std::vector<Way>& ways) {
        return static_cast<unsigned>(std::count(ways.begin(), ways.end(), Way::Beside));
    }

    std::chrono::nanoseconds now{0};
    std::chrono::microseconds alone{4};
    std::chrono::microseconds beside{2};
    std::uint64_t bytes = 1000;
    FasterWay way{[this] { return now; }, Depth};
};

TEST_F(Faster, TheFirstFilesAreReadAlone) {
    EXPECT_EQ(Beside(Files(Beginning)), 0U);
    EXPECT_EQ(way.Next(), Way::Beside);
}

TEST_F(Faster, TheFasterOneStays) {
    Files(Beginning + Depth + Slice);
    EXPECT_EQ(Beside(Files(4 * Slice)), 4 * Slice);
}

TEST_F(Faster, ASlowerOneIsLeft) {
    beside = std::chrono::microseconds(5);
    Files(Beginning + Depth + Slice);
    EXPECT_EQ(Beside(Files(4 * Slice)), 0U);
}

TEST_F(Faster, AGainThatIsNotClearIsNoneWorthAThread) {
    alone = std::chrono::microseconds(40);
    beside = std::chrono::microseconds(38);
    Files(Beginning + Depth + Slice);
    EXPECT_EQ(Beside(Files(4 * Slice)), 0U);
}

TEST_F(Faster, TheOtherOneIsTriedEverMoreRarely) {
    Files(Beginning + Depth + Slice);
    const std::vector<Way> ways = Files(400 * Slice);
    EXPECT_GT(Beside(ways), 395 * Slice);
    EXPECT_LT(Beside(ways), 400 * Slice);
}

TEST_F(Faster, AChangeOfTheMachineIsNoticed) {
    Files(Beginning + Depth + 2 * Slice);
    beside = std::chrono::microseconds(20);
    Files(4 * Slice);
    EXPECT_EQ(Beside(Files(4 * Slice)), 0U);
    beside = std::chrono::microseconds(1);
    Files(2 * FasterWay::MostSlicesUntilTried * Slice);
    EXPECT_GT(Beside(Files(2 * Slice)), Slice);
}

// The first files beside us are opened at once; that they take no time tells nothing.
TEST_F(Faster, FilesThatFillTheWayAreNotTimed) {
    Files(Beginning);
    beside = std::chrono::microseconds(0);
    Files(Depth);
    beside = std::chrono::microseconds(4);
    Files(Slice);
    EXPECT_EQ(way.Next(), Way::Alone);
}

TEST_F(Faster, LargeFilesMayTakeLonger) {
    Files(Beginning);
    bytes = 1'000'000;
    beside = std::chrono::microseconds(150);
    Files(Depth + Slice);
    EXPECT_EQ(way.Next(), Way::Beside);
}

}  // namespace
}  // namespace kel::test
