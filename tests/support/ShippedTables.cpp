#include "support/ShippedTables.h"

#include "core/Recordset.h"
#include "platform/Platform.h"

namespace kel::test {

namespace {

constexpr std::uint32_t KeySize = 255;

void Save(Recordset& table, const std::string& path) {
    if (platform::Current().files->PathExists(path)) {
        platform::Current().files->Remove(path);
    }
    table.Save(path);
}

void WriteThreats(const std::vector<ThreatRow>& rows, const std::string& path) {
    Recordset table;
    table.AppendField("ThreatID", FieldType::Integer);
    table.AppendField("ThreatName", FieldType::VarChar, KeySize);
    table.AppendField("ThreatCategory", FieldType::VarChar, KeySize);
    table.AppendField("ThreatType", FieldType::VarChar, KeySize);
    table.AppendField("ThreatDesc", FieldType::VarChar, KeySize);
    table.AppendField("ThreatAuthor", FieldType::VarChar, KeySize);
    table.AppendField("ThreatAuthorURL", FieldType::VarChar, KeySize);
    table.AppendField("ThreatLevel", FieldType::Integer);
    table.AppendField("ThreatAdviseType", FieldType::Integer);
    table.AppendField("ThreatAdviseDetails", FieldType::VarChar, KeySize);
    table.AppendField("ThreatCanQuarantine", FieldType::Boolean);
    table.AppendField("ThreatCustomRemovalType", FieldType::VarChar, KeySize);
    table.AppendField("ThreatCustomData", FieldType::VarChar, KeySize);
    table.AppendField("ThreatOptionLevel", FieldType::Integer);
    table.Open();
    const auto add = [&](const ThreatRow& row) {
        table.AddNew();
        table.Set("ThreatID", row.id);
        table.Set("ThreatName", row.name);
        table.Set("ThreatCategory", row.category);
        for (const char* name : {"ThreatType", "ThreatDesc", "ThreatAuthorURL", "ThreatAdviseDetails"}) {
            table.Set(name, std::string());
        }
        table.Set("ThreatLevel", row.level);
        table.Set("ThreatAdviseType", std::int32_t{0});
        table.Set("ThreatCanQuarantine", row.canQuarantine);
        table.Set("ThreatCustomRemovalType", row.removalType);
        table.Set("ThreatCustomData", row.customData);
        table.Set("ThreatAuthor", row.author);
        table.Set("ThreatOptionLevel", std::int32_t{0});
        table.Update();
    };
    add({.id = 0, .name = "105", .category = "", .level = 0});
    for (const ThreatRow& row : rows) {
        add(row);
    }
    Save(table, path);
}

void WriteSignatures(const std::vector<SignatureRow>& rows, const std::string& path, bool levels = true) {
    Recordset table;
    table.AppendField("ThreatID", FieldType::Integer);
    table.AppendField("Key", FieldType::VarChar, KeySize);
    if (levels) {
        table.AppendField("OptionalScan", FieldType::SmallInt);
    }
    table.Open();
    for (const SignatureRow& row : rows) {
        table.AddNew();
        table.Set("ThreatID", row.threat);
        table.Set("Key", row.key);
        if (levels) {
            table.Set("OptionalScan", std::int32_t{row.level});
        }
        table.Update();
    }
    Save(table, path);
}

Value TextOrNull(const std::optional<std::string>& text) {
    return text ? Value(*text) : Value(Null{});
}

void WriteRegKeys(const std::vector<RegKeyRow>& rows, const std::string& path, bool levels) {
    Recordset table;
    table.AppendField("ThreatID", FieldType::Integer);
    for (const char* name : {"RegHive", "RegKey", "RegValueName", "RegValueData"}) {
        table.AppendField(name, FieldType::VarChar, KeySize);
    }
    if (levels) {
        table.AppendField("OptionalScan", FieldType::SmallInt);
    }
    table.Open();
    for (const RegKeyRow& row : rows) {
        table.AddNew();
        table.Set("ThreatID", row.threat);
        table.Set("RegHive", row.hive);
        table.Set("RegKey", row.key);
        table.Set("RegValueName", TextOrNull(row.name));
        table.Set("RegValueData", TextOrNull(row.data));
        if (levels) {
            table.Set("OptionalScan", std::int32_t{row.level});
        }
        table.Update();
    }
    Save(table, path);
}

}  // namespace

void ShippedTables::WriteTo(std::string_view folder) const {
    const std::string at(folder);
    WriteThreats(threats, at + "kelThreatData.sdb");
    WriteSignatures(cookies, at + "KelThreatCookie.sdb");
    if (withMd5Table) {
        WriteSignatures(md5, at + "KelThreatFileMD5.sdb");
    }
    WriteSignatures(paths, at + "KelThreatFilePath.sdb", withLevels);
    WriteSignatures(folders, at + "KelThreatFolder.sdb", withLevels);
    WriteRegKeys(regKeys, at + "KelThreatRegKey.sdb", withLevels);
}

}  // namespace kel::test
