// What transaction logs bring to a hive that was not written to its end.
#include <gtest/gtest.h>

#include "Logs.h"
#include "hive/Marvin32.h"

namespace kel::test {
namespace {

using offline::Hive;
using offline::regf::LogFile;

/// Three states of one hive; the last one is larger by several bins.
struct States {
    Bytes first;
    Bytes second;
    Bytes third;
};

States MakeStates(std::uint32_t minor) {
    States states;
    const auto hive = NewHive(minor);
    Make(*hive, u"A");
    EXPECT_EQ(hive->Commit(), platform::SysError::Success);
    states.first = Written(*hive);
    Make(*hive, u"A\\B");
    states.second = Written(*hive);
    EXPECT_EQ(hive->SetValue(Make(*hive, u"C"), u"v", 3, Pattern(20000)), platform::SysError::Success);
    states.third = Written(*hive);
    return states;
}

std::vector<std::string> ContentOf(const Bytes& bytes) {
    return Content(*ReadHive(bytes));
}

TEST(NewLogs, AnEntryBringsTheHiveToTheStateThatItHolds) {
    const States states = MakeStates(5);
    NewLog log(states.first, 1);
    log.Add(states.first, states.second, 1);
    const auto hive = ReadHive(Dirty(states.first), {{"LOG1", log.Get()}});
    EXPECT_TRUE(hive->Replay().dirty);
    EXPECT_TRUE(hive->Replay().replayed);
    EXPECT_EQ(Content(*hive), ContentOf(states.second));
}

TEST(NewLogs, EntriesThatFollowEachOtherAreAllApplied) {
    const States states = MakeStates(5);
    NewLog log(states.first, 1);
    log.Add(states.first, states.second, 1);
    log.Add(states.second, states.third, 2);
    EXPECT_EQ(Content(*ReadHive(Dirty(states.first), {{"LOG1", log.Get()}})), ContentOf(states.third));
}

TEST(NewLogs, TheSecondLogGoesOnWhereTheFirstEndsInWhateverOrderTheyAreNamed) {
    const States states = MakeStates(5);
    NewLog first(states.first, 1);
    first.Add(states.first, states.second, 1);
    NewLog second(states.second, 2);
    second.Add(states.second, states.third, 2);
    for (const bool swapped : {false, true}) {
        std::vector<LogFile> logs{{"LOG1", first.Get()}, {"LOG2", second.Get()}};
        if (swapped)
            std::swap(logs[0], logs[1]);
        EXPECT_EQ(Content(*ReadHive(Dirty(states.first), logs)), ContentOf(states.third));
    }
}

TEST(NewLogs, ATornEntryEndsTheReplayThere) {
    const States states = MakeStates(5);
    NewLog log(states.first, 1);
    log.Add(states.first, states.second, 1);
    log.Add(states.second, states.third, 2);
    for (const std::size_t byte : {std::size_t{8}, std::size_t{100}, std::size_t{4000}}) {
        Bytes torn = log.Get();
        torn.at(log.LastEntry() + byte) ^= std::byte{0x10};
        EXPECT_EQ(Content(*ReadHive(Dirty(states.first), {{"LOG1", torn}})), ContentOf(states.second)) << byte;
    }
    Bytes cut = log.Get();
    cut.resize(cut.size() - 512);
    EXPECT_EQ(Content(*ReadHive(Dirty(states.first), {{"LOG1", cut}})), ContentOf(states.second));
}

TEST(NewLogs, EntriesOlderThanTheHiveAreLeftOut) {
    const States states = MakeStates(5);
    NewLog log(states.first, 1);
    log.Add(states.first, states.second, 1);
    log.Add(states.second, states.third, 2);
    EXPECT_EQ(Content(*ReadHive(Dirty(states.second, 3), {{"LOG1", log.Get()}})), ContentOf(states.third));
}

TEST(NewLogs, AnEntryThatDoesNotFollowIsNotApplied) {
    const States states = MakeStates(5);
    NewLog log(states.first, 1);
    log.Add(states.first, states.second, 7);
    EXPECT_EQ(Content(*ReadHive(Dirty(states.first), {{"LOG1", log.Get()}})), ContentOf(states.first));
}

TEST(NewLogs, ACleanHiveMakesThemVoid) {
    const States states = MakeStates(5);
    NewLog log(states.first, 1);
    log.Add(states.first, states.second, 1);
    const auto hive = ReadHive(states.first, {{"LOG1", log.Get()}});
    EXPECT_FALSE(hive->Replay().dirty);
    EXPECT_EQ(Content(*hive), ContentOf(states.first));
}

TEST(NewLogs, TheHeaderOfAHiveIsMendedFromThem) {
    const States states = MakeStates(5);
    NewLog log(states.first, 1);
    log.Add(states.first, states.second, 1);
    Bytes broken = Dirty(states.first);
    broken[40] ^= std::byte{0xFF};
    EXPECT_EQ(Content(*ReadHive(broken, {{"LOG1", log.Get()}})), ContentOf(states.second));
}

TEST(NewLogs, EntriesThatLieAboutTheirSizesAreNotBelieved) {
    const States states = MakeStates(5);
    for (const std::size_t field : {std::size_t{16}, std::size_t{20}, std::size_t{40}, std::size_t{44}}) {
        NewLog log(states.first, 1);
        log.Add(states.first, states.second, 1);
        Bytes bytes = log.Get();
        const std::size_t entry = log.LastEntry();
        offline::regf::Store32(bytes.data() + entry + field, 0x7FFFF000);
        const std::span<const std::byte> all = std::span<const std::byte>(bytes).subspan(entry);
        offline::regf::Store64(bytes.data() + entry + 24, offline::regf::Marvin32(all.subspan(40)));
        offline::regf::Store64(bytes.data() + entry + 32, offline::regf::Marvin32(all.first(32)));
        EXPECT_EQ(Content(*ReadHive(Dirty(states.first), {{"LOG1", bytes}})), ContentOf(states.first)) << field;
    }
}

TEST(OldLogs, ALogBringsTheHiveToTheStateThatItHolds) {
    for (const std::uint32_t minor : {1U, 3U, 5U}) {
        const States states = MakeStates(minor);
        const auto hive = ReadHive(Dirty(states.first), {{"LOG", OldLog(states.first, states.third)}});
        EXPECT_TRUE(hive->Replay().replayed);
        EXPECT_EQ(Content(*hive), ContentOf(states.third)) << minor;
    }
}

TEST(OldLogs, ALogOfAnotherStateIsNotApplied) {
    const States states = MakeStates(3);
    Bytes other = states.first;
    offline::regf::BaseBlock base = offline::regf::ParseBaseBlock(other.data());
    base.written += 1;
    StoreBaseBlock(other.data(), base);
    const auto hive = ReadHive(Dirty(states.first), {{"LOG", OldLog(other, states.third)}});
    EXPECT_FALSE(hive->Replay().replayed);
    EXPECT_EQ(Content(*hive), ContentOf(states.first));
    ASSERT_EQ(hive->Replay().notes.size(), 1U);
    EXPECT_NE(hive->Replay().notes[0].find("another state"), std::string::npos) << hive->Replay().notes[0];
}

TEST(OldLogs, ATornLogIsNotAppliedAtAll) {
    const States states = MakeStates(3);
    Bytes log = OldLog(states.first, states.third);
    log.resize(log.size() - 512);
    EXPECT_EQ(Content(*ReadHive(Dirty(states.first), {{"LOG", log}})), ContentOf(states.first));
}

TEST(OldLogs, ALogThatWasNotFinishedIsNotApplied) {
    const States states = MakeStates(3);
    const auto hive = ReadHive(Dirty(states.first), {{"LOG", Dirty(OldLog(states.first, states.third))}});
    EXPECT_FALSE(hive->Replay().replayed);
    EXPECT_EQ(Content(*hive), ContentOf(states.first));
}

TEST(Logs, AnEmptyLogIsNoComplaint) {
    const States states = MakeStates(5);
    const auto hive = ReadHive(Dirty(states.first), {{"LOG1", {}}, {"LOG2", {}}});
    EXPECT_TRUE(hive->Replay().dirty);
    EXPECT_TRUE(hive->Replay().notes.empty());
    EXPECT_EQ(Content(*hive), ContentOf(states.first));
}

}  // namespace
}  // namespace kel::test
