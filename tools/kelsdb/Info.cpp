#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "core/Recordset.h"
#include "core/Text.h"
#include "core/Value.h"
#include "kelsdb/Commands.h"
#include "kelsdb/Files.h"
#include "platform/Platform.h"

namespace kel::kelsdb {

namespace {

struct TypeName {
    FieldType type;
    std::string_view name;
};
constexpr std::array TypeNames{
    TypeName{FieldType::SmallInt, "smallint"}, TypeName{FieldType::Integer, "integer"},
    TypeName{FieldType::Date, "date"},         TypeName{FieldType::Boolean, "boolean"},
    TypeName{FieldType::Numeric, "numeric"},   TypeName{FieldType::VarChar, "varchar"},
};

std::string NameOf(const FieldDefinition& field) {
    const auto found = std::find_if(TypeNames.begin(), TypeNames.end(),
                                    [&](const TypeName& entry) { return entry.type == field.type; });
    std::string name(found == TypeNames.end() ? "type" : found->name);
    if (field.type == FieldType::VarChar) {
        name += "(" + Text(field.size) + ")";
    }
    return name + " " + Text(static_cast<std::int64_t>(field.type));
}

}  // namespace

int Info(tools::HostPlatform& host, const std::string& file, const Streams& streams) {
    Recordset table;
    OpenTable(host, table, file);
    std::error_code error;
    const std::filesystem::path path(file);
    const TableKind* kind = KindByFile(path.filename().string());

    streams.out << "file     " << file << '\n';
    if (kind != nullptr) {
        streams.out << "table    " << kind->name << '\n';
    }
    streams.out << "bytes    " << std::filesystem::file_size(path, error) << '\n';
    streams.out << "rows     " << table.RowCount() << '\n';
    if (kind == &KindOf(Table::Threats) && table.FieldCount() > 1) {
        table.SetFilter(EqualText(table.Field(0).name, "ThreatID") ? "ThreatID=0" : "");
        const Value version = table.Eof() ? Value(Null{}) : table.Get(1);
        streams.out << "version  " << (IsNull(version) ? "none" : platform::Current().text->ToUtf8(ToText(version)))
                    << '\n';
    }
    streams.out << "columns  " << table.FieldCount() << '\n';
    for (std::size_t i = 0; i < table.FieldCount(); ++i) {
        streams.out << "  " << i << "  " << platform::Current().text->ToUtf8(table.Field(i).name) << "  "
                    << NameOf(table.Field(i)) << '\n';
    }
    return ExitDone;
}

}  // namespace kel::kelsdb
