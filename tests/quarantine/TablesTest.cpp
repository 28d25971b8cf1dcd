#include <gmock/gmock.h>

#include "QuarantineTest.h"
#include "core/RuntimeError.h"
#include "core/Value.h"
#include "decorators/FaultInjectingPlatform.h"
#include "rules/modCleanerHelper.h"

namespace kel::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class QuarantineTables : public QuarantineTest {
protected:
    static std::vector<std::string> Columns(const quarantine::Table& table) {
        const Recordset& rows = quarantine::Opened(table);
        std::vector<std::string> columns;
        for (std::size_t i = 0; i < rows.FieldCount(); ++i) {
            const FieldDefinition& field = rows.Field(i);
            columns.push_back(field.name + " " + std::to_string(static_cast<int>(field.type)) +
                              (field.size == 0 ? "" : " " + std::to_string(field.size)));
        }
        return columns;
    }
    [[nodiscard]] std::string CleanerLogText() {
        const std::string log = UserFolder() + "logs\\cleaner.log";
        return Exists(log) ? ReadFile(log) : std::string();
    }
};

TEST_F(QuarantineTables, EachHasItsColumnsTypesAndLengths) {
    EXPECT_THAT(
        Columns(quarantine::Threats),
        ElementsAre("QThreatID 200 30", "ThreatID 3", "ThreatName 200 255", "ThreatAuthor 200 255", "Category 200 255",
                    "ScanID 200 30", "QuarantineDate 200 30", "QuarantinePath 200 255", "ThreatType 3"));
    EXPECT_THAT(Columns(quarantine::Cookies),
                ElementsAre("QThreatID 200 30", "QFileName 200 255", "OriginalPath 200 255"));
    EXPECT_THAT(Columns(quarantine::Files),
                ElementsAre("QThreatID 200 30", "QFileName 200 255", "OriginalFilePath 200 255",
                            "ActionRegisterFile 11", "ThreatTypeFile 3", "RestoreOrder 3"));
    EXPECT_THAT(Columns(quarantine::Folders), ElementsAre("QThreatID 200 30", "OriginalFolderPath 200 255"));
    EXPECT_THAT(Columns(quarantine::RegKeys),
                ElementsAre("QThreatID 200 30", "RegHive 200 20", "RegKey 200 255", "RegValueName 200 255",
                            "RegValueData 200 255", "RegValueDataType 3"));
    EXPECT_THAT(Columns(quarantine::Specials), ElementsAre("QThreatID 200 30", "QSpecialType 131", "Data1 200 255",
                                                           "Data2 200 255", "Data3 200 255", "Data4 200 255"));
}

// What a save leaves that was cut when it had made a file.
TEST_F(QuarantineTables, AFileWithoutAByteIsAMissingTableAndClosesNoOther) {
    quarantine::Opened(quarantine::RegKeys).AddNew();
    quarantine::Opened(quarantine::RegKeys).Set("QThreatID", std::string("kept"));
    quarantine::Opened(quarantine::RegKeys).Update();
    quarantine::SaveTables();
    for (const quarantine::Table* table : {&quarantine::Threats, &quarantine::Files}) {
        WriteFile(UserFolder() + std::string(table->file), "");
    }
    quarantine::OpenTables();
    EXPECT_TRUE(quarantine::Opened(quarantine::Threats).Eof());
    EXPECT_TRUE(quarantine::Opened(quarantine::Files).Eof());
    EXPECT_EQ(ToText(quarantine::Opened(quarantine::RegKeys).Get("QThreatID")), "kept");
    quarantine::SaveTables();
    EXPECT_NO_THROW(quarantine::OpenTables());
}

TEST_F(QuarantineTables, OpeningMakesNoFileAndTheFirstSaveMakesAll) {
    for (const quarantine::Table* table : quarantine::Tables) {
        EXPECT_FALSE(Exists(UserFolder() + std::string(table->file))) << table->file;
    }
    quarantine::SaveTables();
    for (const quarantine::Table* table : quarantine::Tables) {
        EXPECT_TRUE(Exists(UserFolder() + std::string(table->file))) << table->file;
    }
}

TEST_F(QuarantineTables, WhatWasSavedIsThereWhenTheyAreOpenedAgain) {
    AddThreat("A", 7);
    AddFile("A", "f1", "C:\\evil.exe", "");
    AddRegKey("A", "Software\\Evil", "name", "data");
    AddSpecial("A", QSpecialTypeSystemIniLine, "shell=evil.exe");
    quarantine::SaveTables();
    quarantine::SaveTables();
    quarantine::OpenTables();
    EXPECT_EQ(RowsOf("A"), 4);
    EXPECT_EQ(store.GetQuarantineThreat("A")->QThreatLocationRegKeys->Item(1)->RegHive, platform::HiveCurrentUser);
    AddThreat("B", 8);
    quarantine::SaveTables();
    quarantine::ReopenTables();
    EXPECT_EQ(store.Count(), 2);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(QuarantineTables, OpeningThrowsAwayWhatWasNotSaved) {
    AddThreat("A", 7);
    quarantine::OpenTables();
    EXPECT_EQ(store.Count(), 0);
}

TEST_F(QuarantineTables, AnIndexOfTheOlderLayoutIsReplacedByAnEmptyOne) {
    modCleanerHelper::EnableLog() = true;
    Recordset older;
    older.AppendField("QThreatID", FieldType::VarChar, 30);
    older.AppendField("ThreatID", FieldType::Integer);
    older.AppendField("ThreatAuthor", FieldType::VarChar, 255);
    older.Open();
    older.AddNew();
    older.Set("QThreatID", std::string("A"));
    older.Update();
    older.Save(UserFolder() + "KelQuarantined.sdb");
    AddFolder("A", "C:\\evil");
    platform::Current().files->Remove(UserFolder() + "KelQFolders.sdb");
    quarantine::Opened(quarantine::Folders).Save(UserFolder() + "KelQFolders.sdb");

    quarantine::OpenTables();
    EXPECT_EQ(store.Count(), 0);
    EXPECT_EQ(Columns(quarantine::Threats).size(), 9U);
    EXPECT_FALSE(Exists(UserFolder() + "KelQuarantined.sdb")) << "it comes with the first save";
    EXPECT_EQ(RowsOf("A"), 1) << "the other tables are opened as they are";
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_THAT(CleanerLogText(), HasSubstr("::Bad kelQuarantine version. \r\n"));
}

TEST_F(QuarantineTables, AnIndexWithoutRowsIsBegunAnew) {
    modCleanerHelper::EnableLog() = true;
    quarantine::SaveTables();
    quarantine::OpenTables();
    EXPECT_EQ(store.Count(), 0);
    EXPECT_FALSE(Exists(UserFolder() + "KelQuarantined.sdb"));
    EXPECT_TRUE(Exists(UserFolder() + "KelQFiles.sdb"));
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_THAT(CleanerLogText(), HasSubstr("Bad kelQuarantine version. "));
}

TEST_F(QuarantineTables, ADamagedTableStopsTheOpening) {
    WriteFile(UserFolder() + "KelQFiles.sdb", "no table");
    try {
        quarantine::OpenTables();
        ADD_FAILURE() << "opened";
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.Number(), ErrDamagedTable);
    }
    EXPECT_TRUE(State().RsQCookies->IsOpen());
    EXPECT_FALSE(State().RsQFolders->IsOpen()) << "those behind it stay closed";
    EXPECT_EQ(ReadFile(UserFolder() + "KelQFiles.sdb"), "no table");
}

TEST_F(QuarantineTables, AFileThatCannotBeDeletedStopsTheSaving) {
    quarantine::SaveTables();
    decorators::FaultInjectingPlatform faults(Machine());
    faults.Lock(UserFolder() + "KelQFolders.sdb");
    Install(faults.View());
    try {
        quarantine::SaveTables();
        ADD_FAILURE() << "saved";
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.Number(), ErrPermissionDenied);
    }
    Install(Machine());
    EXPECT_TRUE(Exists(UserFolder() + "KelQFiles.sdb")) << "those before it are written";
    EXPECT_FALSE(Exists(UserFolder() + "KelQSpecials.sdb"));
}

TEST_F(QuarantineTables, TheFolderLiesInTheUserDataUnlessAPlaceIsNamed) {
    EXPECT_EQ(quarantine::QuarantineFolderRoot(), UserFolder() + "\\Quarantine\\");
    quarantine::QuarantineRootPath() = "D:\\safe";
    EXPECT_EQ(quarantine::QuarantineFolderRoot(), "D:\\safe\\Quarantine\\");
    quarantine::QuarantineRootPath() = "D:\\safe\\";
    EXPECT_EQ(quarantine::QuarantineFolderRoot(), "D:\\safe\\Quarantine\\");
}

}  // namespace
}  // namespace kel::test
