// Hives that are damaged, or made to do damage: what is readable is read, the rest is told, nothing loops or is lost.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "HiveFixture.h"
#include "hive/NewHive.h"

namespace kel::test {
namespace {

using offline::Hive;
using offline::KeyId;
using offline::NoKey;
using offline::regf::HiveError;
using offline::regf::Load32;
using offline::regf::Store16;
using offline::regf::Store32;
using platform::SysError;
namespace nk = offline::regf::nk;
namespace vk = offline::regf::vk;
namespace sk = offline::regf::sk;

/// A hive whose records can be changed where they lie.
class Patched {
public:
    explicit Patched(Hive& hive) : bytes(Written(hive)), hive_(hive) {}

    void Set32(std::uint32_t cell, std::size_t field, std::uint32_t number) {
        Store32(bytes.data() + 4096 + hive_.Reader().FieldAt(cell, field), number);
    }
    void Set16(std::uint32_t cell, std::size_t field, std::uint32_t number) {
        Store16(bytes.data() + 4096 + hive_.Reader().FieldAt(cell, field), number);
    }
    [[nodiscard]] std::uint32_t Get32(std::uint32_t cell, std::size_t field) const {
        return Load32(bytes.data() + 4096 + hive_.Reader().FieldAt(cell, field));
    }
    [[nodiscard]] std::uint32_t ListOf(KeyId key) const { return Get32(key, nk::SubkeyListAt); }
    [[nodiscard]] std::uint32_t Value(KeyId key, std::size_t index) const {
        return Get32(Get32(key, nk::ValueListAt), index * 4);
    }
    [[nodiscard]] std::unique_ptr<Hive> Read() const {
        auto hive = ReadHive(bytes);
        hive->Reader().ReadAll();
        return hive;
    }
    Bytes bytes;

private:
    Hive& hive_;
};

std::unique_ptr<Hive> Sample() {
    auto hive = NewHive(5);
    for (const std::u16string_view path : {u"A\\B\\C", u"A\\D", u"E"}) {
        const KeyId key = Make(*hive, path);
        EXPECT_EQ(hive->SetValue(key, u"one", 3, Pattern(40)), SysError::Success);
        EXPECT_EQ(hive->SetValue(key, u"two", 3, Pattern(50)), SysError::Success);
    }
    EXPECT_EQ(hive->Commit(), SysError::Success);
    return hive;
}

std::string WhyRefused(const Bytes& bytes) {
    try {
        static_cast<void>(ReadHive(bytes));
    } catch (const HiveError& error) {
        return error.what();
    }
    return "it was read";
}

TEST(HiveDamage, WhatIsNoHiveIsRefusedWithTheReason) {
    const Bytes hive = offline::regf::MakeHive(5, u"ROOT", Now);
    EXPECT_EQ(WhyRefused({}), "is not a registry hive");
    EXPECT_EQ(WhyRefused(Pattern(9000)), "is not a registry hive");
    EXPECT_EQ(WhyRefused({hive.begin(), hive.begin() + 4000}), "is too short for a registry hive");
    Bytes newer = hive;
    Store32(newer.data() + 24, 9);
    EXPECT_EQ(WhyRefused(newer), "is a registry hive of the unknown version 1.9");
    Bytes log = hive;
    offline::regf::BaseBlock base = offline::regf::ParseBaseBlock(log.data());
    base.type = offline::regf::FileType::LogNew;
    StoreBaseBlock(log.data(), base);
    EXPECT_EQ(WhyRefused(log), "is the log of a registry hive, not a hive");
    Bytes windows98(5000);
    std::memcpy(windows98.data(), "CREG", 4);
    EXPECT_NE(WhyRefused(windows98).find("Windows 95, 98 or Me (CREG)"), std::string::npos);
}

TEST(HiveDamage, ARingOfListsIsWalkedOnce) {
    const auto made = Sample();
    Patched patched(*made);
    const KeyId c = At(*made, u"A\\B\\C");
    patched.Set32(c, nk::SubkeyCountAt, 1);
    patched.Set32(c, nk::SubkeyListAt, patched.ListOf(made->Root()));
    const auto hive = patched.Read();
    EXPECT_EQ(hive->Damage().Count(), 1U);
    EXPECT_EQ(hive->KeyCount(At(*hive, u"A\\B\\C")), 0U);
    EXPECT_NE(At(*hive, u"E"), NoKey);
}

TEST(HiveDamage, AListThatNamesTheRootDoesNotLeadBackThere) {
    const auto made = Sample();
    Patched patched(*made);
    patched.Set32(patched.ListOf(At(*made, u"A\\B")), 4, made->Root());
    const auto hive = patched.Read();
    EXPECT_EQ(hive->Damage().Count(), 1U);
    EXPECT_EQ(hive->KeyCount(At(*hive, u"A\\B")), 0U);
}

TEST(HiveDamage, AListOfListsThatHoldsItselfEnds) {
    const auto made = Sample();
    Patched patched(*made);
    const std::uint32_t list = patched.ListOf(At(*made, u"A"));
    Store16(patched.bytes.data() + 4096 + list + 4, offline::regf::Tag("ri"));
    patched.Set32(list, 4, list);
    patched.Set32(list, 8, list);
    const auto hive = patched.Read();
    EXPECT_EQ(hive->KeyCount(At(*hive, u"A")), 0U);
    EXPECT_GE(hive->Damage().Count(), 1U);
}

TEST(HiveDamage, ReferencesOutOfTheHiveAreTold) {
    const auto made = Sample();
    for (const std::uint32_t place : {0x7FFFFFF8U, 0xFFFFFFF8U, 4U, 0U, 0x10000U}) {
        Patched patched(*made);
        patched.Set32(At(*made, u"A\\B"), nk::SubkeyListAt, place);
        patched.Set32(At(*made, u"E"), nk::ValueListAt, place);
        patched.Set32(patched.Value(At(*made, u"A\\D"), 0), vk::DataAt, place);
        patched.Set32(At(*made, u"A\\D"), nk::ClassAt, place);
        patched.Set16(At(*made, u"A\\D"), nk::ClassLengthAt, 10);
        const auto hive = patched.Read();
        EXPECT_EQ(hive->Damage().Count(), 4U) << place;
        EXPECT_EQ(hive->KeyCount(At(*hive, u"A\\B")), 0U);
        EXPECT_EQ(hive->ValueCount(At(*hive, u"E")), 0U);
        EXPECT_EQ(hive->ValueAt(At(*hive, u"A\\D"), 0).Error(), SysError::RegistryCorrupt);
        EXPECT_TRUE(hive->ValueAt(At(*hive, u"A\\D"), 1).Ok());
    }
}

TEST(HiveDamage, AValueThatTwoKeysShareIsGivenToBothAndChangedForOne) {
    const auto made = Sample();
    Patched patched(*made);
    const KeyId d = At(*made, u"A\\D");
    const KeyId e = At(*made, u"E");
    patched.Set32(patched.Get32(e, nk::ValueListAt), 0, patched.Value(d, 0));
    const auto hive = patched.Read();
    EXPECT_EQ(hive->Damage().Count(), 0U);
    ASSERT_EQ(hive->SetValue(e, u"one", 4, Pattern(4)), SysError::Success);
    EXPECT_EQ(hive->FindValue(e, u"one")->type, 4U);
    ASSERT_TRUE(hive->FindValue(d, u"one").Ok());
    EXPECT_EQ(hive->FindValue(d, u"one")->data, Pattern(40));
    ASSERT_EQ(hive->DeleteValue(e, u"one"), SysError::Success);
    EXPECT_EQ(hive->FindValue(d, u"one")->data, Pattern(40));
}

TEST(HiveDamage, DataThatTwoValuesShareStayWhenOneIsDeleted) {
    const auto made = Sample();
    Patched patched(*made);
    const KeyId e = At(*made, u"E");
    patched.Set32(patched.Value(e, 1), vk::DataAt, patched.Get32(patched.Value(e, 0), vk::DataAt));
    patched.Set32(patched.Value(e, 1), vk::DataSizeAt, 40);
    const auto hive = patched.Read();
    ASSERT_EQ(hive->DeleteValue(e, u"two"), SysError::Success);
    for (int i = 0; i < 20; ++i)
        ASSERT_EQ(hive->SetValue(e, u"new" + std::u16string(static_cast<std::size_t>(i), u'x'), 3, Pattern(40, 9)),
                  SysError::Success);
    EXPECT_EQ(hive->FindValue(e, u"one")->data, Pattern(40));
}

TEST(HiveDamage, ListsAreCutWhereTheirCellsEnd) {
    const auto made = Sample();
    Patched patched(*made);
    patched.Set16(patched.ListOf(At(*made, u"A")), 2, 60000);
    patched.Set32(At(*made, u"E"), nk::ValueCountAt, 1000000);
    const auto hive = patched.Read();
    EXPECT_NE(At(*hive, u"A\\B"), NoKey);
    EXPECT_NE(At(*hive, u"A\\D"), NoKey);
    EXPECT_TRUE(hive->FindValue(At(*hive, u"E"), u"two").Ok());
    EXPECT_GE(hive->Damage().Count(), 2U);
}

TEST(HiveDamage, WhatCouldLoseTheUnreadableIsRefused) {
    const auto made = Sample();
    Patched patched(*made);
    const KeyId a = At(*made, u"A");
    const KeyId e = At(*made, u"E");
    patched.Set32(patched.ListOf(a), 4, 0x7FFFFFF8);         // B is lost
    patched.Set32(patched.Get32(e, nk::ValueListAt), 0, 8);  // so is `one`
    const auto hive = patched.Read();
    const auto before = Content(*hive, true);
    EXPECT_EQ(hive->CreateKey(a, u"New").Error(), SysError::RegistryCorrupt);
    EXPECT_EQ(hive->DeleteKey(a, u"D"), SysError::RegistryCorrupt);
    EXPECT_EQ(hive->SetValue(e, u"new", 3, {}), SysError::RegistryCorrupt);
    EXPECT_EQ(hive->DeleteValue(e, u"two"), SysError::RegistryCorrupt);
    EXPECT_FALSE(hive->Changed());
    EXPECT_EQ(Content(*hive, true), before);
    EXPECT_TRUE(hive->CreateKey(e, u"Other").Ok()) << "what is sound is still changed";
}

TEST(HiveDamage, AKeyWhoseSubkeysAreUnreadableIsNotDeletedOverThem) {
    const auto made = Sample();
    Patched patched(*made);
    patched.Set32(At(*made, u"A\\B"), nk::SubkeyListAt, 8);
    const auto hive = patched.Read();
    EXPECT_EQ(hive->DeleteKey(At(*hive, u"A"), u"B"), SysError::RegistryCorrupt);
    EXPECT_NE(At(*hive, u"A\\B"), NoKey);
}

TEST(HiveDamage, AKeyThatStandsForAnotherHasNoValuesAndTakesNone) {
    const auto made = Sample();
    Patched patched(*made);
    const KeyId e = At(*made, u"E");
    patched.Set16(e, nk::FlagsAt, nk::CompressedName | nk::PredefinedHandle);
    patched.Set32(e, nk::ValueCountAt, 0x80000002);
    const auto hive = patched.Read();
    EXPECT_EQ(hive->Damage().Count(), 0U);
    EXPECT_EQ(hive->ValueCount(e), 0U);
    EXPECT_EQ(hive->SetValue(e, u"v", 3, {}), SysError::AccessDenied);
    EXPECT_EQ(hive->DeleteKey(hive->Root(), u"E"), SysError::Success);
}

TEST(HiveDamage, ALostRootIsFoundByItsMark) {
    const auto made = Sample();
    Bytes bytes = Written(*made);
    offline::regf::BaseBlock base = offline::regf::ParseBaseBlock(bytes.data());
    base.root = 0x5000;
    StoreBaseBlock(bytes.data(), base);
    const auto hive = ReadHive(bytes);
    EXPECT_NE(At(*hive, u"A\\B\\C"), NoKey);
    EXPECT_GE(hive->Damage().Count(), 1U);
}

TEST(HiveDamage, AWrongChecksumIsToldAndTheHiveRead) {
    const auto made = Sample();
    Bytes bytes = Written(*made);
    bytes[508] ^= std::byte{1};
    const auto hive = ReadHive(bytes);
    EXPECT_EQ(Content(*hive), Content(*made));
    EXPECT_EQ(hive->Damage().Count(), 1U);
}

TEST(HiveDamage, OneBrokenBinLosesOnlyItself) {
    const auto made = NewHive(5);
    std::size_t expected = 0;
    for (unsigned i = 0; i < 300; ++i, ++expected) {
        const std::string name = "key " + std::to_string(i);
        ASSERT_EQ(made->SetValue(Make(*made, std::u16string(name.begin(), name.end())), u"v", 3, Pattern(60)),
                  SysError::Success);
    }
    Bytes bytes = Written(*made);
    ASSERT_GT(bytes.size(), 10U * 4096);
    for (std::size_t i = 0; i < 4096; ++i)
        bytes[std::size_t{5} * 4096 + i] = std::byte{0xA5};
    const auto hive = ReadHive(bytes);
    hive->Reader().ReadAll();
    const std::uint32_t left = hive->KeyCount(hive->Root());
    EXPECT_LT(left, expected);
    EXPECT_GT(left, expected * 8 / 10);
    EXPECT_GE(hive->Damage().Count(), expected - left);
}

TEST(HiveDamage, AHiveCutAnywhereIsReadAsFarAsItGoesOrRefused) {
    const auto made = Sample();
    const Bytes bytes = Written(*made);
    for (std::size_t size = 0; size <= bytes.size(); size += 61) {
        try {
            const auto hive = ReadHive({bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)});
            hive->Reader().ReadAll();
            EXPECT_GE(size, 4096U + 32U);
            EXPECT_TRUE(hive->Damage().Count() > 0 || size == bytes.size());
        } catch (const HiveError&) {
            EXPECT_LT(size, bytes.size());
        }
    }
}

TEST(HiveDamage, FlippedBitsNeverLeadAstrayAndNeitherDoEditsOfWhatIsLeft) {
    const auto made = Sample();
    const Bytes bytes = Written(*made);
    std::mt19937 random(7);
    for (int round = 0; round < 3000; ++round) {
        Bytes flipped = bytes;
        for (unsigned i = 0; i < 1 + random() % 8; ++i)
            flipped[512 + random() % (flipped.size() - 512)] ^= static_cast<std::byte>(1U << (random() % 8));
        try {
            const auto hive = ReadHive(flipped);
            hive->Reader().ReadAll();
            const auto before = Content(*hive);
            const SysError set = hive->SetValue(hive->Root(), u"new", 3, Pattern(30));
            const bool created = hive->CreateKey(hive->Root(), u"new").Ok();
            if (set == SysError::Success && hive->DeleteValue(hive->Root(), u"new") == SysError::Success && created &&
                DeleteTree(*hive, hive->Root(), u"new") == SysError::Success) {
                ASSERT_EQ(Difference(Content(*hive), before), "") << "round " << round;
            }
        } catch (const HiveError&) {
        }
    }
}

TEST(HiveDamage, ABrokenRingOfDescriptorsIsLeftAlone) {
    const auto made = Sample();
    Patched patched(*made);
    const std::uint32_t security = patched.Get32(made->Root(), nk::SecurityAt);
    patched.Set32(security, sk::NextAt, 0x7FFFFFF8);
    patched.Set32(security, sk::PreviousAt, 3);
    patched.Set32(security, sk::ReferencesAt, 0);
    const auto hive = patched.Read();
    ASSERT_EQ(DeleteTree(*hive, hive->Root(), u"A"), SysError::Success);
    const KeyId key = Make(*hive, u"New");
    EXPECT_EQ(Load32(hive->Reader().Record(key) + nk::SecurityAt), security);
    EXPECT_EQ(Load32(hive->Reader().Record(security) + sk::ReferencesAt), 3U) << "the root, E and New";
}

TEST(HiveDamage, SharingDoesNotMultiplyWhatIsRead) {
    // Forty values, all with one and the same megabyte: more than what the hive may give in all.
    const auto made = NewHive(5);
    const KeyId key = Make(*made, u"A");
    ASSERT_EQ(made->SetValue(key, u"v0", 3, Pattern(1'000'000)), SysError::Success);
    for (unsigned i = 1; i < 40; ++i) {
        const std::string name = "v" + std::to_string(i);
        ASSERT_EQ(made->SetValue(key, std::u16string(name.begin(), name.end()), 3, Pattern(5)), SysError::Success);
    }
    Patched patched(*made);
    for (std::size_t i = 1; i < 40; ++i) {
        patched.Set32(patched.Value(key, i), vk::DataAt, patched.Get32(patched.Value(key, 0), vk::DataAt));
        patched.Set32(patched.Value(key, i), vk::DataSizeAt, 1'000'000);
    }
    const auto hive = patched.Read();
    std::size_t given = 0;
    for (std::uint32_t i = 0; i < hive->ValueCount(key); ++i) {
        const auto value = hive->ValueAt(key, i);
        given += value.Ok() ? value->data.size() : 0;
    }
    EXPECT_GE(given, 1'000'000U);
    EXPECT_LE(given, patched.bytes.size() * 6);
    EXPECT_GE(hive->Damage().Count(), 30U);
}

}  // namespace
}  // namespace kel::test
