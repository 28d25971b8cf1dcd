// Cleans, restores and removals for good that end at every single change of the disk.
#include <gmock/gmock.h>

#include <set>

#include "CutMachine.h"
#include "LossTable.h"

namespace kel::test {
namespace {

using ::testing::IsEmpty;

constexpr std::uint64_t Never = ~std::uint64_t{0};

class CutShort : public CutMachine {
protected:
    // Cuts the work at each step. Behind each cut all is restored that is on record, and whatever is then neither as it
    // was nor as the rules restore it behind whole work must be a loss that the table names.
    void CutEverywhere(const std::string& operation, const Work& work, bool onlyEarlier = false) {
        LossTable table;
        const States before = before_;
        Reset();
        ASSERT_TRUE(DoUntil(Never, work));
        Do(RestoreAll);
        const States whole = Now();
        std::uint64_t step = 1;
        for (bool finished = false; !finished; ++step) {
            ASSERT_LT(step, 5000U) << "the work has no end";
            Reset();
            finished = DoUntil(step, work);
            const Saved saved = Stores();
            const std::string when = saved == Saved::NotBegun ? "before the save"
                                     : saved == Saved::Partly ? "during the save"
                                                              : "after the save";
            std::set<std::string> held;
            for (const auto& [name, state] : before) {
                if (QuarantineHolds(state)) {
                    held.insert(name);
                }
            }
            Do(RestoreAll);
            for (const auto& [name, state] : Now()) {
                if (state == before.at(name) || (onlyEarlier && !name.starts_with(EarlierItem)) ||
                    (state == whole.at(name) && (operation != "clean" || IsByTheRules(saved, state)))) {
                    continue;
                }
                EXPECT_TRUE(table.Names(operation, when, name))
                    << operation << ", " << when << ", step " << step << ": " << name << " is " << state;
                if (table.BytesAreLeft(operation, when, name)) {
                    EXPECT_TRUE(held.contains(name)) << when << ", step " << step << ": " << name;
                }
            }
        }
        EXPECT_GT(step, 40U) << "too few for a whole one";
        EXPECT_THAT(table.NotMet(operation), IsEmpty()) << "losses that never came";
    }
    // Whether, in a clean, a state as behind a whole clean and restore is no loss of the cut: it is that of a record
    // that was read.
    static bool IsByTheRules(Saved saved, const std::string& state) {
        return saved == Saved::Whole || (saved == Saved::Partly && state != Absent);
    }
    void Prepare() {
        before_ = Now();
        Do([] { Clean(EarlierThreat); });
        Keep();
    }

    States before_;
};

TEST_P(CutShort, AWholeCleanTakesEverythingAway) {
    Prepare();
    ASSERT_TRUE(DoUntil(Never, [] { Clean(Threat); }));
    EXPECT_EQ(Stores(), Saved::Whole);
    for (const auto& [name, state] : Now()) {
        // What a line of an ini file starts stays for the next clean.
        EXPECT_EQ(state != before_.at(name), name != "program of an ini file") << name << " is " << state;
    }
}

TEST_P(CutShort, ACleanLeavesEverythingInPlaceOrOnRecord) {
    Prepare();
    CutEverywhere("clean", [] { Clean(Threat); });
}

TEST_P(CutShort, ARestoreLeavesEverythingInPlaceOrOnRecord) {
    Prepare();
    Do([] { Clean(Threat); });
    Keep();
    CutEverywhere("restore", [] { Restore(Threat); });
}

TEST_P(CutShort, RemovingAThreatForGoodLeavesTheOthersOnRecord) {
    Prepare();
    Do([] { Clean(Threat); });
    Keep();
    CutEverywhere(
        "destroy", [] { Destroy(Threat); }, true);
}

INSTANTIATE_TEST_SUITE_P(Offline, CutShort, testing::Values(Shape::WindowsDisk, Shape::WinePrefix),
                         [](const auto& shape) {
                             return shape.param == Shape::WindowsDisk ? "WindowsDisk" : "WinePrefix";
                         });

}  // namespace
}  // namespace kel::test
