#include "catalogue/SignatureTable.h"

#include <algorithm>
#include <random>

#include "TableFiles.h"
#include "catalogue/SignatureLoader.h"
#include "core/RuntimeError.h"
#include "support/EngineTest.h"

namespace kel::test {
namespace {

template <class Statement>
int ErrorOf(Statement&& statement) {
    try {
        statement();
    } catch (const RuntimeError& error) {
        return error.Number();
    }
    return 0;
}

std::string Hex(std::uint64_t first, std::uint64_t second) {
    std::string text;
    for (const std::uint64_t half : {first, second}) {
        for (int shift = 60; shift >= 0; shift -= 4) {
            text += "0123456789abcdef"[(half >> shift) & 15];
        }
    }
    return text;
}

class Signatures : public EngineTest {
protected:
    // A table of digests as a load makes it.
    static SignatureTable Digests(const std::vector<Row>& rows) {
        Recordset recordset;
        for (const FieldDefinition& field : KeyedFields()) {
            recordset.AppendField(field.name, field.type, field.size);
        }
        recordset.Open();
        for (const Row& row : rows) {
            recordset.AddNew();
            for (std::size_t i = 0; i < row.size(); ++i) {
                recordset.Set(i, row[i]);
            }
            recordset.Update();
        }
        if (!rows.empty()) {
            recordset.MoveFirst();
        }
        SignatureTable table(KeyForm::Digests);
        LoadSignatures(recordset, table, NullKey::Failure);
        return table;
    }
};

TEST_F(Signatures, AnAbsentKeyIsAMissWithoutAnError) {
    SignatureTable table(KeyForm::Texts);
    EXPECT_EQ(table.Find("c:\\a"), std::nullopt);
    table.Add("c:\\b", {1, 0});
    EXPECT_EQ(table.Find("c:\\a"), std::nullopt);
    EXPECT_EQ(table.Find(""), std::nullopt);
}

TEST_F(Signatures, AnElementUnderAnAbsentKeyIsError5) {
    const SignatureTable table(KeyForm::Texts);
    EXPECT_EQ(ErrorOf([&] { static_cast<void>(table.Item<clsDataFolder>("c:\\a")); }), ErrInvalidProcedureCall);
}

TEST_F(Signatures, AnElementUnderAKeyHasTheTextOfTheTable) {
    SignatureTable table(KeyForm::Texts);
    table.Add("C:\\Bad", {9, 2});
    const auto folder = table.Item<clsDataFolder>("c:\\bad");
    EXPECT_EQ(folder.Folder, "C:\\Bad");
    EXPECT_EQ(folder.ThreatID, 9);
    EXPECT_EQ(folder.OptionalScan, 2);
}

TEST_F(Signatures, TheSameKeyInAnotherCaseIsError457) {
    SignatureTable table(KeyForm::Texts);
    table.Add("C:\\Bad", {1, 0});
    EXPECT_EQ(ErrorOf([&] { table.Add("c:\\bAD", {2, 0}); }), ErrDuplicateKey);
    EXPECT_EQ(table.Count(), 1U);
    EXPECT_EQ(table.Find("c:\\bad"), (Signature{1, 0}));
}

TEST_F(Signatures, LettersBeyondAsciiFoldToo) {
    SignatureTable table(KeyForm::Texts);
    const std::string upper = Machine().text->FromUtf8("C:\\\xC3\x84rger");
    const std::string lower = Machine().text->FromUtf8("c:\\\xC3\xA4rger");
    table.Add(upper, {1, 0});
    EXPECT_EQ(table.Find(lower), (Signature{1, 0}));
    EXPECT_EQ(table.At(1).Key, upper);
}

TEST_F(Signatures, AnIndexOutsideIsError9) {
    SignatureTable table(KeyForm::Texts);
    table.Add("a", {1, 0});
    EXPECT_EQ(ErrorOf([&] { static_cast<void>(table.At(0)); }), ErrSubscriptOutOfRange);
    EXPECT_EQ(ErrorOf([&] { static_cast<void>(table.At(2)); }), ErrSubscriptOutOfRange);
}

TEST_F(Signatures, ATableOfDigestsIsNotWalked) {
    const SignatureTable table = Digests({{1, Hex(1, 2), 0}});
    EXPECT_EQ(ErrorOf([&] { static_cast<void>(table.At(1)); }), ErrInvalidProcedureCall);
}

TEST_F(Signatures, AHundredThousandTextsAreAllFound) {
    SignatureTable table(KeyForm::Texts);
    for (std::int32_t i = 0; i < 100'000; ++i) {
        table.Add("%windows%\\Part" + std::to_string(i), {i, static_cast<std::int16_t>(i % 7)});
    }
    for (std::int32_t i = 0; i < 100'000; ++i) {
        ASSERT_EQ(table.Find("%windows%\\part" + std::to_string(i)), (Signature{i, static_cast<std::int16_t>(i % 7)}));
    }
    EXPECT_EQ(table.Find("%windows%\\part100000"), std::nullopt);
    EXPECT_EQ(table.At(70'000).Key, "%windows%\\Part69999");
}

TEST_F(Signatures, AllLoadedDigestsAreFoundAndNoOther) {
    std::mt19937_64 random(7);
    std::vector<Row> rows;
    for (std::int32_t i = 0; i < 20'000; ++i) {
        rows.push_back({i, Hex(random(), random()), i % 5});
    }
    const SignatureTable table = Digests(rows);
    ASSERT_EQ(table.Count(), rows.size());
    for (const Row& row : rows) {
        const auto found = table.Find(std::get<std::string>(row[1]));
        ASSERT_TRUE(found);
        EXPECT_EQ(found->ThreatID, std::get<std::int32_t>(row[0]));
        EXPECT_EQ(found->OptionalScan, std::get<std::int32_t>(row[2]));
    }
    for (int i = 0; i < 20'000; ++i) {
        ASSERT_EQ(table.Find(Hex(random(), random())), std::nullopt);
    }
}

TEST_F(Signatures, CountedUpDigestsAreFound) {
    std::vector<Row> rows;
    for (std::int32_t i = 0; i < 5'000; ++i) {
        rows.push_back({i, Hex(0, static_cast<std::uint64_t>(i)), 0});
    }
    const SignatureTable table = Digests(rows);
    for (std::int32_t i = 0; i < 5'000; ++i) {
        ASSERT_EQ(table.Find(Hex(0, static_cast<std::uint64_t>(i))), (Signature{i, 0}));
    }
    EXPECT_EQ(table.Find(Hex(0, 5'000)), std::nullopt);
    EXPECT_EQ(table.Find(Hex(1, 0)), std::nullopt);
}

// Digests that were made to fall into one bucket: the second half undoes what the first adds to the mix.
TEST_F(Signatures, DigestsOfOneBucketAreFoundAndTheirRepeatsToo) {
    std::vector<Row> rows;
    for (std::uint64_t i = 1; i <= 300; ++i) {
        std::uint64_t first = i * 0x0101010101010101U;
        std::uint64_t second = (first >> 29) | (first << 35);
        // As bytes in the order of a digest's text.
        const auto swap = [](std::uint64_t word) {
            std::uint64_t swapped = 0;
            for (int byte = 0; byte < 8; ++byte) {
                swapped = swapped << 8 | ((word >> (8 * byte)) & 0xFF);
            }
            return swapped;
        };
        rows.push_back({static_cast<std::int32_t>(i), Hex(swap(first), swap(second)), 0});
    }
    std::shuffle(rows.begin(), rows.end(), std::mt19937_64(3));
    const SignatureTable table = Digests(rows);
    for (const Row& row : rows) {
        ASSERT_EQ(table.Find(std::get<std::string>(row[1])), (Signature{std::get<std::int32_t>(row[0]), 0}));
    }
    rows.push_back(rows[17]);
    EXPECT_EQ(ErrorOf([&] { Digests(rows); }), ErrDuplicateKey);
}

TEST_F(Signatures, ADigestThatIsThereTwiceIsFoundAmongManyThatAreSpreadEvenly) {
    std::mt19937_64 random(5);
    std::vector<Row> rows;
    for (std::int32_t i = 0; i < 30000; ++i) {
        rows.push_back({i, Hex(random(), random()), 0});
    }
    EXPECT_EQ(Digests(rows).Count(), rows.size());
    for (const std::size_t again : {std::size_t{0}, std::size_t{14999}, std::size_t{29999}}) {
        std::vector<Row> twice = rows;
        twice.push_back(rows[again]);
        EXPECT_EQ(ErrorOf([&] { Digests(twice); }), ErrDuplicateKey);
    }
}

TEST_F(Signatures, KeysThatAreNoDigestAreKeptInATableOfDigests) {
    const std::string long33 = Hex(1, 2) + "0";
    const std::string noHex = "g" + Hex(1, 2).substr(1);
    const SignatureTable table = Digests({{1, Hex(1, 2), 0}, {2, T("Not A Digest"), 1}, {3, long33, 0}, {4, noHex, 0}});
    EXPECT_EQ(table.Count(), 4U);
    EXPECT_EQ(table.Find("not a digest"), (Signature{2, 1}));
    EXPECT_EQ(table.Find(long33), (Signature{3, 0}));
    EXPECT_EQ(table.Find(noHex), (Signature{4, 0}));
    EXPECT_EQ(table.Find(Hex(1, 2)), (Signature{1, 0}));
}

TEST_F(Signatures, WhatIsAddedBehindALoadIsCheckedAgainstIt) {
    SignatureTable table = Digests({{1, Hex(1, 2), 0}});
    EXPECT_EQ(ErrorOf([&] { table.Add(Hex(1, 2), {2, 0}); }), ErrDuplicateKey);
    table.Add(Hex(3, 4), {3, 1});
    EXPECT_EQ(table.Find(Hex(3, 4)), (Signature{3, 1}));
    EXPECT_EQ(table.Count(), 2U);
}

TEST_F(Signatures, ADigestAsBytesIsFoundLikeItsText) {
    SignatureTable table = Digests({{1, Hex(1, 2), 0}, {2, T("Not A Digest"), 1}});
    table.Add(Hex(3, 4), {3, 1});
    for (const auto& key : {Hex(1, 2), Hex(3, 4), Hex(5, 6)}) {
        const auto digest = ParseDigest(key);
        ASSERT_TRUE(digest);
        EXPECT_EQ(HexText(*digest), key);
        EXPECT_EQ(table.Find(*digest), table.Find(key));
    }
    EXPECT_EQ(table.Find(*ParseDigest(Hex(3, 4))), (Signature{3, 1}));
    EXPECT_FALSE(table.Find(*ParseDigest(Hex(5, 6))));
    EXPECT_FALSE(SignatureTable(KeyForm::Digests).Find(*ParseDigest(Hex(1, 2))));
}

TEST_F(Signatures, ADigestIsHexadecimalDigitsOfEitherCaseInEveryPlaceAndNothingElse) {
    const std::string good = Hex(0x0123456789abcdefU, 0xfedcba9876543210U);
    for (std::size_t place = 0; place < good.size(); ++place) {
        for (int code = 0; code < 256; ++code) {
            std::string text = good;
            text[place] = static_cast<char>(code);
            const std::string_view digits = "0123456789abcdefABCDEF";
            const auto digest = ParseDigest(text);
            ASSERT_EQ(digest.has_value(), digits.find(text[place]) != std::string_view::npos) << place << ' ' << code;
            if (digest) {
                text[place] = code >= 'A' && code <= 'F' ? static_cast<char>(code - 'A' + 'a') : text[place];
                ASSERT_EQ(HexText(*digest), text);
            }
        }
    }
    EXPECT_FALSE(ParseDigest(good.substr(1)));
    EXPECT_FALSE(ParseDigest(good + "0"));
}

// Tables large enough to be looked up in their file.
class LargeTables : public Signatures {
protected:
    static constexpr std::int32_t Many = 70'000;

    // Random digests in order, with the row's number from 1 as threat and levels from -1 to 3.
    static std::vector<Row> Ordered() {
        std::mt19937_64 random(11);
        std::vector<std::string> keys;
        for (std::int32_t i = 0; i < Many; ++i) {
            const std::uint64_t first = random();
            keys.push_back(Hex(first, random()));
        }
        std::sort(keys.begin(), keys.end());
        std::vector<Row> rows;
        for (const std::string& key : keys) {
            const auto number = static_cast<std::int32_t>(rows.size()) + 1;
            rows.push_back({number, key, number % 5 - 1});
        }
        return rows;
    }
    static SignatureTable Load(const std::vector<FieldDefinition>& fields, const std::vector<Row>& rows,
                               int expected = 0) {
        WriteShipped("large.sdb", fields, rows);
        Recordset recordset;
        recordset.Open(shipped::Path("large.sdb"));
        SignatureTable table(KeyForm::Digests);
        EXPECT_EQ(ErrorOf([&] { LoadSignatures(recordset, table, NullKey::Failure); }), expected);
        recordset.Close();
        return table;
    }
    static std::string KeyOf(const Row& row) { return std::get<std::string>(row[1]); }
    static void ExpectAll(const SignatureTable& table, const std::vector<Row>& rows) {
        ASSERT_EQ(table.Count(), rows.size());
        for (const Row& row : rows) {
            const Signature expected{std::get<std::int32_t>(row[0]),
                                     static_cast<std::int16_t>(row.size() < 3 ? 0 : std::get<std::int32_t>(row[2]))};
            ASSERT_EQ(table.Find(KeyOf(row)), expected);
            ASSERT_EQ(table.Find(*ParseDigest(KeyOf(row))), expected);
        }
        std::mt19937_64 random(12);
        for (int i = 0; i < 1'000; ++i) {
            const std::uint64_t first = random();
            ASSERT_FALSE(table.Find(Hex(first, random())));
        }
    }
};

TEST_F(LargeTables, RowsInOrderAndInAnyOrderAreTheSameTable) {
    std::vector<Row> rows = Ordered();
    ExpectAll(Load(KeyedFields(), rows), rows);
    std::shuffle(rows.begin(), rows.end(), std::mt19937_64(1));
    ExpectAll(Load(KeyedFields(), rows), rows);
}

TEST_F(LargeTables, WithoutLevelsEachIsZero) {
    std::vector<Row> rows = Ordered();
    for (Row& row : rows) {
        row.pop_back();
    }
    ExpectAll(Load(KeyedFieldsWithoutLevel(), rows), rows);
}

TEST_F(LargeTables, LevelsOfALargerTypeAreTakenIfTheyFitAndEndTheLoadIfNot) {
    auto fields = KeyedFields();
    fields[2].type = FieldType::Integer;
    std::vector<Row> rows = Ordered();
    ExpectAll(Load(fields, rows), rows);
    rows[100][2] = 40'000;
    const SignatureTable table = Load(fields, rows, ErrOverflow);
    EXPECT_EQ(table.Count(), 100U) << "the rows before it stay";
    EXPECT_EQ(table.Find(KeyOf(rows[99])), (Signature{100, 100 % 5 - 1}));
}

TEST_F(LargeTables, ThreatsAsTextsAreNumbers) {
    auto fields = KeyedFields();
    fields[0] = {"ThreatID", FieldType::VarChar, 20};
    const std::vector<Row> rows = Ordered();
    std::vector<Row> texts = rows;
    for (Row& row : texts) {
        row[0] = std::to_string(std::get<std::int32_t>(row[0]));
    }
    ExpectAll(Load(fields, texts), rows);
}

TEST_F(LargeTables, ARepeatedDigestEndsTheLoadAndTheRowsBeforeItStay) {
    std::vector<Row> rows = Ordered();
    rows.insert(rows.begin() + 200, rows[100]);
    const SignatureTable table = Load(KeyedFields(), rows, ErrDuplicateKey);
    EXPECT_EQ(table.Count(), 200U);
    EXPECT_EQ(table.Find(KeyOf(rows[100])), (Signature{101, 101 % 5 - 1}));
    EXPECT_FALSE(table.Find(KeyOf(rows[300])));

    rows = Ordered();
    rows.insert(rows.begin() + 200, rows[199]);
    EXPECT_EQ(Load(KeyedFields(), rows, ErrDuplicateKey).Count(), 200U);
}

TEST_F(LargeTables, ANullNumberEndsTheLoadAndTheRowsBeforeItStay) {
    std::vector<Row> rows = Ordered();
    rows[50][0] = Null{};
    EXPECT_EQ(Load(KeyedFields(), rows, ErrInvalidUseOfNull).Count(), 50U);
    rows = Ordered();
    rows[60][2] = Null{};
    EXPECT_EQ(Load(KeyedFields(), rows, ErrInvalidUseOfNull).Count(), 60U);
    rows = Ordered();
    rows[70][1] = Null{};
    EXPECT_EQ(Load(KeyedFields(), rows, ErrInvalidUseOfNull).Count(), 70U);
}

TEST_F(LargeTables, WhatIsAddedBehindALoadIsCheckedAgainstIt) {
    const std::vector<Row> rows = Ordered();
    SignatureTable table = Load(KeyedFields(), rows);
    EXPECT_EQ(ErrorOf([&] { table.Add(KeyOf(rows[5]), {1, 0}); }), ErrDuplicateKey);
    std::string capitals = KeyOf(rows[6]);
    for (char& c : capitals) {
        c = c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c;
    }
    EXPECT_EQ(ErrorOf([&] { table.Add(capitals, {1, 0}); }), ErrDuplicateKey);
    EXPECT_EQ(table.Find(capitals), (Signature{7, 7 % 5 - 1}));
    table.Add(Hex(3, 4), {3, 1});
    EXPECT_EQ(table.Count(), rows.size() + 1);
    EXPECT_EQ(table.Find(Hex(3, 4)), (Signature{3, 1}));
    EXPECT_EQ(table.Find(*ParseDigest(Hex(3, 4))), (Signature{3, 1}));
    EXPECT_EQ(ErrorOf([&] { static_cast<void>(table.At(1)); }), ErrInvalidProcedureCall) << "it is not walked";
}

TEST_F(LargeTables, ALoadIntoATableThatHasRowsAddsToThem) {
    const std::vector<Row> rows = Ordered();
    WriteShipped("large.sdb", KeyedFields(), rows);
    Recordset recordset;
    recordset.Open(shipped::Path("large.sdb"));
    SignatureTable table(KeyForm::Digests);
    table.Add(Hex(3, 4), {3, 1});
    LoadSignatures(recordset, table, NullKey::Failure);
    EXPECT_EQ(table.Count(), rows.size() + 1);
    EXPECT_EQ(table.Find(Hex(3, 4)), (Signature{3, 1}));
    EXPECT_EQ(table.Find(KeyOf(rows[9])), (Signature{10, 10 % 5 - 1}));
    SignatureTable other = Load(KeyedFields(), rows);
    EXPECT_EQ(ErrorOf([&] { LoadSignatures(recordset, other, NullKey::Failure); }), ErrDuplicateKey);
}

// The file may be replaced while a table of it is in use.
TEST_F(LargeTables, ATableOutlivesItsFile) {
    const std::vector<Row> rows = Ordered();
    const SignatureTable table = Load(KeyedFields(), rows);
    EXPECT_EQ(platform::Current().files->Remove(shipped::Path("large.sdb")), platform::SysError::Success);
    ExpectAll(table, rows);
}

TEST_F(Signatures, AClosedRecordsetCanNotBeLoaded) {
    Recordset closed;
    SignatureTable table(KeyForm::Texts);
    EXPECT_EQ(ErrorOf([&] { LoadSignatures(closed, table, NullKey::Failure); }), ErrClosed);
}

}  // namespace
}  // namespace kel::test
