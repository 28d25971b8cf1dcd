#include <gmock/gmock.h>

#include <string>
#include <tuple>
#include <utility>

#include "KelsdbTest.h"
#include "kelsdb/TableKinds.h"

namespace kel::kelsdb::test {
namespace {

using ::testing::HasSubstr;

const std::string MD5 = "0123456789abcdef0123456789abcdef";

// A good data folder, the samples, in which a test spoils one table.
class Check : public KelsdbTest {
protected:
    Check() {
        for (const TableKind& kind : TableKinds()) {
            const std::string csv = Sample(std::string(kind.name) + ".csv");
            const Outcome made = Kelsdb({"create", "--table", std::string(kind.name), "-o", Path(kind.file), csv});
            EXPECT_EQ(made.code, 0) << made.err;
        }
    }

    [[nodiscard]] Outcome RunCheck() const { return Kelsdb({"check", Folder()}); }

    // Replaces a keyed table by rows of threat 9001.
    void Keys(Table table, const std::vector<std::string>& keys) const {
        std::vector<std::vector<Value>> rows;
        for (const std::string& key : keys) {
            rows.push_back({9001, key, 0});
        }
        Save(KindOf(table).file, Fields(table), rows);
    }
    [[nodiscard]] static std::vector<FieldDefinition> Fields(Table table) {
        std::vector<FieldDefinition> fields;
        for (const ColumnKind& column : KindOf(table).columns) {
            fields.push_back({std::string(column.name), column.type, column.size});
        }
        return fields;
    }
    [[nodiscard]] static std::vector<Value> Threat(std::int32_t id) {
        const Value text = std::string("x");
        return {id, text, text, text, text, text, text, 1, 0, text, true, std::string("0"), text, 0};
    }
    void Threats(std::vector<std::vector<Value>> rows) const {
        for (std::int32_t id = 9001; id <= 9008; ++id) {
            rows.push_back(Threat(id));
        }
        Save(KindOf(Table::Threats).file, Fields(Table::Threats), rows);
    }
    void RegKey(const std::vector<std::string>& texts) const {
        std::vector<Value> row{9001};
        row.insert(row.end(), texts.begin(), texts.end());
        row.emplace_back(0);
        Save(KindOf(Table::RegKeys).file, Fields(Table::RegKeys), {row});
    }

    void ExpectError(const std::string& text) const {
        const Outcome outcome = RunCheck();
        EXPECT_EQ(outcome.code, 1);
        EXPECT_THAT(outcome.out, HasSubstr(text));
    }
    void ExpectWarning(const std::string& text) const {
        const Outcome outcome = RunCheck();
        EXPECT_EQ(outcome.code, 0) << outcome.out;
        EXPECT_THAT(outcome.out, HasSubstr(text));
    }
    void ExpectGood() const {
        const Outcome outcome = RunCheck();
        EXPECT_EQ(outcome.code, 0);
        EXPECT_THAT(outcome.out, HasSubstr(": 0 errors, 0 warnings\n"));
    }
};

TEST_F(Check, TheSamplesAreGood) {
    ExpectGood();
}

TEST_F(Check, AMissingFolderIsNoInput) {
    EXPECT_EQ(Kelsdb({"check", Path("missing")}).code, 66);
}

TEST_F(Check, MissingTablesAreErrorsUnlessTheyMayBeMissing) {
    std::filesystem::remove(Path("KelFileExtensions.sdb"));
    std::filesystem::remove(Path("kelRes.sdb"));
    ExpectGood();
    std::filesystem::remove(Path("KelThreatFolder.sdb"));
    ExpectError("KelThreatFolder.sdb: error: is missing");
}

TEST_F(Check, ADamagedTableIsAnErrorAndTheOthersAreLookedAt) {
    std::string bytes = Read("KelThreatCookie.sdb");
    bytes[bytes.size() / 2] = static_cast<char>(bytes[bytes.size() / 2] ^ 1);
    Write("KelThreatCookie.sdb", bytes);
    Keys(Table::Md5, {"zz"});
    ExpectError("KelThreatCookie.sdb: error: ");
    ExpectError("KelThreatFileMD5.sdb: row 1: error: ");
}

TEST_F(Check, AVersionRowMustBeThere) {
    Threats({});
    ExpectError("kelThreatData.sdb: error: has no version row");
}

TEST_F(Check, AVersionRowNeedsAVersion) {
    auto version = Threat(0);
    version[1] = Null{};
    Threats({version});
    ExpectError("kelThreatData.sdb: row 1: error: the version row has no version");
}

TEST_F(Check, NullsThatStopTheThreatsAreErrors) {
    for (const auto& [column, name] : {std::pair{0U, "ThreatID"}, {2U, "ThreatCategory"}, {3U, "ThreatType"}}) {
        auto row = Threat(5);
        row[column] = Null{};
        Threats({Threat(0), row});
        ExpectError("kelThreatData.sdb: row 2: error: " + std::string(name) + " is null");
    }
    auto row = Threat(5);
    for (const std::size_t column : {1U, 4U, 5U, 6U, 7U, 8U, 9U, 10U, 12U, 13U}) {
        row[column] = Null{};
    }
    Threats({Threat(0), row});
    EXPECT_EQ(RunCheck().code, 0);
}

TEST_F(Check, AThreatNumberIsThereOnce) {
    Threats({Threat(0), Threat(9003)});
    ExpectError("kelThreatData.sdb: row 5: error: threat 9003 is there already, in row 2");
}

TEST_F(Check, ARemovalTypeMustBeANumber) {
    for (const Value& type : {Value(std::string("soon")), Value(std::string()), Value(Null{})}) {
        auto row = Threat(5);
        row[11] = type;
        Threats({Threat(0), row});
        ExpectError("kelThreatData.sdb: row 2: error: removal type");
    }
    auto row = Threat(5);
    row[11] = std::string(" 7 ");
    Threats({Threat(0), row});
    ExpectGood();
    row[11] = std::string("8");
    Threats({Threat(0), row});
    ExpectWarning("kelThreatData.sdb: row 2: warning: removal type 8 is none of 0 to 7");
}

TEST_F(Check, AnOptionLevelHasSixteenBits) {
    auto row = Threat(5);
    row[13] = 40000;
    Threats({Threat(0), row});
    ExpectError("kelThreatData.sdb: row 2: error: option level 40000");
}

TEST_F(Check, WhatTheHistoryHasNoRoomForIsAWarning) {
#ifdef _WIN32
    const std::string umlaut = "\xE4";
#else
    const std::string umlaut = "\xC3\xA4";
#endif
    auto row = Threat(5);
    for (const auto& [column, longest, what] : {std::tuple{1U, 60, "name"}, {2U, 50, "category"}}) {
        std::string text;
        for (int i = 0; i < longest; ++i) {
            text += umlaut;
        }
        row = Threat(5);
        row[column] = text;
        Threats({Threat(0), row});
        ExpectGood();
        row[column] = text + "x";
        Threats({Threat(0), row});
        ExpectWarning("kelThreatData.sdb: row 2: warning: the " + std::string(what) + " has more than " +
                      std::to_string(longest) + " characters: the history loses the detections");
    }
}

TEST_F(Check, UnknownThreatsAreErrorsInEveryTable) {
    for (const Table table : {Table::Cookies, Table::Md5, Table::Paths, Table::Folders}) {
        Save(KindOf(table).file, Fields(table), {{4711, table == Table::Md5 ? MD5 : std::string("c:\\x.example"), 0}});
        ExpectError(std::string(KindOf(table).file) + ": row 1: error: threat 4711 is unknown");
        Save(KindOf(table).file, Fields(table), {{0, table == Table::Md5 ? MD5 : std::string("c:\\x.example"), 0}});
        ExpectError(std::string(KindOf(table).file) + ": row 1: error: threat 0 is unknown");
    }
    Save(KindOf(Table::RegKeys).file, Fields(Table::RegKeys),
         {{4711, std::string("HKEY_LOCAL_MACHINE"), std::string("Software\\X"), Null{}, Null{}, 0}});
    ExpectError("KelThreatRegKey.sdb: row 1: error: threat 4711 is unknown");
}

TEST_F(Check, DuplicateKeysAreErrorsWithoutRegardToCase) {
    Keys(Table::Paths, {"c:\\a.exe", "c:\\b.exe", " c:\\A.exe"});
    ExpectError("KelThreatFilePath.sdb: row 3: error: key \"c:\\A.exe\" is there already, in row 1");
}

TEST_F(Check, NullKeysAndLevelsAreErrors) {
    Save(KindOf(Table::Md5).file, Fields(Table::Md5), {{9001, Null{}, 0}});
    ExpectError("KelThreatFileMD5.sdb: row 1: error: Key is null, which ends the load");
    Keys(Table::Md5, {MD5});
    Save(KindOf(Table::Paths).file, Fields(Table::Paths), {{9001, Null{}, 0}});
    ExpectError("KelThreatFilePath.sdb: row 1: error: the key is blank");
    Save(KindOf(Table::Paths).file, Fields(Table::Paths), {{9001, std::string("c:\\a"), Null{}}});
    ExpectError("KelThreatFilePath.sdb: row 1: error: OptionalScan is null");
    Save(KindOf(Table::Paths).file, Fields(Table::Paths), {{Null{}, std::string("c:\\a"), 0}});
    ExpectError("KelThreatFilePath.sdb: row 1: error: ThreatID is null");
}

TEST_F(Check, AnMd5Is32HexadecimalDigitsOfEitherCase) {
    Keys(Table::Md5, {"0123456789ABCDEF0123456789ABCDEF"});
    ExpectGood();
    Keys(Table::Md5, {MD5, "0123456789abcdef0123456789abcdeg"});
    ExpectError("KelThreatFileMD5.sdb: row 2: error: ");
    Keys(Table::Md5, {"0123456789abcdef"});
    ExpectError("KelThreatFileMD5.sdb: row 1: error: ");
}

TEST_F(Check, ACookieIsADomainOfAFileName) {
    Keys(Table::Cookies, {"ads.example", "Ads2.Example"});
    ExpectGood();
    Keys(Table::Cookies, {"ads.example[1]"});
    ExpectError("KelThreatCookie.sdb: row 1: error: ");
    Keys(Table::Cookies, {"http://ads.example/"});
    ExpectError("KelThreatCookie.sdb: row 1: error: ");
}

class PathForm : public Check, public ::testing::WithParamInterface<const char*> {};
class PathThatIsAskedFor : public PathForm {};
class PathThatIsNeverAskedFor : public PathForm {};

TEST_P(PathThatIsAskedFor, IsGood) {
    Keys(Table::Paths, {GetParam()});
    ExpectGood();
}
INSTANTIATE_TEST_SUITE_P(Forms, PathThatIsAskedFor,
                         ::testing::Values(R"(%windows%\a.exe)", R"(%windows%\system32\a.exe)",
                                           R"(%program_files%\a\b.dll)", R"(%common_programs%\startup\a.exe)",
                                           R"(%desktopdirectory%\a.lnk)", R"(%appdata%\a.exe)", R"(%profile%\a.exe)",
                                           R"(%profile%\local settings\temp\a.exe)", R"(%altstartup%\a.exe)",
                                           R"(%common_altstartup%\a.exe)", R"(%startmenu%\a.lnk)",
                                           R"(%favorites%\a.url)", R"(c:\a.exe)", R"(d:\some folder\a.exe)",
                                           R"(\\server\share\a.exe)", R"(%windows%\a*.exe)", R"(c:\dir\100%.txt)"));

TEST_P(PathThatIsNeverAskedFor, IsAnError) {
    Keys(Table::Paths, {GetParam()});
    ExpectError("KelThreatFilePath.sdb: row 1: error: ");
}
INSTANTIATE_TEST_SUITE_P(Forms, PathThatIsNeverAskedFor,
                         ::testing::Values(R"(c:\windows\a.exe)", R"(C:\WINNT\a.exe)", R"(c:\program files\a.exe)",
                                           R"(%system%\a.exe)", R"(%common_startup%\a.exe)", R"(%windows%a.exe)",
                                           R"(%windir%\a.exe)", R"(%system32%\a.exe)",
                                           R"(%startmenu%\programs\startup\a.lnk)",
                                           R"(%common_startmenu%\programs\a.lnk)", "a.exe", R"(windows\a.exe)",
                                           R"(c:/a.exe)", R"(c:\\a.exe)", R"(c:\folder\)",
                                           R"(%windows%\%system%\a.exe?<)"));

TEST_F(Check, ThePathThatIsAskedForIsNamed) {
    Keys(Table::Paths, {R"(%system%\a.exe)"});
    ExpectError(R"("%windows%\system32\a.exe")");
}

TEST_F(Check, CapitalLettersInAPathAreFoundAndOnlyWarnedOf) {
    Keys(Table::Paths, {R"(%Windows%\A.exe)"});
    ExpectWarning("KelThreatFilePath.sdb: row 1: warning: ");
}

TEST_F(Check, TheStartupVariableIsWarnedOf) {
    Keys(Table::Paths, {R"(%startup%\a.exe)"});
    ExpectWarning("KelThreatFilePath.sdb: row 1: warning: ");
    Keys(Table::Paths, {"c:\\a.exe"});
    Keys(Table::Folders, {R"(%startup%\a)"});
    ExpectWarning("KelThreatFolder.sdb: row 1: warning: ");
}

TEST_F(Check, AFolderMayBeARealPathToo) {
    Keys(Table::Folders, {R"(c:\program files\a)", R"(%program_files%\a)", R"(%windows%\b\)"});
    ExpectGood();
    Keys(Table::Folders, {R"(%system%\a)"});
    ExpectError("KelThreatFolder.sdb: row 1: error: ");
    Keys(Table::Folders, {R"(c:\a*)"});
    ExpectError("KelThreatFolder.sdb: row 1: error: ");
    Keys(Table::Folders, {R"(%temp%\a)"});
    ExpectError("KelThreatFolder.sdb: row 1: error: ");
}

TEST_F(Check, ATableOfTwoColumnsIsGood) {
    auto fields = Fields(Table::Paths);
    fields.pop_back();
    Save(KindOf(Table::Paths).file, fields, {{9001, std::string("c:\\a.exe")}});
    ExpectGood();
    fields.pop_back();
    Save(KindOf(Table::Paths).file, fields, {{9001}});
    ExpectError("KelThreatFilePath.sdb: error: has 1 columns");
}

TEST_F(Check, RegistryRowsThatAreSkippedAreErrors) {
    RegKey({"HKLM", "Software\\X", "", ""});
    ExpectError("KelThreatRegKey.sdb: row 1: error: \"HKLM\" is no hive");
    RegKey({"HKEY_LOCAL_MACHINE", "", "", ""});
    ExpectError("KelThreatRegKey.sdb: row 1: error: RegKey is empty");
    RegKey({"HKEY_LOCAL_MACHINE", "\\\\", "", ""});
    ExpectError("KelThreatRegKey.sdb: row 1: error: RegKey is empty");
    RegKey({"HKEY_LOCAL_MACHINE", "Software\\X", "", "data"});
    ExpectError("KelThreatRegKey.sdb: row 1: error: RegValueData without a RegValueName");
    RegKey({"hkey_local_machine", "Software\\X", "name", "data"});
    ExpectGood();
}

TEST_F(Check, RegistryDataOfNumbersAreThreeDigits) {
    for (const char* data : {"1", "1234567", "dword:00000001", "0x1"}) {
        RegKey({"HKEY_LOCAL_MACHINE", "Software\\X", "name", data});
        ExpectError("KelThreatRegKey.sdb: row 1: error: RegValueData \"" + std::string(data) + "\"");
    }
    RegKey({"HKEY_LOCAL_MACHINE", "Software\\X", "name", "001"});
    ExpectGood();
}

TEST_F(Check, RegistryRowsWithoutALevelAreErrorsButTheColumnMayBeMissing) {
    const std::vector<Value> row{9001, std::string("HKEY_LOCAL_MACHINE"), std::string("Software\\X"), Null{}, Null{}};
    auto withNull = row;
    withNull.emplace_back(Null{});
    Save(KindOf(Table::RegKeys).file, Fields(Table::RegKeys), {withNull});
    ExpectError("KelThreatRegKey.sdb: row 1: error: OptionalScan is null");
    auto fields = Fields(Table::RegKeys);
    fields.pop_back();
    Save(KindOf(Table::RegKeys).file, fields, {row});
    ExpectGood();
    fields.pop_back();
    Save(KindOf(Table::RegKeys).file, fields, {{row.begin(), row.end() - 1}});
    ExpectError("KelThreatRegKey.sdb: error: has no column RegValueData");
}

TEST_F(Check, AnExtensionBeginsWithADot) {
    Save(KindOf(Table::Extensions).file, Fields(Table::Extensions), {{std::string(".exe")}, {std::string("dll")}});
    ExpectError("KelFileExtensions.sdb: row 2: error: ");
    Save(KindOf(Table::Extensions).file, Fields(Table::Extensions), {{Null{}}});
    ExpectError("KelFileExtensions.sdb: row 1: error: Extension is null");
}

TEST_F(Check, AResuscitatorMatchesSomething) {
    const Value none = Null{};
    const auto write = [&](const Value& md5, const Value& remove) {
        Save(KindOf(Table::Resuscitators).file, Fields(Table::Resuscitators), {{9008, none, md5, remove, false, none}});
    };
    write(none, true);
    ExpectError("kelRes.sdb: row 1: error: has no name");
    write(std::string("abc"), true);
    ExpectError("kelRes.sdb: row 1: error: ResExeMD5");
    write(MD5, none);
    ExpectError("kelRes.sdb: row 1: error: ResDeleteFile is null");
    write(MD5 + "01234567", true);
    ExpectWarning("kelRes.sdb: row 1: warning: ResExeMD5 is cut");
    write(MD5.substr(0, 31) + "A", true);
    ExpectError("kelRes.sdb: row 1: error: ResExeMD5 \"");
    const auto named = [&](const Value& name, const Value& internal) {
        Save(KindOf(Table::Resuscitators).file, Fields(Table::Resuscitators),
             {{9008, name, none, true, true, internal}});
    };
    named(none, std::string("Helper"));
    ExpectError("kelRes.sdb: row 1: error: ResInternalName \"Helper\"");
    named(none, std::string("helper"));
    ExpectGood();
    named(std::string("Helper.exe"), std::string("Helper"));
    ExpectGood();
}

}  // namespace
}  // namespace kel::kelsdb::test
