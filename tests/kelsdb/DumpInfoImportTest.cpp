#include <gmock/gmock.h>

#include "KelsdbTest.h"

namespace kel::kelsdb::test {
namespace {

using ::testing::HasSubstr;

const std::string First = "0123456789abcdef0123456789abcdef";
const std::string Second = "fedcba9876543210fedcba9876543210";

class Dump : public KelsdbTest {};

TEST_F(Dump, AnyTableFileCanBeShown) {
    Save("h.sdb",
         {{"ScanID", FieldType::VarChar, 30},
          {"StartDate", FieldType::Date, 0},
          {"Flag", FieldType::Boolean, 0},
          {"Kind", FieldType::Numeric, 0}},
         {{std::string("a,b"), Date{38000.5}, true, 2.5},
          {std::string(" x "), Date{0.0}, false, 3.0},
          {Null{}, Date{-1.25}, Null{}, Null{}}});
    EXPECT_EQ(Kelsdb({"dump", Path("h.sdb")}).out,
              "ScanID,StartDate,Flag,Kind\r\n"
              "\"a,b\",2004-01-14 12:00:00,true,2.5\r\n"
              "\" x \",1899-12-30 00:00:00,false,3\r\n"
              ",1899-12-29 06:00:00,,\r\n");
    EXPECT_EQ(Kelsdb({"dump", "--format", "jsonl", Path("h.sdb")}).out,
              "{\"ScanID\":\"a,b\",\"StartDate\":\"2004-01-14 12:00:00\",\"Flag\":true,\"Kind\":2.5}\n"
              "{\"ScanID\":\" x \",\"StartDate\":\"1899-12-30 00:00:00\",\"Flag\":false,\"Kind\":3.0}\n"
              "{\"ScanID\":null,\"StartDate\":\"1899-12-29 06:00:00\",\"Flag\":null,\"Kind\":null}\n");
}

TEST_F(Dump, ATableWithoutRowsIsItsHeader) {
    Save("e.sdb", {{"Extension", FieldType::VarChar, 30}}, {});
    EXPECT_EQ(Kelsdb({"dump", Path("e.sdb")}).out, "Extension\r\n");
    EXPECT_EQ(Kelsdb({"dump", "--format", "jsonl", Path("e.sdb")}).out, "");
}

TEST_F(Dump, AMissingOrForeignFileIsNoInput) {
    EXPECT_EQ(Kelsdb({"dump", Path("missing.sdb")}).code, 66);
    Write("text.sdb", "no table");
    const Outcome dumped = Kelsdb({"dump", Path("text.sdb")});
    EXPECT_EQ(dumped.code, 66);
    EXPECT_THAT(dumped.err, HasSubstr("text.sdb"));
    EXPECT_EQ(dumped.out, "");
    EXPECT_EQ(Kelsdb({"info", Path("text.sdb")}).code, 66);
}

class Info : public KelsdbTest {};

TEST_F(Info, NamesColumnsRowsAndTable) {
    ASSERT_EQ(Create("md5", "KelThreatFileMD5.sdb", "ThreatID,Key,OptionalScan\n1," + First + ",0\n").code, 0);
    const Outcome info = Kelsdb({"info", Path("KelThreatFileMD5.sdb")});
    EXPECT_EQ(info.code, 0);
    EXPECT_THAT(info.out, HasSubstr("table    md5\n"));
    EXPECT_THAT(info.out, HasSubstr("rows     1\n"));
    EXPECT_THAT(info.out, HasSubstr("columns  3\n"));
    EXPECT_THAT(info.out, HasSubstr("  0  ThreatID  integer 3\n"));
    EXPECT_THAT(info.out, HasSubstr("  1  Key  varchar(32) 200\n"));
    EXPECT_THAT(info.out, HasSubstr("  2  OptionalScan  smallint 2\n"));
    EXPECT_THAT(info.out, HasSubstr("bytes    " + std::to_string(Read("KelThreatFileMD5.sdb").size()) + "\n"));
}

TEST_F(Info, NamesTheVersionOfAThreatTable) {
    ASSERT_EQ(Kelsdb({"create", "--table", "threats", "-o", Path("kelThreatData.sdb"), Sample("threats.csv")}).code, 0);
    EXPECT_THAT(Kelsdb({"info", Path("kelThreatData.sdb")}).out, HasSubstr("version  2026.11.1\n"));
}

class Import : public KelsdbTest {
protected:
    Outcome From(const std::string& form, const std::string& list) const {
        return Kelsdb({"import", "--from", form, "--threat", "42", "-o", Path("m.sdb"), "-"}, list);
    }
    [[nodiscard]] std::string Rows() const { return Kelsdb({"dump", Path("m.sdb")}).out; }
};

TEST_F(Import, TakesHdbLines) {
    const Outcome made = From("hdb", "# a comment\n" + First + ":1234:Example.A\r\n\n" + Second + ":*:Example.B:73\n");
    EXPECT_EQ(made.code, 0) << made.err;
    EXPECT_EQ(Rows(), "ThreatID,Key,OptionalScan\r\n42," + First + ",0\r\n42," + Second + ",0\r\n");
}

TEST_F(Import, TakesListsOfMd5sum) {
    const Outcome made =
        From("hashes", First + "  a file\n\\" + Second + " *odd\\nname\n00112233445566778899AABBCCDDEEFF");
    EXPECT_EQ(made.code, 0) << made.err;
    EXPECT_EQ(Rows(), "ThreatID,Key,OptionalScan\r\n42,00112233445566778899aabbccddeeff,0\r\n42," + First +
                          ",0\r\n42," + Second + ",0\r\n")
        << "in the order of their keys";
}

TEST_F(Import, ReadsSeveralFiles) {
    const std::string one = Write("one.txt", First + "  a\n");
    const std::string two = Write("two.txt", Second + "  b\n" + First + "  c\n");
    const Outcome made = Kelsdb({"import", "--from", "hashes", "--threat", "42", "-o", Path("m.sdb"), one, two});
    EXPECT_EQ(made.code, 0);
    EXPECT_THAT(made.out, HasSubstr("2 rows"));
    EXPECT_EQ(made.err, two + ":2: left out, the hash is there already\n");
}

TEST_F(Import, EveryRejectedLineIsToldWithNumberAndReasonAndNothingIsWritten) {
    const Outcome hdb = From(
        "hdb", First + ":12:ok\nno colons\n" + First + ":x:name\nabc:1:name\n" + std::string(64, 'a') + ":1:name\n");
    EXPECT_EQ(hdb.code, 1);
    EXPECT_THAT(hdb.err, HasSubstr("standard input:2: is not of the form MD5:size:name\n"));
    EXPECT_THAT(hdb.err, HasSubstr("standard input:3: the size is no number\n"));
    EXPECT_THAT(hdb.err, HasSubstr("standard input:4: a hash of 3 digits is no MD5\n"));
    EXPECT_THAT(hdb.err, HasSubstr("standard input:5: a hash of 64 digits is no MD5\n"));
    const Outcome hashes = From("hashes", "hello world\n  " + First + "\n");
    EXPECT_EQ(hashes.code, 1);
    EXPECT_THAT(hashes.err, HasSubstr("standard input:1: does not begin with an MD5"));
    EXPECT_THAT(hashes.err, HasSubstr("standard input:2: "));
    EXPECT_TRUE(Names().empty());
}

TEST_F(Import, AMissingListIsNoInput) {
    EXPECT_EQ(Kelsdb({"import", "--from", "hdb", "--threat", "1", "-o", Path("m.sdb"), Path("missing")}).code, 66);
}

}  // namespace
}  // namespace kel::kelsdb::test
