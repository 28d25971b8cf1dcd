#include <gmock/gmock.h>

#include "KelsdbTest.h"

namespace kel::kelsdb::test {
namespace {

using ::testing::HasSubstr;

const std::string MD5 = "0123456789abcdef0123456789abcdef";

class Create : public KelsdbTest {
protected:
    [[nodiscard]] std::string Dump(std::string_view name) const {
        const Outcome dumped = Kelsdb({"dump", Path(name)});
        EXPECT_EQ(dumped.code, 0) << dumped.err;
        return dumped.out;
    }
};

TEST_F(Create, RowsComeOutAsTheyWentIn) {
    const std::string csv = "ThreatID,Key,OptionalScan\r\n1,%windows%\\a.exe,0\r\n2,%windows%\\b.exe,-3\r\n";
    const Outcome made = KelsdbTest::Create("paths", "p.sdb", csv);
    EXPECT_EQ(made.code, 0) << made.err;
    EXPECT_THAT(made.out, HasSubstr("2 rows"));
    EXPECT_EQ(Dump("p.sdb"), csv);
}

TEST_F(Create, ReadsAFileToo) {
    const std::string csv = Write("in.csv", "Extension\n.exe\n");
    EXPECT_EQ(Kelsdb({"create", "--table", "extensions", "--output", Path("e.sdb"), csv}).code, 0);
    EXPECT_EQ(Dump("e.sdb"), "Extension\r\n.exe\r\n");
}

TEST_F(Create, WithoutOptionalScanTheTableHasTwoColumns) {
    ASSERT_EQ(KelsdbTest::Create("cookies", "c.sdb", "ThreatID,Key\n1,a.example\n").code, 0);
    EXPECT_EQ(Dump("c.sdb"), "ThreatID,Key\r\n1,a.example\r\n");
}

TEST_F(Create, ColumnsMayComeInAnyOrderAndCase) {
    ASSERT_EQ(KelsdbTest::Create("cookies", "c.sdb", "optionalscan,KEY,ThreatID\n2,a.example,1\n").code, 0);
    EXPECT_EQ(Dump("c.sdb"), "ThreatID,Key,OptionalScan\r\n1,a.example,2\r\n");
}

TEST_F(Create, TakesQuotesLineEndsAndAByteOrderMark) {
    const std::string csv =
        "\xEF\xBB\xBFThreatID,ResExeName,ResExeMD5,ResDeleteFile,ResDeleteRegKey,ResInternalName\r\n"
        "1,\"a,\"\"b\"\"\",,true,FALSE,\"two\r\nlines\"\n"
        "\n"
        "2,\"\",,1,0,last";
    ASSERT_EQ(KelsdbTest::Create("resuscitators", "r.sdb", csv).code, 0);
    EXPECT_EQ(Dump("r.sdb"),
              "ThreatID,ResExeName,ResExeMD5,ResDeleteFile,ResDeleteRegKey,ResInternalName\r\n"
              "1,\"a,\"\"b\"\"\",,true,false,\"two\r\nlines\"\r\n"
              "2,\"\",,true,false,last\r\n");
}

TEST_F(Create, AnEmptyFieldIsNullAndQuotesMakeItText) {
    const std::string csv =
        "ThreatID,RegHive,RegKey,RegValueName,RegValueData,OptionalScan\r\n"
        "1,HKEY_LOCAL_MACHINE,Software\\X,,\"\",\r\n";
    ASSERT_EQ(KelsdbTest::Create("regkeys", "r.sdb", csv).code, 0);
    EXPECT_THAT(Kelsdb({"dump", Path("r.sdb"), "--format", "jsonl"}).out,
                HasSubstr("\"RegValueName\":null,\"RegValueData\":\"\",\"OptionalScan\":0"));
}

TEST_F(Create, EmptyCategoryAndTypeAreEmptyTextsSinceANullWouldStopTheLoad) {
    const std::string columns =
        "ThreatID,ThreatName,ThreatCategory,ThreatType,ThreatDesc,ThreatAuthor,ThreatAuthorURL,ThreatLevel,"
        "ThreatAdviseType,ThreatAdviseDetails,ThreatCanQuarantine,ThreatCustomRemovalType,ThreatCustomData,"
        "ThreatOptionLevel\n";
    ASSERT_EQ(KelsdbTest::Create("threats", "t.sdb", columns + "0,1,,,,,,,,,,,,\n").code, 0);
    EXPECT_THAT(Kelsdb({"dump", "--format", "jsonl", Path("t.sdb")}).out,
                HasSubstr("\"ThreatCategory\":\"\",\"ThreatType\":\"\",\"ThreatDesc\":null"));
}

TEST_F(Create, Md5BecomesLowerCase) {
    ASSERT_EQ(KelsdbTest::Create("md5", "m.sdb", "ThreatID,Key\n1,0123456789ABCDEF0123456789abcdef\n").code, 0);
    EXPECT_THAT(Dump("m.sdb"), HasSubstr(MD5));
}

TEST_F(Create, EveryRejectedLineIsToldWithNumberAndReasonAndNothingIsWritten) {
    const Outcome made = KelsdbTest::Create("md5", "m.sdb",
                                            "ThreatID,Key,OptionalScan\n"
                                            "x," +
                                                MD5 +
                                                ",0\n"      // 2
                                                "1,zz,0\n"  // 3
                                                "1," +
                                                MD5 +
                                                ",40000\n"  // 4
                                                "1," +
                                                MD5 +
                                                ",0\n"  // 5: good
                                                "2,\"" +
                                                MD5 +
                                                "\",0\n"        // 6: again
                                                "1,2\n"         // 7
                                                "1,\"a\"b,0\n"  // 8
                                                "1,a\"b,0\n"    // 9
                                                ",,\n"          // 10
                                                "1,\"\n\n");    // 11, unterminated
    EXPECT_EQ(made.code, 1);
    EXPECT_THAT(made.err, HasSubstr("standard input:2: ThreatID is no whole number of 32 bits\n"));
    EXPECT_THAT(made.err, HasSubstr("standard input:3: Key is no MD5 of 32 hexadecimal digits\n"));
    EXPECT_THAT(made.err, HasSubstr("standard input:4: OptionalScan is no whole number from -32768 to 32767\n"));
    EXPECT_THAT(made.err, HasSubstr("standard input:6: Key is there already, from line 5\n"));
    EXPECT_THAT(made.err, HasSubstr("standard input:7: 2 fields instead of 3\n"));
    EXPECT_THAT(made.err, HasSubstr("standard input:8: text behind the closing quote of a field\n"));
    EXPECT_THAT(made.err, HasSubstr("standard input:9: a quote inside a field that does not begin with one\n"));
    EXPECT_THAT(made.err, HasSubstr("standard input:10: ThreatID is empty\n"));
    EXPECT_THAT(made.err, HasSubstr("standard input:11: a quoted field has no closing quote\n"));
    EXPECT_THAT(made.err, HasSubstr("9 rejected"));
    EXPECT_TRUE(Names().empty());
}

TEST_F(Create, LinesInsideQuotesCount) {
    const Outcome made = KelsdbTest::Create("extensions", "e.sdb", "Extension\n\"a\nb\"\n\"\"\n");
    EXPECT_EQ(made.code, 1);
    EXPECT_EQ(made.err.substr(0, made.err.find('\n')), "standard input:4: Extension is blank");
}

TEST_F(Create, TextMustBeUtf8AndFitItsColumn) {
    const Outcome made = KelsdbTest::Create("cookies", "c.sdb",
                                            "ThreatID,Key\n1,a\xFF\n1," + std::string(256, 'x') +
                                                "\n1,\xC0\x80\n1,\xED\xA0\x80\n1," + std::string(255, 'x'));
    EXPECT_EQ(made.code, 1);
    EXPECT_THAT(made.err, HasSubstr(":2: Key is no UTF-8"));
    EXPECT_THAT(made.err, HasSubstr(":3: Key has 256 characters, and 255 are the most"));
    EXPECT_THAT(made.err, HasSubstr(":4: Key is no UTF-8"));
    EXPECT_THAT(made.err, HasSubstr(":5: Key is no UTF-8"));
    EXPECT_THAT(made.err, HasSubstr("4 rejected"));
}

TEST_F(Create, KeysAreTheSameWithoutRegardToCaseAndBlanks) {
    const Outcome made = KelsdbTest::Create("paths", "p.sdb", "ThreatID,Key\n1,c:\\a.exe\n2,\" C:\\A.exe \"\n");
    EXPECT_EQ(made.code, 1);
    EXPECT_THAT(made.err, HasSubstr(":3: Key is there already, from line 2"));
}

TEST_F(Create, AHeaderMustNameTheColumns) {
    const Outcome made = KelsdbTest::Create("paths", "p.sdb", "ThreatID,Path,ThreatID\n1,c:\\a.exe,1\n");
    EXPECT_EQ(made.code, 1);
    EXPECT_THAT(made.err, HasSubstr("unknown column \"Path\""));
    EXPECT_THAT(made.err, HasSubstr("column ThreatID is twice"));
    EXPECT_THAT(made.err, HasSubstr("no column Key"));
    EXPECT_EQ(KelsdbTest::Create("paths", "p.sdb", "").code, 1);
    EXPECT_TRUE(Names().empty());
}

TEST_F(Create, ARejectedTableLeavesTheOldFile) {
    ASSERT_EQ(KelsdbTest::Create("extensions", "e.sdb", "Extension\n.exe\n").code, 0);
    const std::string before = Read("e.sdb");
    EXPECT_EQ(KelsdbTest::Create("extensions", "e.sdb", "Extension\n.exe\n.exe\n").code, 1);
    EXPECT_EQ(Read("e.sdb"), before);
    EXPECT_EQ(KelsdbTest::Create("extensions", "e.sdb", "Extension\n.dll\n").code, 0);
    EXPECT_EQ(Dump("e.sdb"), "Extension\r\n.dll\r\n");
    EXPECT_EQ(Names(), std::vector<std::string>{"e.sdb"});
}

TEST_F(Create, TheSameRowsGiveTheSameBytes) {
    const std::string csv = "ThreatID,Key\n1," + MD5 + "\n";
    ASSERT_EQ(KelsdbTest::Create("md5", "a.sdb", csv).code, 0);
    ASSERT_EQ(KelsdbTest::Create("md5", "b.sdb", csv).code, 0);
    EXPECT_EQ(Read("a.sdb"), Read("b.sdb"));
}

TEST_F(Create, RowsOfDigestsComeInTheOrderOfTheirKeysAndTheirColumnsWithThem) {
    const std::string rest(31, '0');
    const std::string csv = "Key,ThreatID,OptionalScan\nF" + rest + ",3,2\n0" + rest + ",1,1\na" + rest + ",2,0\n";
    ASSERT_EQ(KelsdbTest::Create("md5", "m.sdb", csv).code, 0);
    EXPECT_EQ(Dump("m.sdb"),
              "ThreatID,Key,OptionalScan\r\n1,0" + rest + ",1\r\n2,a" + rest + ",0\r\n3,f" + rest + ",2\r\n");
    // What comes out goes in again, and gives the same file.
    ASSERT_EQ(KelsdbTest::Create("md5", "again.sdb", Dump("m.sdb")).code, 0);
    EXPECT_EQ(Read("again.sdb"), Read("m.sdb"));
}

TEST_F(Create, RowsOfOtherTablesStayInTheirOrder) {
    ASSERT_EQ(KelsdbTest::Create("cookies", "c.sdb", "ThreatID,Key\n1,z.example\n2,a.example\n").code, 0);
    EXPECT_EQ(Dump("c.sdb"), "ThreatID,Key\r\n1,z.example\r\n2,a.example\r\n");
}

TEST_F(Create, WhatCanNotBeReadOrWrittenHasItsOwnCode) {
    EXPECT_EQ(Kelsdb({"create", "--table", "md5", "-o", Path("m.sdb"), Path("missing.csv")}).code, 66);
    EXPECT_EQ(KelsdbTest::Create("extensions", "no/such/folder.sdb", "Extension\n.exe\n").code, 73);
    EXPECT_EQ(Kelsdb({"create", "--table", "extensions", "-o", Folder()}, "Extension\n.exe\n").code, 73);
}

TEST_F(Create, TheCommandLineIsChecked) {
    EXPECT_EQ(Kelsdb({}).code, 64);
    EXPECT_EQ(Kelsdb({"create", "--table", "nonsense", "-o", Path("x.sdb")}).code, 64);
    EXPECT_EQ(Kelsdb({"create", "--table", "md5"}).code, 64);
    EXPECT_EQ(Kelsdb({"dump"}).code, 64);
    EXPECT_EQ(Kelsdb({"dump", "x", "--format", "xml"}).code, 64);
    EXPECT_EQ(Kelsdb({"import", "--from", "hdb", "--threat", "0", "-o", "x", "y"}).code, 64);
    EXPECT_EQ(Kelsdb({"--help"}).code, 0);
    EXPECT_THAT(Kelsdb({"create", "--help"}).out, HasSubstr("Exit codes"));
}

}  // namespace
}  // namespace kel::kelsdb::test
