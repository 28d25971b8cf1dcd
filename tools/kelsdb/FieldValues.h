// From a field of text to the value of a column.
#pragma once

#include <string>
#include <variant>

#include "core/Value.h"
#include "kelsdb/Csv.h"
#include "kelsdb/TableKinds.h"

namespace kel::kelsdb {

/// Why a field can't be taken.
struct Refusal {
    std::string reason;
};

/// The value of a UTF-8 field, texts in the machine's code page, or why there is none.
[[nodiscard]] std::variant<Value, Refusal> FieldValue(const ColumnKind& column, const CsvField& field);

}  // namespace kel::kelsdb
