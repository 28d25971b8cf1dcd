// Shipped tables for tests.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "catalogue/ShippedTables.h"
#include "core/Recordset.h"
#include "core/Value.h"

namespace kel::test {

using Row = std::vector<Value>;

inline Value T(std::string_view text) {
    return std::string(text);
}

/// Writes a table into the program's folder, in place of one that is there.
void WriteShipped(std::string_view file, const std::vector<FieldDefinition>& fields, const std::vector<Row>& rows);

/// The columns of the threat table, and a row of it that has no nulls.
std::vector<FieldDefinition> ThreatFields();
Row FullThreat(std::int32_t id, std::string_view name);
/// Writes the threat table: the version row and these.
void WriteThreats(const std::vector<Row>& rows);

/// The columns of a keyed table.
std::vector<FieldDefinition> KeyedFields();
std::vector<FieldDefinition> KeyedFieldsWithoutLevel();
/// An empty table for each of the five that must be there.
void WriteEmptySignatures();

}  // namespace kel::test
