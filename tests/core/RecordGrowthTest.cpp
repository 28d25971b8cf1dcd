// What filters over many rows cost, counted: each comparison of a text beyond ASCII asks the platform to fold it.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "core/Recordset.h"
#include "support/EngineTest.h"

namespace kel {
namespace {

class CountingText : public platform::Text {
public:
    explicit CountingText(platform::Text& inner) : inner_(inner) {}

    std::string ToLower(std::string_view text) override {
        ++folded;
        return inner_.ToLower(text);
    }
    std::string ToUpper(std::string_view text) override { return inner_.ToUpper(text); }
    std::size_t Prefix(std::string_view text, std::size_t count) override { return inner_.Prefix(text, count); }
    std::string ToUtf8(std::string_view text) override { return inner_.ToUtf8(text); }
    std::string FromUtf8(std::string_view text) override { return inner_.FromUtf8(text); }
    std::string FromAnsi(std::string_view bytes) override { return inner_.FromAnsi(bytes); }

    int folded = 0;

private:
    platform::Text& inner_;
};

class RecordGrowth : public test::EngineTest {
protected:
    static constexpr int Rows = 4000;

    RecordGrowth() : text_(*Machine().text), letter_(Machine().text->FromUtf8("\xC3\xA9")) {
        platform::Platform platform = Machine();
        platform.text = &text_;
        Install(platform);
        table.AppendField("Key", FieldType::VarChar, 30);
        table.AppendField("Number", FieldType::Integer);
        table.AppendField("Note", FieldType::VarChar, 30);
        table.Open();
    }

    [[nodiscard]] std::string KeyOf(int row) const { return letter_ + std::to_string(row); }
    void Append(int row) {
        table.AddNew();
        table.Set("Key", KeyOf(row));
        table.Set("Number", row / 2);
        table.Update();
    }
    // The row is found, and alone.
    void ExpectRow(int row, const std::string& filter) {
        table.SetFilter(filter);
        ASSERT_FALSE(table.Eof()) << filter;
        EXPECT_EQ(std::get<std::string>(table.Get("Key")), KeyOf(row));
        table.MoveNext();
        EXPECT_TRUE(table.Eof()) << filter;
    }
    [[nodiscard]] std::string ByKey(int row) const { return "Key='" + KeyOf(row) + "'"; }
    // Texts folded since the last question.
    int Folded() { return std::exchange(text_.folded, 0); }

    Recordset table;

private:
    CountingText text_;
    std::string letter_;
};

// Before the tables are large enough for an index, and until it has proved useful, every row is looked at.
constexpr int WithoutIndex = 512 * 512 + 16 * 4000;
constexpr int EachRow = 12;

TEST_F(RecordGrowth, AddingAndLookingUpByTurnsCostsTheSameForEachRow) {
    for (int row = 0; row < Rows; ++row) {
        Append(row);
        ExpectRow(row, ByKey(row));
        ExpectRow(row / 3, ByKey(row / 3));
    }
    EXPECT_LT(Folded(), 3 * WithoutIndex + EachRow * Rows);
}

TEST_F(RecordGrowth, ChangingAnotherColumnKeepsTheQuickWay) {
    for (int row = 0; row < Rows; ++row) {
        Append(row);
    }
    Folded();
    for (int row = 0; row < Rows; ++row) {
        table.SetFilter(ByKey(row));
        table.Set("Note", std::string("seen"));
        table.Update();
    }
    EXPECT_LT(Folded(), 16 * Rows);
}

TEST_F(RecordGrowth, DeletingByKeyOneAfterAnotherCostsTheSameForEachRow) {
    for (int row = 0; row < Rows; ++row) {
        Append(row);
    }
    Folded();
    for (int row = 0; row < Rows; ++row) {
        ExpectRow(row, ByKey(row));
        table.SetFilter(ByKey(row));
        table.Delete();
    }
    table.SetFilter("");
    EXPECT_TRUE(table.Eof());
    EXPECT_LT(Folded(), 24 * Rows);
}

TEST_F(RecordGrowth, ANumberIsAnIndexedKeyToo) {
    for (int row = 0; row < Rows; ++row) {
        Append(row);
    }
    Folded();
    for (int row = 0; row < Rows; ++row) {
        // Only rows that have the number are compared by the text that is not equal.
        ExpectRow(row, "Number=" + std::to_string(row / 2) + " and Key<>'" + KeyOf(row ^ 1) + "'");
    }
    EXPECT_LT(Folded(), 16 * Rows);
}

TEST_F(RecordGrowth, AChangedKeyIsFoundUnderItsNewValueAlone) {
    for (int row = 0; row < 1000; ++row) {
        Append(row);
    }
    for (int round = 0; round < 5; ++round) {
        ExpectRow(7, ByKey(7));
    }
    table.SetFilter(ByKey(7));
    table.Set("Key", KeyOf(5000));
    table.Set("Number", 5000);
    table.Update();
    for (int round = 0; round < 5; ++round) {
        ExpectRow(5000, ByKey(5000));
        ExpectRow(5000, "Number=5000");
        ExpectRow(6, "Number=3");
        table.SetFilter(ByKey(7));
        EXPECT_TRUE(table.Eof());
    }
}

TEST_F(RecordGrowth, ANullIsNeverFoundByTheIndex) {
    for (int row = 0; row < 1000; ++row) {
        Append(row);
        table.AddNew();
        table.Set("Note", std::string("no key"));
        table.Update();
    }
    for (int round = 0; round < 5; ++round) {
        ExpectRow(0, "Number=0 and Key='" + KeyOf(0) + "'");
        table.SetFilter("Number=0");
        EXPECT_EQ(table.RecordCount(), 2);
    }
}

}  // namespace
}  // namespace kel
