// Changes of a hive, on every version and in every form of list.
#include <gtest/gtest.h>

#include <algorithm>

#include "HiveFixture.h"
#include "Oracles.h"
#include "hive/NewHive.h"

namespace kel::test {
namespace {

using offline::Hive;
using offline::KeyId;
using offline::NoKey;
using offline::regf::HasTag;
using offline::regf::Load16;
using offline::regf::Load32;
using platform::SysError;
namespace nk = offline::regf::nk;
namespace sk = offline::regf::sk;
namespace vk = offline::regf::vk;

class EveryVersion : public testing::TestWithParam<std::uint32_t> {
protected:
    std::unique_ptr<Hive> hive = NewHive(GetParam());
    /// What is read again of what is written now.
    [[nodiscard]] std::vector<std::string> WrittenContent() const { return Content(*ReadHive(Written(*hive))); }
};
INSTANTIATE_TEST_SUITE_P(Minor, EveryVersion, testing::Values(1U, 2U, 3U, 4U, 5U, 6U));

TEST_P(EveryVersion, ANewHiveHasARootAndNothingElse) {
    EXPECT_EQ(Content(*hive), (std::vector<std::string>{"\\ class "}));
    EXPECT_EQ(hive->KeyName(hive->Root()), u"ROOT");
    EXPECT_EQ(hive->Minor(), GetParam());
    hive->Reader().ReadAll();
    EXPECT_EQ(hive->Damage().Count(), 0U);
}

TEST_P(EveryVersion, ValuesOfEverySizeComeBackAsTheyWere) {
    std::vector<std::string> expected{"\\ class "};
    for (const std::size_t size : {0U, 1U, 3U, 4U, 5U, 8U, 100U, 16343U, 16344U, 16345U, 32688U, 32689U, 100000U}) {
        const std::string name = "v" + std::to_string(size);
        ASSERT_EQ(hive->SetValue(hive->Root(), std::u16string(name.begin(), name.end()), 3, Pattern(size)),
                  SysError::Success);
        expected.push_back("\\ value " + name + " type 3 data " + Hex(Pattern(size)));
    }
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(Difference(WrittenContent(), expected), "");
}

TEST_P(EveryVersion, LargeDataLieInSegmentsOnlyWhereTheVersionHasThem) {
    ASSERT_EQ(hive->SetValue(hive->Root(), u"big", 3, Pattern(50000)), SysError::Success);
    std::vector<std::uint32_t> values;
    hive->Reader().Values(hive->Root(), values);
    const std::uint32_t data = Load32(hive->Reader().Record(values.at(0)) + vk::DataAt);
    const bool segments = HasTag(hive->Reader().Cells().Content(data), "db");
    EXPECT_EQ(segments, GetParam() >= 4);
}

TEST_P(EveryVersion, NamesInUnicodeAndLatin1ComeBack) {
    const std::u16string odd = std::u16string(u"a\0b", 3) + char16_t(0xD800);
    for (const std::u16string_view name : {std::u16string_view(u"Ärger ÿ"), std::u16string_view(u"Журнал"),
                                           std::u16string_view(u"日本"), std::u16string_view(odd)}) {
        const KeyId key = Make(*hive, name);
        ASSERT_EQ(hive->SetValue(key, name, 1, Text(name)), SysError::Success);
        const auto again = ReadHive(Written(*hive));
        const KeyId found = again->FindKey(again->Root(), name);
        ASSERT_NE(found, NoKey);
        EXPECT_EQ(again->KeyName(found), name);
        const auto value = again->FindValue(found, name);
        ASSERT_TRUE(value.Ok());
        EXPECT_EQ(value->name, name);
    }
}

TEST_P(EveryVersion, NamesAreFoundInAnyCaseOfNtfs) {
    const KeyId key = Make(*hive, u"Éclair ÿ");
    EXPECT_EQ(At(*hive, u"éCLAIR Ÿ"), key);
    EXPECT_EQ(hive->CreateKey(hive->Root(), u"ÉCLAIR ÿ").ValueOr(NoKey), key);
    // The micro sign is no small letter there.
    Make(*hive, u"µ");
    EXPECT_EQ(At(*hive, u"\u039C"), NoKey);
}

TEST_P(EveryVersion, ThousandsOfKeysAreListedInOrderAndFound) {
    std::vector<std::u16string> names;
    for (unsigned i = 0; i < 2500; ++i) {
        const std::string name = "key " + std::to_string(i * 7919 % 2500);
        names.emplace_back(name.begin(), name.end());
        Make(*hive, names.back());
    }
    const auto again = ReadHive(Written(*hive));
    ASSERT_EQ(again->KeyCount(again->Root()), 2500U);
    for (std::uint32_t i = 1; i < 2500; ++i)
        ASSERT_TRUE(offline::CompareNames(again->KeyName(again->KeyAt(again->Root(), i - 1)),
                                          again->KeyName(again->KeyAt(again->Root(), i))) < 0);
    for (const std::u16string& name : names)
        ASSERT_NE(again->FindKey(again->Root(), name), NoKey);
    EXPECT_EQ(again->FindKey(again->Root(), u"key 2500"), NoKey);
}

TEST_P(EveryVersion, NewListsHaveTheFormOfTheVersion) {
    Make(*hive, u"A\\B");
    const std::string form = GetParam() >= 5 ? "lh" : GetParam() >= 3 ? "lf" : "li";
    EXPECT_EQ(ListForm(*hive, hive->Root()), form);
    for (unsigned i = 0; i < 1100; ++i) {
        const std::string name = std::to_string(i);
        Make(*hive, u"A\\" + std::u16string(name.begin(), name.end()));
    }
    EXPECT_TRUE(ListForm(*hive, At(*hive, u"A")).starts_with("ri(" + form + "," + form))
        << ListForm(*hive, At(*hive, u"A"));
}

TEST_P(EveryVersion, WhatIsDeletedMakesRoomForWhatComes) {
    Make(*hive, u"Stays");
    const std::size_t size = Written(*hive).size();
    for (int round = 0; round < 50; ++round) {
        const KeyId key = Make(*hive, u"Goes\\Below");
        ASSERT_EQ(hive->SetValue(key, u"v", 3, Pattern(1500)), SysError::Success);
        ASSERT_EQ(DeleteTree(*hive, hive->Root(), u"Goes"), SysError::Success);
    }
    EXPECT_LE(Written(*hive).size(), size + 4096);
    EXPECT_EQ(WrittenContent(), (std::vector<std::string>{"\\ class ", "\\Stays\\ class "}));
}

TEST_P(EveryVersion, EverythingDeletedLeavesOneFreeCellInEachBin) {
    for (unsigned i = 0; i < 600; ++i) {
        const std::string name = std::to_string(i);
        const KeyId key = Make(*hive, u"All\\" + std::u16string(name.begin(), name.end()));
        ASSERT_EQ(hive->SetValue(key, u"v", 3, Pattern(i * 37 % 3000)), SysError::Success);
    }
    ASSERT_EQ(DeleteTree(*hive, hive->Root(), u"All"), SysError::Success);
    const auto again = ReadHive(Written(*hive));
    const offline::regf::CellMap& cells = again->Reader().Cells();
    cells.LoadAll();
    std::size_t allocated = 0;
    for (const offline::regf::Bin& bin : cells.Bins()) {
        bool freeBefore = false;
        for (std::uint32_t cell = bin.begin + 32; cell < bin.end;
             cell += static_cast<std::uint32_t>(cells.Size(cell))) {
            const bool isFree = !cells.IsAllocated(cell);
            EXPECT_FALSE(freeBefore && isFree) << "two free cells side by side at " << cell;
            freeBefore = isFree;
            allocated += isFree ? 0 : 1;
        }
    }
    EXPECT_EQ(allocated, 2U) << "the root and its security descriptor";
}

TEST_P(EveryVersion, KeysShareTheDescriptorOfTheirParentAndItCountsThem) {
    const std::uint32_t security = Load32(hive->Reader().Record(hive->Root()) + nk::SecurityAt);
    Make(*hive, u"A\\B");
    Make(*hive, u"C");
    const auto references = [&] { return Load32(hive->Reader().Record(security) + sk::ReferencesAt); };
    EXPECT_EQ(Load32(hive->Reader().Record(At(*hive, u"A\\B")) + nk::SecurityAt), security);
    EXPECT_EQ(references(), 4U);
    ASSERT_EQ(DeleteTree(*hive, hive->Root(), u"A"), SysError::Success);
    EXPECT_EQ(references(), 2U);
}

TEST_P(EveryVersion, ADiscardGoesBackToWhatWasCommitted) {
    Make(*hive, u"Kept");
    ASSERT_EQ(hive->Commit(), SysError::Success);
    EXPECT_FALSE(hive->Changed());
    const auto before = Content(*hive, true);
    Make(*hive, u"Lost");
    ASSERT_EQ(hive->DeleteKey(hive->Root(), u"Kept"), SysError::Success);
    EXPECT_TRUE(hive->Changed());
    hive->Discard();
    EXPECT_FALSE(hive->Changed());
    EXPECT_EQ(Content(*hive, true), before);
}

TEST_P(EveryVersion, AChangeSetsTheTimeOfTheKeyThatChanged) {
    const KeyId key = Make(*hive, u"A");
    hive->SetClock([] { return Now + 5; });
    ASSERT_EQ(hive->SetValue(key, u"v", 3, {}), SysError::Success);
    EXPECT_EQ(hive->LastWritten(key), Now + 5);
    EXPECT_EQ(hive->LastWritten(hive->Root()), Now);
    hive->SetClock([] { return Now + 9; });
    ASSERT_TRUE(hive->CreateKey(key, u"B").Ok());
    EXPECT_EQ(hive->LastWritten(key), Now + 9);
}

TEST_P(EveryVersion, AKeyKeepsHowLongTheLongestThingsBelowItAre) {
    const KeyId key = Make(*hive, u"A");
    Make(*hive, u"A\\1234567");
    ASSERT_EQ(hive->SetValue(key, u"12345", 3, Pattern(33)), SysError::Success);
    const std::byte* record = hive->Reader().Record(key);
    EXPECT_EQ(Load16(record + nk::MaxNameAt), 14U);
    EXPECT_EQ(Load32(record + nk::MaxValueNameAt), 10U);
    EXPECT_EQ(Load32(record + nk::MaxValueDataAt), 33U);
}

TEST(HiveEdit, AKeyWithSubkeysIsNotDeleted) {
    const auto hive = NewHive(5);
    Make(*hive, u"A\\B");
    EXPECT_EQ(hive->DeleteKey(hive->Root(), u"A"), SysError::AccessDenied);
    EXPECT_NE(At(*hive, u"A\\B"), NoKey);
}

TEST(HiveEdit, WhatIsNotThereIsNotDeleted) {
    const auto hive = NewHive(5);
    EXPECT_EQ(hive->DeleteKey(hive->Root(), u"A"), SysError::FileNotFound);
    EXPECT_EQ(hive->DeleteValue(hive->Root(), u"A"), SysError::FileNotFound);
    EXPECT_EQ(DeleteTree(*hive, hive->Root(), u"A"), SysError::FileNotFound);
    EXPECT_FALSE(hive->Changed());
}

TEST(HiveEdit, ImpossibleNamesAreRefused) {
    const auto hive = NewHive(5);
    EXPECT_EQ(hive->CreateKey(hive->Root(), u"").Error(), SysError::InvalidParameter);
    EXPECT_EQ(hive->CreateKey(hive->Root(), u"a\\b").Error(), SysError::InvalidParameter);
    EXPECT_EQ(hive->CreateKey(hive->Root(), std::u16string(256, u'a')).Error(), SysError::InvalidParameter);
    EXPECT_TRUE(hive->CreateKey(hive->Root(), std::u16string(255, u'a')).Ok());
    EXPECT_EQ(hive->SetValue(hive->Root(), std::u16string(16384, u'a'), 3, {}), SysError::InvalidParameter);
    EXPECT_EQ(hive->SetValue(hive->Root(), std::u16string(16383, u'\u0416'), 3, {}), SysError::Success);
}

TEST(HiveEdit, ADeletedKeyAnswersThatItIsDeleted) {
    const auto hive = NewHive(5);
    const KeyId key = Make(*hive, u"A");
    ASSERT_EQ(hive->DeleteKey(hive->Root(), u"A"), SysError::Success);
    EXPECT_EQ(hive->SetValue(key, u"v", 3, {}), SysError::KeyDeleted);
    EXPECT_EQ(hive->CreateKey(key, u"B").Error(), SysError::KeyDeleted);
    EXPECT_EQ(hive->ValueAt(key, 0).Error(), SysError::KeyDeleted);
}

TEST(HiveEdit, AValueKeepsTheCaseOfItsFirstName) {
    const auto hive = NewHive(5);
    ASSERT_EQ(hive->SetValue(hive->Root(), u"Name", 1, Text(u"a")), SysError::Success);
    ASSERT_EQ(hive->SetValue(hive->Root(), u"NAME", 4, Pattern(4)), SysError::Success);
    EXPECT_EQ(Content(*hive), (std::vector<std::string>{"\\ class ", "\\ value Name type 4 data " + Hex(Pattern(4))}));
}

TEST(HiveEdit, ListsOfOlderFormsKeepThem) {
    // Lists made as version 1.2 makes them, in a hive that then says it is newer.
    for (const std::uint32_t minor : {3U, 5U}) {
        const auto old = NewHive(2);
        for (unsigned i = 0; i < 1500; ++i) {
            const std::string name = std::to_string(i);
            Make(*old, u"Many\\" + std::u16string(name.begin(), name.end()));
        }
        Make(*old, u"Few\\A");
        Bytes bytes = Written(*old);
        offline::regf::BaseBlock base = offline::regf::ParseBaseBlock(bytes.data());
        base.minor = minor;
        StoreBaseBlock(bytes.data(), base);

        const auto hive = ReadHive(bytes);
        Make(*hive, u"Few\\B");
        Make(*hive, u"Many\\X");
        ASSERT_EQ(hive->DeleteKey(At(*hive, u"Many"), u"700"), SysError::Success);
        Make(*hive, u"New\\A");
        EXPECT_EQ(ListForm(*hive, At(*hive, u"Few")), "li");
        EXPECT_EQ(ListForm(*hive, At(*hive, u"Many")), "ri(li,li)");
        EXPECT_EQ(ListForm(*hive, At(*hive, u"New")), minor == 3 ? "lf" : "lh");
        EXPECT_EQ(ReadHive(Written(*hive))->KeyCount(At(*hive, u"Many")), 1500U);
        SKIP_WITHOUT_ORACLES();
        ExpectOraclesAgree(*hive, "old lists in a newer hive");
    }
}

TEST(HiveEdit, AListThatIsOutOfOrderIsPutInOrderWhenItChanges) {
    const auto made = NewHive(5);
    for (const std::u16string_view name : {u"A", u"B", u"C", u"D"})
        Make(*made, name);
    Bytes bytes = Written(*made);
    const std::uint32_t list = Load32(made->Reader().Record(made->Root()) + nk::SubkeyListAt);
    std::byte* entries = bytes.data() + 4096 + list + 4 + 4;
    std::swap_ranges(entries, entries + 8, entries + 16);  // C, B, A, D

    const auto hive = ReadHive(bytes);
    EXPECT_EQ(hive->KeyName(hive->KeyAt(hive->Root(), 0)), u"A") << "listed in order all the same";
    Make(*hive, u"BB");
    const auto again = ReadHive(Written(*hive));
    std::vector<std::uint32_t> keys;
    ASSERT_TRUE(again->Reader().Subkeys(again->Root(), keys));
    std::u16string order;
    for (const std::uint32_t key : keys)
        order += again->KeyName(key) + u" ";
    EXPECT_EQ(order, u"A B BB C D ");
}

TEST(HiveEdit, AHiveIsWrittenCleanWithItsTimeAndCounters) {
    const auto hive = NewHive(5);
    const auto before = offline::regf::ParseBaseBlock(Written(*NewHive(5)).data());
    Make(*hive, u"A");
    hive->SetClock([] { return Now + 77; });
    const Bytes bytes = Written(*hive);
    const auto base = offline::regf::ParseBaseBlock(bytes.data());
    EXPECT_TRUE(base.checksumOk);
    EXPECT_EQ(base.sequence1, base.sequence2);
    EXPECT_GE(base.sequence1, before.sequence1);
    EXPECT_EQ(base.written, Now + 77);
    EXPECT_EQ(base.binsSize + 4096U, bytes.size());
}

TEST(HiveEdit, BothOraclesReadWhatEveryVersionFrom3Writes) {
    SKIP_WITHOUT_ORACLES();
    for (const std::uint32_t minor : {3U, 4U, 5U}) {
        const auto hive = NewHive(minor);
        ExpectOraclesAgree(*hive, "a new hive, 1." + std::to_string(minor));
        const KeyId key = Make(*hive, u"Software\\Kel");
        for (const std::size_t size : {0U, 1U, 4U, 5U, 16344U})
            ASSERT_EQ(hive->SetValue(key, u"v" + std::u16string(size % 7 + 1, u'x'), 3, Pattern(size)),
                      SysError::Success);
        ASSERT_EQ(hive->SetValue(key, u"", 1, Text(u"default")), SysError::Success);
        ASSERT_EQ(hive->SetValue(key, u"d", 4, Pattern(4)), SysError::Success);
        ASSERT_EQ(hive->SetValue(key, u"m", 7, Text(u"a")), SysError::Success);
        for (unsigned i = 0; i < 1200; ++i) {
            const std::string name = "k" + std::to_string(i);
            Make(*hive, u"Many\\" + std::u16string(name.begin(), name.end()));
        }
        ExpectOraclesAgree(*hive, "with keys and values, 1." + std::to_string(minor));
    }
}

}  // namespace
}  // namespace kel::test
