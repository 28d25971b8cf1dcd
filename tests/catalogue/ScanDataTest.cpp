#include <gmock/gmock.h>

#include "TableFiles.h"
#include "catalogue/SignatureTable.h"
#include "catalogue/clsResuscitator.h"
#include "catalogue/modDataManager.h"
#include "catalogue/modMain.h"
#include "support/EngineTest.h"

namespace kel::test {
namespace {

const std::string MD5Lower = "0123456789abcdef0123456789abcdef";
const std::string MD5Upper = "0123456789ABCDEF0123456789ABCDEF";
const std::string OtherMD5 = "ffffffffffffffffffffffffffffffff";

std::vector<FieldDefinition> ResuscitatorFields() {
    return {{"ThreatID", FieldType::Integer, 0},        {"ResExeName", FieldType::VarChar, 255},
            {"ResExeMD5", FieldType::VarChar, 64},      {"ResDeleteFile", FieldType::Boolean, 0},
            {"ResDeleteRegKey", FieldType::Boolean, 0}, {"ResInternalName", FieldType::VarChar, 255}};
}

void WriteExtensions(const std::vector<std::string>& extensions) {
    std::vector<Row> rows;
    for (const std::string& extension : extensions) {
        rows.push_back({extension});
    }
    WriteShipped(shipped::Extensions, {{"Extension", FieldType::VarChar, 20}}, rows);
}

class ScanData : public EngineTest {
protected:
    ScanData() { WriteEmptySignatures(); }

    void Remove(std::string_view file) {
        ASSERT_EQ(Machine().files->Remove(shipped::Path(file)), platform::SysError::Success);
    }
    [[nodiscard]] std::vector<std::string> ReportedNumbers() const {
        std::vector<std::string> numbers;
        for (const FailureRecord& record : Reported()) {
            EXPECT_EQ(record.module, "Scanner");
            EXPECT_EQ(record.procedure, "InitializeScanData");
            numbers.push_back(record.number);
        }
        return numbers;
    }
};

TEST_F(ScanData, EachTableIsKeyedByItsTrimmedText) {
    WriteShipped(shipped::Cookies, KeyedFields(), {{1, T(" ads.example "), 0}});
    WriteShipped(shipped::FileMD5, KeyedFields(), {{2, MD5Lower, 1}});
    WriteShipped(shipped::FilePaths, KeyedFields(), {{3, T("  %windows%\\A.exe"), 2}});
    WriteShipped(shipped::Folders, KeyedFields(), {{4, T("c:\\bad "), -1}});
    EXPECT_TRUE(modMain::InitializeScanData());
    EXPECT_EQ(State().CookieDataTable->Find("ads.example"), (Signature{1, 0}));
    EXPECT_EQ(State().MD5DataTable->Find(MD5Lower), (Signature{2, 1}));
    EXPECT_EQ(State().FilePathDataTable->Find("%windows%\\a.exe"), (Signature{3, 2}));
    EXPECT_EQ(State().FolderDataTable->Find("C:\\BAD"), (Signature{4, -1}));
    EXPECT_TRUE(Reported().empty());
}

TEST_F(ScanData, PathsAndFoldersCanBeWalkedInTheirOrder) {
    WriteShipped(shipped::FilePaths, KeyedFields(), {{1, T(" C:\\Z.exe"), 0}, {2, T("c:\\a.exe"), 3}});
    WriteShipped(shipped::Folders, KeyedFields(), {{4, T("C:\\Bad"), 0}});
    modMain::InitializeScanData();
    ASSERT_EQ(State().FilePathDataTable->Count(), 2U);
    const auto first = State().FilePathDataTable->Item<clsDataFilePath>(1);
    EXPECT_EQ(first.FilePath, "C:\\Z.exe");
    EXPECT_EQ(first.ThreatID, 1);
    const auto second = State().FilePathDataTable->Item<clsDataFilePath>(2);
    EXPECT_EQ(second.FilePath, "c:\\a.exe");
    EXPECT_EQ(second.OptionalScan, 3);
    EXPECT_EQ(State().FolderDataTable->Item<clsDataFolder>(1).Folder, "C:\\Bad");
}

TEST_F(ScanData, CookieAndMd5RecordsHaveNoTextOfTheirOwn) {
    WriteShipped(shipped::Cookies, KeyedFields(), {{1, T("ads.example"), 2}});
    WriteShipped(shipped::FileMD5, KeyedFields(), {{2, MD5Lower, 1}});
    modMain::InitializeScanData();
    const auto cookie = State().CookieDataTable->Item<clsDataCooKie>("ads.example");
    EXPECT_EQ(cookie.CookieName, "");
    EXPECT_EQ(cookie.OptionalScan, 2);
    const auto md5 = State().MD5DataTable->Item<clsDataFileMD5>(MD5Lower);
    EXPECT_EQ(md5.MD5, "");
    EXPECT_EQ(md5.ThreatID, 2);
}

TEST_F(ScanData, TwoColumnsMeanLevelZero) {
    for (const std::string_view file : {shipped::Cookies, shipped::FileMD5, shipped::FilePaths, shipped::Folders}) {
        WriteShipped(file, KeyedFieldsWithoutLevel(), {{5, MD5Lower}});
    }
    modMain::InitializeScanData();
    for (const auto& table :
         {State().CookieDataTable, State().MD5DataTable, State().FilePathDataTable, State().FolderDataTable}) {
        EXPECT_EQ(table->Find(MD5Lower), (Signature{5, 0}));
    }
}

TEST_F(ScanData, Md5InCapitalsIsFoundByALowerCaseQuery) {
    WriteShipped(shipped::FileMD5, KeyedFields(), {{2, MD5Upper, 0}});
    modMain::InitializeScanData();
    EXPECT_EQ(State().MD5DataTable->Find(MD5Lower), (Signature{2, 0}));
    EXPECT_EQ(State().MD5DataTable->Find(MD5Upper), (Signature{2, 0}));
}

TEST_F(ScanData, MissingMd5TableLeavesCookiesAndEmptiesWhatComesBehind) {
    WriteShipped(shipped::Cookies, KeyedFields(), {{1, T("ads.example"), 0}});
    WriteShipped(shipped::FilePaths, KeyedFields(), {{3, T("c:\\a.exe"), 0}});
    WriteShipped(shipped::Folders, KeyedFields(), {{4, T("c:\\bad"), 0}});
    WriteShipped(shipped::Resuscitators, ResuscitatorFields(), {{1, T("a"), T(""), false, false, T("")}});
    Remove(shipped::FileMD5);
    EXPECT_TRUE(modMain::InitializeScanData());
    EXPECT_EQ(State().CookieDataTable->Count(), 1U);
    EXPECT_EQ(State().MD5DataTable->Count(), 0U);
    EXPECT_EQ(State().FilePathDataTable->Count(), 0U);
    EXPECT_EQ(State().FolderDataTable->Count(), 0U);
    EXPECT_EQ(State().Resuscitators->Count(), 0U);
    EXPECT_EQ(ReportedNumbers(), (std::vector<std::string>{"0", "3704"}));
    EXPECT_THAT(Reported()[0].description,
                ::testing::MatchesRegex("ln .*:Missing file Scan Data .*KelThreatFileMD5.sdb"));
}

TEST_F(ScanData, MissingTableIsInformationInTheLog) {
    Remove(shipped::FileMD5);
    modMain::InitializeScanData();
    ASSERT_FALSE(ErrorLog().empty());
    EXPECT_THAT(ErrorLog()[0], ::testing::StartsWith("Informational only:::ln "));
}

TEST_F(ScanData, MissingRegistryTableLoadsEverythingElse) {
    WriteShipped(shipped::Folders, KeyedFields(), {{4, T("c:\\bad"), 0}});
    Remove(shipped::RegKeys);
    modMain::InitializeScanData();
    EXPECT_EQ(State().FolderDataTable->Count(), 1U);
    ASSERT_NE(State().RegKeyRecordset, nullptr);
    EXPECT_FALSE(State().RegKeyRecordset->IsOpen());
    EXPECT_EQ(ReportedNumbers(), std::vector<std::string>{"0"});
}

TEST_F(ScanData, RegistryTableStaysOpen) {
    modMain::InitializeScanData();
    EXPECT_TRUE(State().RegKeyRecordset->IsOpen());
    EXPECT_TRUE(State().RegKeyRecordset->Eof());
}

TEST_F(ScanData, ASecondRowOfAKeyEndsTheLoadBehindTheRowsBefore) {
    const std::string third = "11111111111111111111111111111111";
    WriteShipped(shipped::FileMD5, KeyedFields(),
                 {{1, MD5Lower, 0}, {2, OtherMD5, 0}, {3, MD5Upper, 0}, {4, third, 0}});
    WriteShipped(shipped::FilePaths, KeyedFields(), {{3, T("c:\\a.exe"), 0}});
    EXPECT_TRUE(modMain::InitializeScanData());
    EXPECT_EQ(ReportedNumbers(), std::vector<std::string>{"457"});
    EXPECT_EQ(State().MD5DataTable->Count(), 2U);
    EXPECT_EQ(State().MD5DataTable->Find(MD5Lower), (Signature{1, 0}));
    EXPECT_EQ(State().MD5DataTable->Find(OtherMD5), (Signature{2, 0}));
    EXPECT_EQ(State().MD5DataTable->Find(third), std::nullopt);
    EXPECT_EQ(State().FilePathDataTable->Count(), 0U);
    EXPECT_EQ(State().FolderDataTable->Count(), 0U);
}

TEST_F(ScanData, ANullMd5OrCookieEndsTheLoad) {
    WriteShipped(shipped::FileMD5, KeyedFields(), {{1, MD5Lower, 0}, {2, Null{}, 0}, {3, OtherMD5, 0}});
    modMain::InitializeScanData();
    EXPECT_EQ(ReportedNumbers(), std::vector<std::string>{"94"});
    EXPECT_EQ(State().MD5DataTable->Count(), 1U);
}

TEST_F(ScanData, ANullPathOrFolderIsTheEmptyKey) {
    WriteShipped(shipped::FilePaths, KeyedFields(), {{7, Null{}, 1}});
    WriteShipped(shipped::Folders, KeyedFields(), {{8, Null{}, 0}});
    modMain::InitializeScanData();
    EXPECT_TRUE(Reported().empty());
    EXPECT_EQ(State().FilePathDataTable->Find(""), (Signature{7, 1}));
    EXPECT_EQ(State().FilePathDataTable->Item<clsDataFilePath>(1).FilePath, "");
    EXPECT_EQ(State().FolderDataTable->Find(""), (Signature{8, 0}));
}

TEST_F(ScanData, ANullNumberEndsTheLoad) {
    WriteShipped(shipped::Cookies, KeyedFields(), {{1, T("a.example"), 0}, {2, T("b.example"), Null{}}});
    modMain::InitializeScanData();
    EXPECT_EQ(ReportedNumbers(), std::vector<std::string>{"94"});
    EXPECT_EQ(State().CookieDataTable->Count(), 1U);
}

TEST_F(ScanData, ALevelOfMoreThanSixteenBitsEndsTheLoad) {
    auto fields = KeyedFields();
    fields[2].type = FieldType::Integer;
    WriteShipped(shipped::FileMD5, fields, {{1, MD5Lower, 32767}, {2, OtherMD5, 32768}});
    modMain::InitializeScanData();
    EXPECT_EQ(ReportedNumbers(), std::vector<std::string>{"6"});
    EXPECT_EQ(State().MD5DataTable->Find(MD5Lower), (Signature{1, 32767}));
    EXPECT_EQ(State().MD5DataTable->Count(), 1U);
}

TEST_F(ScanData, OfARowWithSeveralFaultsTheLevelIsReported) {
    auto fields = KeyedFields();
    fields[2].type = FieldType::Integer;
    WriteShipped(shipped::FileMD5, fields, {{Null{}, Null{}, 32768}});
    modMain::InitializeScanData();
    EXPECT_EQ(ReportedNumbers(), std::vector<std::string>{"6"});
}

TEST_F(ScanData, NumbersMayBeTexts) {
    auto fields = KeyedFields();
    fields[0] = {"ThreatID", FieldType::VarChar, 20};
    fields[2] = {"OptionalScan", FieldType::VarChar, 20};
    WriteShipped(shipped::Cookies, fields, {{T(" 12 "), T("a.example"), T("3")}});
    modMain::InitializeScanData();
    EXPECT_EQ(State().CookieDataTable->Find("a.example"), (Signature{12, 3}));
}

TEST_F(ScanData, ExtensionsMakeAFilterWithATrailingSemicolon) {
    WriteExtensions({".exe", ".dll"});
    modMain::InitializeScanData();
    EXPECT_EQ(State().FileExtensionFilter, "*.exe;*.dll;");
}

TEST_F(ScanData, WithoutExtensionsTheDefaultListStands) {
    modMain::InitializeScanData();
    EXPECT_EQ(State().FileExtensionFilter,
              "*.exe;*.dll;*.ocx;*.vxd;*.vbs;*.bat;*.cmd;*.com;*.js;*.msi;*.reg;*.shs;*.sys;*.vbe;*.wsf;*.scr;*.asm;"
              "*.zip;*.cab;*.rar;*.mdb;*.jpg;*.ini;*.pif");
    EXPECT_TRUE(Reported().empty());
}

TEST_F(ScanData, AnEmptyTableOfExtensionsIsAnEmptyFilter) {
    WriteExtensions({});
    modMain::InitializeScanData();
    EXPECT_EQ(State().FileExtensionFilter, "");
}

TEST_F(ScanData, LongMd5OfAResuscitatorIsCutTo32AndAShortOneStands) {
    const std::string forty = "0123456789abcdef0123456789abcdef01234567";
    WriteShipped(shipped::Resuscitators, ResuscitatorFields(),
                 {{1, T(" helper.exe "), forty, true, false, T(" Helper ")},
                  {1, Null{}, T("abc"), false, true, Null{}},
                  {1, T("x"), Null{}, false, false, T("y")}});
    modMain::InitializeScanData();
    ASSERT_EQ(State().Resuscitators->Count(), 3U);
    const clsResuscitator& first = *State().Resuscitators->Item(1);
    EXPECT_EQ(first.ResExeName, "helper.exe");
    EXPECT_EQ(first.ResExeMD5, MD5Lower);
    EXPECT_EQ(first.ResInternalName, "Helper");
    EXPECT_TRUE(first.ResDeleteFile);
    EXPECT_FALSE(first.ResDeleteRegKey);
    const clsResuscitator& second = *State().Resuscitators->Item(2);
    EXPECT_EQ(second.ResExeName, "");
    EXPECT_EQ(second.ResExeMD5, "abc");
    EXPECT_TRUE(second.ResDeleteRegKey);
    EXPECT_EQ(State().Resuscitators->Item(3)->ResExeMD5, "");
}

TEST_F(ScanData, MissingResuscitatorsAreNoError) {
    modMain::InitializeScanData();
    EXPECT_EQ(State().Resuscitators->Count(), 0U);
    EXPECT_TRUE(Reported().empty());
}

TEST_F(ScanData, AReloadReplacesAllTables) {
    WriteShipped(shipped::Cookies, KeyedFields(), {{1, T("a.example"), 0}});
    modMain::InitializeScanData();
    const auto before = State().CookieDataTable;
    WriteShipped(shipped::Cookies, KeyedFields(), {{1, T("b.example"), 0}});
    modMain::InitializeScanData();
    EXPECT_EQ(State().CookieDataTable->Find("a.example"), std::nullopt);
    EXPECT_EQ(State().CookieDataTable->Find("b.example"), (Signature{1, 0}));
    EXPECT_EQ(before->Count(), 1U);
}

TEST_F(ScanData, IsNotInitializedOnceTheLoadIsOver) {
    WriteShipped(shipped::Cookies, KeyedFields(), {{1, T("a.example"), 0}});
    modMain::InitializeScanData();
    EXPECT_FALSE(modDataManager::IsInitializedScanData());
    Remove(shipped::FileMD5);
    modMain::InitializeScanData();
    EXPECT_FALSE(modDataManager::IsInitializedScanData());
}

TEST_F(ScanData, FilesCanBeReplacedAfterTheLoad) {
    modMain::InitializeScanData();
    for (const std::string_view file : {shipped::Cookies, shipped::FileMD5, shipped::FilePaths, shipped::Folders}) {
        EXPECT_EQ(Machine().files->Remove(shipped::Path(file)), platform::SysError::Success) << file;
    }
}

}  // namespace
}  // namespace kel::test
