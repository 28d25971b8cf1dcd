#include "TableFiles.h"

#include "platform/Platform.h"

namespace kel::test {

void WriteShipped(std::string_view file, const std::vector<FieldDefinition>& fields, const std::vector<Row>& rows) {
    Recordset table;
    for (const FieldDefinition& field : fields) {
        table.AppendField(field.name, field.type, field.size);
    }
    table.Open();
    for (const Row& row : rows) {
        table.AddNew();
        for (std::size_t i = 0; i < row.size(); ++i) {
            table.Set(i, row[i]);
        }
        table.Update();
    }
    const std::string path = shipped::Path(file);
    platform::Current().files->Remove(path);
    table.Save(path);
}

std::vector<FieldDefinition> ThreatFields() {
    return {{"ThreatID", FieldType::Integer, 0},
            {"ThreatName", FieldType::VarChar, 255},
            {"ThreatCategory", FieldType::VarChar, 255},
            {"ThreatType", FieldType::VarChar, 255},
            {"ThreatDesc", FieldType::VarChar, 255},
            {"ThreatAuthor", FieldType::VarChar, 255},
            {"ThreatAuthorURL", FieldType::VarChar, 255},
            {"ThreatLevel", FieldType::Integer, 0},
            {"ThreatAdviseType", FieldType::Integer, 0},
            {"ThreatAdviseDetails", FieldType::VarChar, 255},
            {"ThreatCanQuarantine", FieldType::Boolean, 0},
            {"ThreatCustomRemovalType", FieldType::VarChar, 20},
            {"ThreatCustomData", FieldType::VarChar, 255},
            {"ThreatOptionLevel", FieldType::Integer, 0}};
}

Row FullThreat(std::int32_t id, std::string_view name) {
    return {id,
            T(name),
            T("Adware"),
            T("Toolbar"),
            T("shows banners"),
            T("Example Ltd"),
            T("http://a.example/"),
            2,
            1,
            T("be careful"),
            true,
            T("5"),
            T("script"),
            3};
}

void WriteThreats(const std::vector<Row>& rows) {
    std::vector<Row> all{FullThreat(0, "2026.11")};
    all.insert(all.end(), rows.begin(), rows.end());
    WriteShipped(shipped::ThreatData, ThreatFields(), all);
}

std::vector<FieldDefinition> KeyedFields() {
    return {{"ThreatID", FieldType::Integer, 0},
            {"Key", FieldType::VarChar, 255},
            {"OptionalScan", FieldType::SmallInt, 0}};
}

std::vector<FieldDefinition> KeyedFieldsWithoutLevel() {
    auto fields = KeyedFields();
    fields.pop_back();
    return fields;
}

void WriteEmptySignatures() {
    for (const std::string_view file : {shipped::Cookies, shipped::FileMD5, shipped::FilePaths, shipped::Folders}) {
        WriteShipped(file, KeyedFields(), {});
    }
    WriteShipped(shipped::RegKeys,
                 {{"ThreatID", FieldType::Integer, 0},
                  {"RegHive", FieldType::VarChar, 30},
                  {"RegKey", FieldType::VarChar, 255},
                  {"RegValueName", FieldType::VarChar, 255},
                  {"RegValueData", FieldType::VarChar, 255},
                  {"OptionalScan", FieldType::SmallInt, 0}},
                 {});
}

}  // namespace kel::test
