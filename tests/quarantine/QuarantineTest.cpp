#include "QuarantineTest.h"

namespace kel::test {

namespace {

void AddRow(const quarantine::Table& table, std::initializer_list<std::pair<const char*, Value>> values) {
    Recordset& rows = quarantine::Opened(table);
    rows.AddNew();
    for (const auto& [column, value] : values) {
        rows.Set(column, value);
    }
    rows.Update();
}

std::int32_t CountOf(Recordset& rows, const std::string& id) {
    rows.SetFilter(quarantine::OfThreat(id));
    const std::int32_t count = rows.RecordCount();
    rows.SetFilter({});
    return count;
}

}  // namespace

void QuarantineTest::AddThreat(const std::string& id, std::int32_t threat, const std::string& scan,
                               const std::string& date) {
    const std::string path = PathOf(id);
    MakeFolder(path);
    AddRow(quarantine::Threats, {{"QThreatID", id},
                                 {"ThreatID", threat},
                                 {"ThreatName", "Threat " + std::to_string(threat)},
                                 {"ThreatAuthor", std::string("Author")},
                                 {"Category", std::string("adware")},
                                 {"ScanID", scan},
                                 {"QuarantineDate", date},
                                 {"QuarantinePath", path}});
}

void QuarantineTest::AddFile(const std::string& id, const std::string& name, const std::string& original,
                             const std::string& bytes, bool registered, std::int32_t order) {
    if (!bytes.empty()) {
        WriteFile(PathOf(id) + name, bytes);
    }
    AddRow(quarantine::Files, {{"QThreatID", id},
                               {"QFileName", name},
                               {"OriginalFilePath", original},
                               {"ActionRegisterFile", registered},
                               {"ThreatTypeFile", std::int32_t{ThreatFileTypeDll}},
                               {"RestoreOrder", order}});
}

void QuarantineTest::AddCookie(const std::string& id, const std::string& name, const std::string& original,
                               const std::string& bytes) {
    WriteFile(PathOf(id) + name, bytes);
    AddRow(quarantine::Cookies, {{"QThreatID", id}, {"QFileName", name}, {"OriginalPath", original}});
}

void QuarantineTest::AddFolder(const std::string& id, const std::string& original) {
    AddRow(quarantine::Folders, {{"QThreatID", id}, {"OriginalFolderPath", original}});
}

void QuarantineTest::AddRegKey(const std::string& id, const std::string& key, const std::string& name,
                               const std::string& data, std::int32_t type, platform::Hive hive) {
    AddRow(quarantine::RegKeys, {{"QThreatID", id},
                                 {"RegHive", std::to_string(hive)},
                                 {"RegKey", key},
                                 {"RegValueName", name},
                                 {"RegValueData", data},
                                 {"RegValueDataType", type}});
}

void QuarantineTest::AddSpecial(const std::string& id, enQSpecialType type, const std::string& line) {
    AddRow(quarantine::Specials, {{"QThreatID", id}, {"QSpecialType", std::int32_t{type}}, {"Data1", line}});
}

std::int32_t QuarantineTest::RowsOf(const std::string& id) {
    std::int32_t count = 0;
    for (const quarantine::Table* table : quarantine::Tables) {
        count += CountOf(quarantine::Opened(*table), id);
    }
    return count;
}

std::int32_t QuarantineTest::SavedRowsOf(const std::string& id) {
    std::int32_t count = 0;
    for (const quarantine::Table* table : quarantine::Tables) {
        Recordset rows;
        rows.Open(quarantine::PathOf(*table));
        count += CountOf(rows, id);
    }
    return count;
}

bool QuarantineTest::Unfiltered() {
    for (const quarantine::Table* table : quarantine::Tables) {
        if (!quarantine::Opened(*table).Filter().empty()) {
            return false;
        }
    }
    return true;
}

void QuarantineTest::ExpectReport(const std::string& procedure, const std::string& number) {
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].module, "Quarantine");
    EXPECT_EQ(Reported()[0].procedure, procedure);
    EXPECT_EQ(Reported()[0].number, number);
}

}  // namespace kel::test
