// From a field of text to the value of a column.
#pragma once

#include <string>

#include "core/Value.h"
#include "kelsdb/Csv.h"
#include "kelsdb/TableKinds.h"

namespace kel::kelsdb {

struct FieldOutcome {
    Value value;
    std::string refusal;  ///< not empty: why there is no value
};

/// The value of a UTF-8 field, texts in the machine's code page, or why there is none.
[[nodiscard]] FieldOutcome FieldValue(const ColumnKind& column, const CsvField& field);

}  // namespace kel::kelsdb
