// The exit code that a summary leads to.
#include <gtest/gtest.h>

#include "frontend/ExitCodes.h"
#include "frontend/Sink.h"

namespace kel::frontend {
namespace {

struct Case {
    bool complete;
    std::int64_t threats;
    std::int64_t unreadable;
    std::int64_t errors;
    ExitCode verdict;
};

class Verdicts : public testing::TestWithParam<Case> {};

TEST_P(Verdicts, FollowFromWhatWasFoundAndWhatCouldNotBeLookedAt) {
    SummaryRecord summary;
    summary.complete = GetParam().complete;
    summary.threats = GetParam().threats;
    summary.unreadable = GetParam().unreadable;
    summary.errors = GetParam().errors;
    EXPECT_EQ(Verdict(summary), GetParam().verdict);
}

INSTANTIATE_TEST_SUITE_P(All, Verdicts,
                         testing::Values(Case{true, 0, 0, 0, ExitClean}, Case{true, 1, 0, 0, ExitThreats},
                                         Case{true, 3, 2, 1, ExitThreats}, Case{true, 0, 1, 0, ExitIncomplete},
                                         Case{true, 0, 0, 1, ExitIncomplete}, Case{false, 0, 0, 0, ExitIncomplete},
                                         Case{false, 1, 0, 0, ExitIncomplete}, Case{false, 0, 1, 1, ExitIncomplete}));

TEST(ExitCode, NumbersAreAnInterface) {
    EXPECT_EQ(int{ExitClean}, 0);
    EXPECT_EQ(int{ExitThreats}, 1);
    EXPECT_EQ(int{ExitIncomplete}, 2);
    EXPECT_EQ(int{ExitUsage}, 64);
    EXPECT_EQ(int{ExitNoInput}, 66);
}

}  // namespace
}  // namespace kel::frontend
