#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/Text.h"
#include "kelsdb/Commands.h"
#include "kelsdb/Csv.h"
#include "kelsdb/Failure.h"
#include "kelsdb/Files.h"
#include "kelsdb/Rejections.h"
#include "kelsdb/TableBuilder.h"

namespace kel::kelsdb {

namespace {

constexpr std::size_t Absent = static_cast<std::size_t>(-1);

// Which field of a record belongs to which column of the table.
struct Header {
    std::vector<std::size_t> columns;  ///< columns that the table gets, ascending
    std::vector<std::size_t> fields;   ///< for each of them its place in a record
    std::size_t width = 0;             ///< fields in a record
};

std::size_t ColumnNamed(const TableKind& kind, std::string_view name) {
    for (std::size_t i = 0; i < kind.columns.size(); ++i) {
        if (EqualText(kind.columns[i].name, name)) {
            return i;
        }
    }
    return Absent;
}

Header ReadHeader(const TableKind& kind, const std::vector<CsvField>& names, std::size_t line, Rejections& rejections) {
    std::vector<std::size_t> places(kind.columns.size(), Absent);
    for (std::size_t field = 0; field < names.size(); ++field) {
        const std::string name(Trim(names[field].text));
        const std::size_t column = ColumnNamed(kind, name);
        if (column == Absent) {
            rejections.Add(line, "unknown column \"" + name + "\" in the header");
        } else if (places[column] != Absent) {
            rejections.Add(line, "column " + name + " is twice in the header");
        } else {
            places[column] = field;
        }
    }
    Header header;
    header.width = names.size();
    for (std::size_t column = 0; column < places.size(); ++column) {
        if (places[column] != Absent) {
            header.columns.push_back(column);
            header.fields.push_back(places[column]);
        } else if (!kind.columns[column].optional) {
            rejections.Add(line, "no column " + std::string(kind.columns[column].name) + " in the header");
        }
    }
    return header;
}

void ReadRows(CsvReader& reader, const Header& header, TableBuilder& builder, Rejections& rejections) {
    std::vector<CsvField> record;
    std::vector<CsvField> fields(header.fields.size());
    while (reader.Next(record)) {
        if (!reader.Error().empty()) {
            rejections.Add(reader.Line(), reader.Error());
            continue;
        }
        if (record.size() != header.width) {
            rejections.Add(reader.Line(), Text(static_cast<std::int64_t>(record.size())) + " fields instead of " +
                                              Text(static_cast<std::int64_t>(header.width)));
            continue;
        }
        for (std::size_t i = 0; i < fields.size(); ++i) {
            fields[i] = std::move(record[header.fields[i]]);
        }
        if (const std::string reason = builder.Add(fields, reader.Line()); !reason.empty()) {
            rejections.Add(reader.Line(), reason);
        }
    }
}

}  // namespace

int Create(tools::HostPlatform& host, const TableKind& kind, const std::string& output, const std::string& csv,
           const Streams& streams) {
    Input input(csv, streams.in);
    Rejections rejections(streams.err, input.Name());
    CsvReader reader(input.Stream());
    std::vector<CsvField> names;
    if (!reader.Next(names)) {
        input.RequireWhole();
        rejections.Add(1, "no header");
        return ExitRejected;
    }
    if (!reader.Error().empty()) {
        rejections.Add(reader.Line(), reader.Error());
        return ExitRejected;
    }
    const Header header = ReadHeader(kind, names, reader.Line(), rejections);
    if (rejections.Count() != 0) {
        return ExitRejected;
    }
    TableBuilder builder(kind, header.columns);
    ReadRows(reader, header, builder, rejections);
    input.RequireWhole();
    if (rejections.Count() != 0) {
        streams.err << rejections.Count() << " rejected; " << output << " is not written\n";
        return ExitRejected;
    }
    SaveTable(host, builder.Rows(), output, builder.Order());
    streams.out << output << ": " << builder.Count() << " rows\n";
    return ExitDone;
}

}  // namespace kel::kelsdb
