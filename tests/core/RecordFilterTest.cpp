// The filter language and what a filter lets through.
#include <gmock/gmock.h>

#include <algorithm>
#include <random>

#include "ErrorNumber.h"
#include "core/Recordset.h"
#include "core/Text.h"
#include "support/EngineTest.h"

namespace kel {
namespace {

using test::ErrorNumber;
using testing::ElementsAre;
using testing::IsEmpty;

class Filters : public test::EngineTest {
protected:
    Filters() {
        table_.AppendField("ID", FieldType::Integer);
        table_.AppendField("ScanID", FieldType::VarChar, 30);
        table_.AppendField("Level", FieldType::SmallInt);
        table_.AppendField("Flag", FieldType::Boolean);
        table_.AppendField("Amount", FieldType::Numeric);
        table_.AppendField("When", FieldType::Date);
        table_.Open();
        Add(1, "Totals", 0, true, 0.5, 38353.0);
        Add(2, "alpha", 1, false, 1.5, 38354.5);
        Add(3, "Beta", 2, true, -1.0, 1.0);
        Add(4, "O'Brien and son", 3, false, 2.0, 2.0);
        table_.AddNew();
        table_.Set("ID", 5);
        table_.SetFilter("");
    }

    void Add(std::int32_t id, const char* scan, std::int32_t level, bool flag, double amount, double when) {
        table_.AddNew();
        table_.Set("ID", id);
        table_.Set("ScanID", std::string(scan));
        table_.Set("Level", level);
        table_.Set("Flag", flag);
        table_.Set("Amount", amount);
        table_.Set("When", Date{when});
    }

    // Numbers of the rows that a filter lets through.
    std::vector<std::int32_t> Rows(std::string_view filter) {
        std::vector<std::int32_t> ids;
        table_.SetFilter(filter);
        EXPECT_EQ(table_.Filter(), filter);
        for (; !table_.Eof(); table_.MoveNext()) {
            ids.push_back(std::get<std::int32_t>(table_.Get("ID")));
        }
        EXPECT_EQ(table_.RecordCount(), static_cast<std::int32_t>(ids.size()));
        return ids;
    }

    Recordset table_;
};

TEST_F(Filters, EveryComparisonOfANumber) {
    EXPECT_THAT(Rows("ID=3"), ElementsAre(3));
    EXPECT_THAT(Rows("ID<>3"), ElementsAre(1, 2, 4, 5));
    EXPECT_THAT(Rows("ID<3"), ElementsAre(1, 2));
    EXPECT_THAT(Rows("ID<=3"), ElementsAre(1, 2, 3));
    EXPECT_THAT(Rows("ID>3"), ElementsAre(4, 5));
    EXPECT_THAT(Rows("ID>=3"), ElementsAre(3, 4, 5));
    EXPECT_THAT(Rows("Level<=1"), ElementsAre(1, 2));
    EXPECT_THAT(Rows("ID=-3"), IsEmpty());
    EXPECT_THAT(Rows("Amount=1.5"), ElementsAre(2));
    EXPECT_THAT(Rows("Amount>-1.0 and Amount<+2"), ElementsAre(1, 2));
    EXPECT_THAT(Rows("ID=9999999999"), IsEmpty());
}

TEST_F(Filters, EveryComparisonOfAText) {
    EXPECT_THAT(Rows("ScanID='Totals'"), ElementsAre(1));
    EXPECT_THAT(Rows("ScanID<>'Totals'"), ElementsAre(2, 3, 4));
    EXPECT_THAT(Rows("ScanID <> 'Totals'"), ElementsAre(2, 3, 4));
    EXPECT_THAT(Rows("ScanID<'c'"), ElementsAre(2, 3));
    EXPECT_THAT(Rows("ScanID>='BETA'"), ElementsAre(1, 3, 4));
    EXPECT_THAT(Rows("ScanID>'totals'"), IsEmpty());
    EXPECT_THAT(Rows("ScanID<='alpha'"), ElementsAre(2));
    EXPECT_THAT(Rows("ScanID=''"), IsEmpty());
}

// The filters that the engine sets, as it builds them.
TEST_F(Filters, TheFormsThatTheEngineUsesAreUnderstood) {
    Recordset history;
    history.AppendField("ScanID", FieldType::VarChar, 30);
    history.AppendField("DThreatID", FieldType::Integer);
    history.Open();
    for (const auto& [scan, threat] : {std::pair("Totals", 0), std::pair("1A-2B", 7), std::pair("1A-2B", 8)}) {
        history.AddNew();
        history.Set("ScanID", std::string(scan));
        history.Set("DThreatID", threat);
    }
    const auto count = [&](std::string_view filter) {
        history.SetFilter(filter);
        return history.RecordCount();
    };
    EXPECT_EQ(count("ScanID='Totals'"), 1);
    EXPECT_EQ(count("ScanID<>'Totals'"), 2);
    EXPECT_EQ(count("ScanID <> 'Totals'"), 2);
    EXPECT_EQ(count("ScanID<>'1A-2B'"), 1);
    EXPECT_EQ(count("ScanID='1A-2B' and DThreatID=7"), 1);
    EXPECT_EQ(count("DThreatID='8'"), 1);
    EXPECT_EQ(count("DThreatID=8"), 1);
    EXPECT_EQ(count(""), 3);

    Recordset keys;
    for (const char* column : {"RegHive", "RegKey", "RegValueName", "RegValueData"}) {
        keys.AppendField(column, FieldType::VarChar, 255);
    }
    keys.AppendField("ThreatID", FieldType::Integer);
    keys.AppendField("OptionalScan", FieldType::SmallInt);
    keys.Open();
    keys.AddNew();
    keys.Set("RegHive", std::string("HKEY_LOCAL_MACHINE"));
    keys.Set("RegKey", std::string("software\\bad and worse"));
    keys.Set("RegValueName", std::string(""));
    keys.Set("RegValueData", std::string("c:\\a b.exe"));
    keys.Set("ThreatID", 7);
    keys.Set("OptionalScan", 2);
    for (const char* filter :
         {"RegHive='HKEY_LOCAL_MACHINE' and RegKey='Software\\Bad and worse'",
          "RegHive='HKEY_LOCAL_MACHINE' and RegKey='Software\\Bad and worse' and RegValueName=''",
          "RegHive='HKEY_LOCAL_MACHINE' and RegKey='Software\\Bad and worse' and RegValueName='' and "
          "RegValueData='C:\\A B.exe'",
          "ThreatID=7", "OptionalScan<=2"}) {
        keys.SetFilter(filter);
        EXPECT_EQ(keys.RecordCount(), 1) << filter;
    }
    keys.SetFilter("OptionalScan<=1");
    EXPECT_TRUE(keys.Eof());
}

TEST_F(Filters, TextsCompareWithoutRegardToCase) {
    EXPECT_THAT(Rows("scanid='TOTALS'"), ElementsAre(1));
    EXPECT_THAT(Rows("SCANID='bETA'"), ElementsAre(3));
    const std::string upper = platform::Current().text->FromUtf8("\xC3\x89x");
    const std::string lower = platform::Current().text->FromUtf8("\xC3\xA9X");
    Add(6, upper.c_str(), 0, false, 0, 0);
    EXPECT_THAT(Rows("ScanID='" + lower + "'"), ElementsAre(6));
    EXPECT_THAT(Rows("ScanID='ex'"), IsEmpty());
}

TEST_F(Filters, AQuoteInsideATextIsWrittenTwice) {
    EXPECT_THAT(Rows("ScanID='O''Brien and son'"), ElementsAre(4));
    EXPECT_EQ(ErrorNumber([&] { table_.SetFilter("ScanID='O'Brien and son'"); }), ErrInvalidArgument);
    EXPECT_THAT(Rows("ScanID=''''"), IsEmpty());
}

TEST_F(Filters, BlanksAndTheCaseOfAndDoNotMatter) {
    EXPECT_THAT(Rows("  ID  =  3  "), ElementsAre(3));
    EXPECT_THAT(Rows("ScanID='Beta' and ID=3"), ElementsAre(3));
    EXPECT_THAT(Rows("ScanID='Beta' AND ID=4"), IsEmpty());
    EXPECT_THAT(Rows("ID>1  And  ID<4 and Level<>1"), ElementsAre(3));
    EXPECT_THAT(Rows("[ID] = 3"), ElementsAre(3));
    EXPECT_THAT(Rows(" "), ElementsAre(1, 2, 3, 4, 5));
}

TEST_F(Filters, ANullIsNeverLetThrough) {
    EXPECT_THAT(Rows("Level>=0"), ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(Rows("Level<>0"), ElementsAre(2, 3, 4));
    EXPECT_THAT(Rows("ScanID<>'x'"), ElementsAre(1, 2, 3, 4));
}

TEST_F(Filters, AQuotedNumberComparesWithANumberColumn) {
    EXPECT_THAT(Rows("ID='3'"), ElementsAre(3));
    EXPECT_THAT(Rows("Flag='True'"), ElementsAre(1, 3));
    EXPECT_THAT(Rows("When='" + ShortDateText(Date{38353}) + "'"), ElementsAre(1));
    EXPECT_THAT(Rows("Flag=0"), ElementsAre(2, 4));
    EXPECT_THAT(Rows("When>38353"), ElementsAre(2));
}

TEST_F(Filters, AConstantThatCanNotBeComparedIsRefused) {
    EXPECT_EQ(ErrorNumber([&] { table_.SetFilter("ScanID=3"); }), ErrInvalidArgument);
    EXPECT_EQ(ErrorNumber([&] { table_.SetFilter("ID='three'"); }), ErrInvalidArgument);
    EXPECT_EQ(ErrorNumber([&] { table_.SetFilter("Flag='maybe'"); }), ErrInvalidArgument);
    EXPECT_EQ(ErrorNumber([&] { table_.SetFilter("When='never'"); }), ErrInvalidArgument);
}

TEST_F(Filters, AnUnknownColumnHasItsOwnError) {
    EXPECT_EQ(ErrorNumber([&] { table_.SetFilter("OptionalScan<=0"); }), ErrNotFound);
    EXPECT_EQ(ErrorNumber([&] { table_.SetFilter("ID=1 and None=2"); }), ErrNotFound);
}

TEST_F(Filters, ATextThatIsNoFilterIsRefused) {
    for (const char* text : {"ID",
                             "ID=",
                             "=3",
                             "ID=3 and",
                             "ID=3 and ",
                             "ID=3 ID=4",
                             "ID=3and ID=4",
                             "ID==3",
                             "ID=3x",
                             "ScanID='a",
                             "ScanID='a'and ID=3",
                             "ScanID='a' or ID=3",
                             "[ID=3",
                             "ID=inf",
                             "ID=nan",
                             "ID=-",
                             "ID LIKE 3",
                             "(ID=3)",
                             "and ID=3",
                             "ID=3 and and ID=4",
                             "ID=."}) {
        const int number = ErrorNumber([&] { table_.SetFilter(text); });
        EXPECT_TRUE(number == ErrInvalidArgument || number == ErrNotFound) << text << ": " << number;
    }
}

TEST_F(Filters, ARefusedFilterChangesNothing) {
    table_.SetFilter("ID>2");
    table_.MoveNext();
    EXPECT_EQ(ErrorNumber([&] { table_.SetFilter("None=1"); }), ErrNotFound);
    EXPECT_EQ(table_.Filter(), "ID>2");
    EXPECT_EQ(table_.Get("ID"), Value(4));
}

TEST_F(Filters, SettingAFilterGoesToItsFirstRow) {
    table_.MoveLast();
    table_.SetFilter("ID>=2");
    EXPECT_EQ(table_.Get("ID"), Value(2));
    table_.MoveLast();
    EXPECT_EQ(table_.Get("ID"), Value(5));
    table_.MoveFirst();
    EXPECT_EQ(table_.Get("ID"), Value(2));
    table_.SetFilter("ID=17");
    EXPECT_TRUE(table_.Eof());
    EXPECT_TRUE(table_.Bof());
    EXPECT_EQ(table_.RecordCount(), 0);
    EXPECT_EQ(ErrorNumber([&] { table_.MoveFirst(); }), ErrNoCurrentRow);
    table_.SetFilter("");
    EXPECT_EQ(table_.Get("ID"), Value(1));
}

TEST_F(Filters, ARowThatIsEditedOutOfTheViewStaysCurrentUntilAMove) {
    table_.SetFilter("Level>0");
    table_.Set("Level", 0);
    table_.Update();
    EXPECT_EQ(table_.Get("ID"), Value(2));
    EXPECT_EQ(table_.RecordCount(), 2);
    table_.MoveNext();
    EXPECT_EQ(table_.Get("ID"), Value(3));
}

TEST_F(Filters, ANewRowOutsideTheViewIsCurrentButNotCounted) {
    table_.SetFilter("ID=1");
    table_.AddNew();
    table_.Set("ID", 9);
    table_.Update();
    EXPECT_EQ(table_.Get("ID"), Value(9));
    EXPECT_EQ(table_.RecordCount(), 1);
    table_.MoveFirst();
    EXPECT_EQ(table_.Get("ID"), Value(1));
}

// Random tables and filters against the plain meaning of a comparison.
class RandomFilters : public test::EngineTest {
protected:
    static constexpr std::size_t RowsOfTable = 1500;
    struct Row {
        std::int32_t number = 0;
        bool hasText[2] = {false, false};
        std::string text[2];
        bool deleted = false;
    };

    std::string RandomText() {
        static const char* const words[] = {"", "a", "A", "ab", "Ab", "b", "B ", "it''s", "HKEY", "hkey"};
        return words[random_() % std::size(words)];
    }
    static std::string Plain(std::string text) { return Replace(text, "''", "'"); }

    static bool Holds(const std::string& op, int order) {
        return op == "="    ? order == 0
               : op == "<>" ? order != 0
               : op == "<"  ? order < 0
               : op == "<=" ? order <= 0
               : op == ">"  ? order > 0
                            : order >= 0;
    }

    std::mt19937 random_{7};
};

TEST_F(RandomFilters, LetThroughWhatTheirComparisonsSay) {
    Recordset table;
    table.AppendField("N", FieldType::Integer);
    table.AppendField("T0", FieldType::VarChar, 10);
    table.AppendField("T1", FieldType::VarChar, 10);
    table.Open();
    std::vector<Row> rows;
    const auto add = [&] {
        Row row;
        row.number = static_cast<std::int32_t>(random_() % 5);
        table.AddNew();
        table.Set("N", row.number);
        for (std::size_t i = 0; i < 2; ++i) {
            row.hasText[i] = random_() % 8 != 0;
            row.text[i] = Plain(RandomText());
            if (row.hasText[i]) {
                table.Set(i + 1, row.text[i]);
            }
        }
        table.Update();
        rows.push_back(row);
    };
    while (rows.size() < RowsOfTable) {
        add();
    }
    const std::string operators[] = {"=", "=", "=", "<>", "<", "<=", ">", ">="};
    for (int round = 0; round < 400; ++round) {
        std::string filter;
        std::vector<bool> expected(rows.size());
        for (std::size_t i = 0; i < rows.size(); ++i) {
            expected[i] = !rows[i].deleted;
        }
        const unsigned terms = 1 + static_cast<unsigned>(random_() % 3);
        for (unsigned term = 0; term < terms; ++term) {
            const std::string& op = operators[random_() % std::size(operators)];
            const std::size_t column = random_() % 3;
            const auto number = static_cast<std::int32_t>(random_() % 5);
            const std::string text = RandomText();
            filter += filter.empty() ? "" : " and ";
            filter += column == 0 ? "N" + op + std::to_string(number)
                                  : "T" + std::to_string(column - 1) + op + "'" + text + "'";
            const std::string folded = LCase(Plain(text));
            for (std::size_t i = 0; i < rows.size(); ++i) {
                const Row& row = rows[i];
                const bool holds =
                    column == 0 ? Holds(op, row.number - number)
                                : row.hasText[column - 1] && Holds(op, LCase(row.text[column - 1]).compare(folded));
                expected[i] = expected[i] && holds;
            }
        }
        table.SetFilter(filter);
        std::size_t last = 0;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (!expected[i]) {
                continue;
            }
            ASSERT_FALSE(table.Eof()) << filter;
            ASSERT_EQ(table.Get("N"), Value(rows[i].number)) << filter;
            for (std::size_t t = 0; t < 2; ++t) {
                ASSERT_EQ(table.Get(t + 1), rows[i].hasText[t] ? Value(rows[i].text[t]) : Value(Null{})) << filter;
            }
            last = i;
            table.MoveNext();
        }
        ASSERT_TRUE(table.Eof()) << filter;
        const auto matches = std::count(expected.begin(), expected.end(), true);
        ASSERT_EQ(table.RecordCount(), matches) << filter;
        if (matches != 0) {
            table.MoveLast();
            ASSERT_EQ(table.Get("N"), Value(rows[last].number)) << filter;
            // Now and then the table changes under its indexes.
            if (round % 7 == 0) {
                table.Delete();
                rows[last].deleted = true;
            } else if (round % 7 == 1) {
                rows[last].text[0] = "changed";
                rows[last].hasText[0] = true;
                table.Set("T0", rows[last].text[0]);
                table.Update();
            } else if (round % 7 == 2) {
                add();
            }
        }
    }
}

}  // namespace
}  // namespace kel
