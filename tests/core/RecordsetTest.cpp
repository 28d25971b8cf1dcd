// Rows, the current row, and what is pending.
#include "core/Recordset.h"

#include <gmock/gmock.h>

#include <array>

#include "ErrorNumber.h"
#include "support/EngineTest.h"

namespace kel {
namespace {

using test::ErrorNumber;
using testing::ElementsAre;

class Records : public test::EngineTest {
protected:
    // A table of names and numbers from 1 on.
    static void Fill(Recordset& table, std::initializer_list<const char*> names) {
        table.AppendField("Name", FieldType::VarChar, 20);
        table.AppendField("Number", FieldType::Integer);
        table.Open();
        std::int32_t number = 0;
        for (const char* name : names) {
            table.AddNew();
            table.Set("Name", std::string(name));
            table.Set("Number", ++number);
            table.Update();
        }
        table.SetFilter("");
    }

    static std::string NameOf(const Recordset& table) { return std::get<std::string>(table.Get("Name")); }

    // The names that a walk over what the filter lets through meets.
    static std::vector<std::string> Walk(Recordset& table) {
        std::vector<std::string> names;
        table.SetFilter(table.Filter());
        for (; !table.Eof(); table.MoveNext()) {
            names.push_back(NameOf(table));
        }
        return names;
    }
};

TEST_F(Records, AClosedTableRefusesEveryUse) {
    Recordset table;
    EXPECT_FALSE(table.IsOpen());
    EXPECT_EQ(ErrorNumber([&] { (void)table.Eof(); }), ErrClosed);
    EXPECT_EQ(ErrorNumber([&] { (void)table.Bof(); }), ErrClosed);
    EXPECT_EQ(ErrorNumber([&] { table.MoveFirst(); }), ErrClosed);
    EXPECT_EQ(ErrorNumber([&] { table.MoveLast(); }), ErrClosed);
    EXPECT_EQ(ErrorNumber([&] { table.MoveNext(); }), ErrClosed);
    EXPECT_EQ(ErrorNumber([&] { (void)table.RecordCount(); }), ErrClosed);
    EXPECT_EQ(ErrorNumber([&] { (void)table.RowCount(); }), ErrClosed);
    EXPECT_EQ(ErrorNumber([&] { (void)table.Get(std::size_t{0}); }), ErrClosed);
    EXPECT_EQ(ErrorNumber([&] { (void)table.Get("Name"); }), ErrClosed);
    EXPECT_EQ(ErrorNumber([&] { table.Set("Name", 1); }), ErrClosed);
    EXPECT_EQ(ErrorNumber([&] { table.SetFilter(""); }), ErrClosed);
    EXPECT_EQ(ErrorNumber([&] { table.AddNew(); }), ErrClosed);
    EXPECT_EQ(ErrorNumber([&] { table.Update(); }), ErrClosed);
    EXPECT_EQ(ErrorNumber([&] { table.Delete(); }), ErrClosed);
    EXPECT_EQ(ErrorNumber([&] { table.Close(); }), ErrClosed);
    EXPECT_EQ(ErrorNumber([&] { table.Save(Folder() + "x.sdb"); }), ErrClosed);
    EXPECT_EQ(ErrorNumber([&] { (void)table.ReadColumn(0); }), ErrClosed);
}

TEST_F(Records, AnOpenTableCanNotBeDefinedOrOpenedAgain) {
    Recordset table;
    Fill(table, {"a"});
    EXPECT_EQ(ErrorNumber([&] { table.Open(); }), ErrAlreadyOpen);
    EXPECT_EQ(ErrorNumber([&] { table.Open(Folder() + "x.sdb"); }), ErrAlreadyOpen);
    EXPECT_EQ(ErrorNumber([&] { table.AppendField("x", FieldType::Integer); }), ErrAlreadyOpen);
}

TEST_F(Records, ADefinitionNeedsColumnsWithNamesOfTheirOwn) {
    Recordset table;
    EXPECT_EQ(ErrorNumber([&] { table.Open(); }), ErrInvalidArgument);
    EXPECT_EQ(ErrorNumber([&] { table.AppendField("", FieldType::Integer); }), ErrInvalidArgument);
    EXPECT_EQ(ErrorNumber([&] { table.AppendField("Text", FieldType::VarChar, 0); }), ErrInvalidArgument);
    table.AppendField("Name", FieldType::Integer);
    EXPECT_EQ(ErrorNumber([&] { table.AppendField("NAME", FieldType::Date); }), ErrInvalidArgument);
    EXPECT_EQ(table.FieldCount(), 1U);
}

TEST_F(Records, ANewTableIsEmptyAtBothEnds) {
    Recordset table;
    Fill(table, {});
    EXPECT_TRUE(table.Bof());
    EXPECT_TRUE(table.Eof());
    EXPECT_EQ(table.RecordCount(), 0);
    EXPECT_EQ(table.FieldCount(), 2U);
    EXPECT_EQ(table.Field(0).name, "Name");
    EXPECT_EQ(table.Field(0).size, 20U);
    EXPECT_EQ(table.Field(1).type, FieldType::Integer);
    EXPECT_EQ(ErrorNumber([&] { table.MoveFirst(); }), ErrNoCurrentRow);
    EXPECT_EQ(ErrorNumber([&] { table.MoveLast(); }), ErrNoCurrentRow);
    EXPECT_EQ(ErrorNumber([&] { table.MoveNext(); }), ErrNoCurrentRow);
    EXPECT_EQ(ErrorNumber([&] { (void)table.Get("Name"); }), ErrNoCurrentRow);
    EXPECT_EQ(ErrorNumber([&] { table.Delete(); }), ErrNoCurrentRow);
}

TEST_F(Records, ColumnsGoByNameInAnyCaseOrByPosition) {
    Recordset table;
    Fill(table, {"a"});
    EXPECT_EQ(table.Get("NUMBER"), Value(1));
    EXPECT_EQ(table.Get(1), Value(1));
    EXPECT_EQ(ErrorNumber([&] { (void)table.Get("None"); }), ErrNotFound);
    EXPECT_EQ(ErrorNumber([&] { (void)table.Get(2); }), ErrNotFound);
    EXPECT_EQ(ErrorNumber([&] { table.Set("None", 1); }), ErrNotFound);
    EXPECT_EQ(ErrorNumber([&] { (void)table.Field(2); }), ErrNotFound);
}

TEST_F(Records, MovesGoFromRowToRowAndStopAtTheEnd) {
    Recordset table;
    Fill(table, {"a", "b", "c"});
    EXPECT_EQ(NameOf(table), "a");
    table.MoveLast();
    EXPECT_EQ(NameOf(table), "c");
    EXPECT_FALSE(table.Eof());
    table.MoveNext();
    EXPECT_TRUE(table.Eof());
    EXPECT_FALSE(table.Bof());
    EXPECT_EQ(ErrorNumber([&] { (void)table.Get("Name"); }), ErrNoCurrentRow);
    EXPECT_EQ(ErrorNumber([&] { table.MoveNext(); }), ErrNoCurrentRow);
    table.MoveFirst();
    EXPECT_EQ(NameOf(table), "a");
}

TEST_F(Records, MovesGoBackAndStopBeforeTheFirstRow) {
    Recordset table;
    Fill(table, {"a", "b", "c"});
    table.MoveLast();
    table.MoveNext();
    table.MovePrevious();
    EXPECT_EQ(NameOf(table), "c");
    table.SetFilter("Name<>'b'");
    table.MoveLast();
    table.MovePrevious();
    EXPECT_EQ(NameOf(table), "a");
    table.MovePrevious();
    EXPECT_TRUE(table.Bof());
    EXPECT_FALSE(table.Eof());
    EXPECT_EQ(ErrorNumber([&] { (void)table.Get("Name"); }), ErrNoCurrentRow);
    EXPECT_EQ(ErrorNumber([&] { table.MovePrevious(); }), ErrNoCurrentRow);
    table.MoveNext();
    EXPECT_EQ(NameOf(table), "a");
    table.SetFilter("Name='none'");
    EXPECT_EQ(ErrorNumber([&] { table.MovePrevious(); }), ErrNoCurrentRow);
}

TEST_F(Records, AColumnThatWasNotSetIsNull) {
    Recordset table;
    Fill(table, {});
    table.AddNew();
    EXPECT_EQ(table.Get("Name"), Value(Null{}));
    table.Set("Name", std::string("x"));
    table.Update();
    EXPECT_EQ(table.Get("Name"), Value(std::string("x")));
    EXPECT_EQ(table.Get("Number"), Value(Null{}));
    table.Set("Name", Null{});
    table.Update();
    EXPECT_EQ(table.Get("Name"), Value(Null{}));
}

TEST_F(Records, ValuesAreConvertedToTheirColumn) {
    Recordset table;
    table.AppendField("Long", FieldType::Integer);
    table.AppendField("Short", FieldType::SmallInt);
    table.AppendField("Flag", FieldType::Boolean);
    table.AppendField("When", FieldType::Date);
    table.AppendField("Real", FieldType::Numeric);
    table.AppendField("Text", FieldType::VarChar, 5);
    table.Open();
    table.AddNew();
    table.Set("Long", std::string("17"));
    table.Set("Short", 2.0);
    table.Set("Flag", -1);
    table.Set("When", ShortDateText(Date{38353}));
    table.Set("Real", true);
    table.Set("Text", 12345);
    table.Update();
    EXPECT_EQ(table.Get("Long"), Value(17));
    EXPECT_EQ(table.Get("Short"), Value(2));
    EXPECT_EQ(table.Get("Flag"), Value(true));
    EXPECT_EQ(table.Get("When"), Value(Date{38353}));
    EXPECT_EQ(table.Get("Real"), Value(-1.0));
    EXPECT_EQ(table.Get("Text"), Value(std::string("12345")));
    EXPECT_EQ(ErrorNumber([&] { table.Set("Long", std::string("x")); }), ErrTypeMismatch);
    EXPECT_EQ(ErrorNumber([&] { table.Set("Short", 32768); }), ErrOverflow);
    EXPECT_EQ(ErrorNumber([&] { table.Set("Flag", std::string("maybe")); }), ErrTypeMismatch);
    EXPECT_EQ(ErrorNumber([&] { table.Set("When", std::string("never")); }), ErrTypeMismatch);
    EXPECT_EQ(ErrorNumber([&] { table.Set("Text", std::string("123456")); }), ErrInvalidArgument);
    EXPECT_EQ(table.Get("Text"), Value(std::string("12345")));
}

TEST_F(Records, TheLengthOfATextCountsCharacters) {
    Recordset table;
    table.AppendField("Text", FieldType::VarChar, 3);
    table.Open();
    const std::string letter = platform::Current().text->FromUtf8("\xC3\xA9");
    table.AddNew();
    table.Set("Text", letter + letter + letter);
    table.Update();
    EXPECT_EQ(table.Get("Text"), Value(letter + letter + letter));
    EXPECT_EQ(ErrorNumber([&] { table.Set("Text", letter + letter + letter + letter); }), ErrInvalidArgument);
}

TEST_F(Records, APendingRowIsCommittedByUpdate) {
    Recordset table;
    Fill(table, {"a"});
    table.AddNew();
    table.Set("Name", std::string("b"));
    EXPECT_EQ(NameOf(table), "b");
    EXPECT_FALSE(table.Eof());
    EXPECT_EQ(table.RecordCount(), 1);
    table.Update();
    EXPECT_EQ(table.RecordCount(), 2);
    EXPECT_EQ(NameOf(table), "b");
    table.Update();
    EXPECT_EQ(table.RecordCount(), 2);
}

TEST_F(Records, APendingRowIsCommittedByAnotherOneAMoveAndAFilter) {
    Recordset table;
    Fill(table, {"a"});
    table.AddNew();
    table.Set("Name", std::string("b"));
    table.AddNew();
    EXPECT_EQ(table.RecordCount(), 2);
    table.Set("Name", std::string("c"));
    table.MoveFirst();
    EXPECT_EQ(table.RecordCount(), 3);
    EXPECT_EQ(NameOf(table), "a");
    table.AddNew();
    table.Set("Name", std::string("d"));
    table.SetFilter("Name='d'");
    EXPECT_EQ(NameOf(table), "d");
    table.SetFilter("");
    EXPECT_THAT(Walk(table), ElementsAre("a", "b", "c", "d"));
}

TEST_F(Records, AMoveFromAPendingRowGoesFromTheEndOfTheTable) {
    Recordset table;
    Fill(table, {"a"});
    table.AddNew();
    table.Set("Name", std::string("b"));
    table.MoveNext();
    EXPECT_TRUE(table.Eof());
    EXPECT_EQ(table.RecordCount(), 2);
}

TEST_F(Records, AnEditOfAnExistingRowIsSeenAtOnceAndCommittedByAMove) {
    Recordset table;
    Fill(table, {"a", "b"});
    table.Set("Name", std::string("longer than before"));
    EXPECT_EQ(NameOf(table), "longer than before");
    table.MoveNext();
    table.Set("Name", std::string("B"));
    table.Update();
    EXPECT_THAT(Walk(table), ElementsAre("longer than before", "B"));
}

TEST_F(Records, ADeletedRowStaysCurrentUntilAMove) {
    Recordset table;
    Fill(table, {"a", "b", "c"});
    table.MoveNext();
    table.Delete();
    EXPECT_FALSE(table.Eof());
    EXPECT_EQ(table.RecordCount(), 2);
    EXPECT_EQ(ErrorNumber([&] { (void)table.Get("Name"); }), ErrNoCurrentRow);
    EXPECT_EQ(ErrorNumber([&] { table.Set("Name", std::string("x")); }), ErrNoCurrentRow);
    EXPECT_EQ(ErrorNumber([&] { table.Delete(); }), ErrNoCurrentRow);
    table.MoveNext();
    EXPECT_EQ(NameOf(table), "c");
    EXPECT_THAT(Walk(table), ElementsAre("a", "c"));
}

TEST_F(Records, DeletingTheLastRowEndsAtBothEnds) {
    Recordset table;
    Fill(table, {"a"});
    table.Delete();
    EXPECT_FALSE(table.Eof());
    table.MoveNext();
    EXPECT_TRUE(table.Eof());
    EXPECT_TRUE(table.Bof());
    EXPECT_EQ(ErrorNumber([&] { table.MoveFirst(); }), ErrNoCurrentRow);
}

TEST_F(Records, DeletingEveryRowOfAViewLeavesTheOthers) {
    Recordset table;
    Fill(table, {"a", "b", "a", "c", "a"});
    table.SetFilter("Name='a'");
    for (; !table.Eof(); table.MoveNext()) {
        table.Delete();
    }
    EXPECT_EQ(table.RecordCount(), 0);
    table.SetFilter("");
    EXPECT_THAT(Walk(table), ElementsAre("b", "c"));
}

TEST_F(Records, DeletingAPendingRowGivesItUp) {
    Recordset table;
    Fill(table, {"a"});
    table.AddNew();
    table.Set("Name", std::string("b"));
    table.Delete();
    EXPECT_EQ(NameOf(table), "a");
    EXPECT_THAT(Walk(table), ElementsAre("a"));
}

TEST_F(Records, ManyDeletedRowsLeaveMemoryAndNothingElseChanges) {
    Recordset table;
    table.AppendField("Number", FieldType::Integer);
    table.AppendField("Text", FieldType::VarChar, 20);
    table.Open();
    for (std::int32_t i = 0; i < 10000; ++i) {
        table.AddNew();
        table.Set("Number", i);
        if (i % 3 == 0) {
            table.Set("Text", "row " + std::to_string(i));
        }
    }
    table.SetFilter("Number<9000");
    for (; !table.Eof(); table.MoveNext()) {
        table.Delete();
    }
    table.SetFilter("");
    std::int32_t expected = 9000;
    for (; !table.Eof(); table.MoveNext(), ++expected) {
        ASSERT_EQ(table.Get("Number"), Value(expected));
        ASSERT_EQ(table.Get("Text"), expected % 3 == 0 ? Value("row " + std::to_string(expected)) : Value(Null{}));
    }
    EXPECT_EQ(expected, 10000);
    EXPECT_EQ(table.RecordCount(), 1000);
    table.AddNew();
    table.Set("Number", 1);
    table.Update();
    EXPECT_EQ(table.Get("Text"), Value(Null{}));
}

TEST_F(Records, ATextThatIsReplacedOverAndOverKeepsItsLastValue) {
    Recordset table;
    Fill(table, {"a", "keep"});
    for (int i = 0; i < 20000; ++i) {
        table.Set("Name", std::string(static_cast<std::size_t>(1 + i % 20), static_cast<char>('a' + i % 26)));
        table.Update();
    }
    EXPECT_EQ(NameOf(table), std::string(20, static_cast<char>('a' + 19999 % 26)));
    table.MoveNext();
    EXPECT_EQ(NameOf(table), "keep");
}

TEST_F(Records, ColumnsReadWithoutMovingAndWhateverTheFilter) {
    Recordset table;
    Fill(table, {"a", "b", "c", "d"});
    table.MoveNext();
    table.Delete();
    table.SetFilter("Name='d'");
    table.AddNew();
    table.Set("Name", std::string("pending"));
    ASSERT_EQ(table.RowCount(), 3U);
    const auto names = table.ReadColumn(0);
    const auto numbers = table.ReadColumn(1);
    EXPECT_EQ(names->Text(0), "a");
    EXPECT_EQ(names->Text(1), "c");
    EXPECT_EQ(numbers->Number(2), 4);
    EXPECT_FALSE(numbers->IsNull(0));
    EXPECT_EQ(names->Digest(0), nullptr);
    EXPECT_EQ(ErrorNumber([&] { (void)table.ReadColumn(2); }), ErrNotFound);
    EXPECT_EQ(ErrorNumber([&] { (void)numbers->Text(0); }), ErrTypeMismatch);

    std::array<std::int32_t, 2> block{};
    EXPECT_TRUE(numbers->Numbers(1, block));
    EXPECT_EQ(block, (std::array<std::int32_t, 2>{3, 4}));
    EXPECT_TRUE(names->PackedDigests().empty());
}

TEST_F(Records, ClosingForgetsColumnsAndRows) {
    Recordset table;
    Fill(table, {"a"});
    table.Close();
    EXPECT_FALSE(table.IsOpen());
    EXPECT_EQ(table.FieldCount(), 0U);
    table.AppendField("Other", FieldType::Integer);
    table.Open();
    EXPECT_EQ(table.RecordCount(), 0);
}

}  // namespace
}  // namespace kel
