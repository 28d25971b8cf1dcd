// The tables of a data folder: files, columns, and what their fields may be.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "core/Recordset.h"

namespace kel::kelsdb {

/// What an empty field that has no quotes means. A quoted one is the empty text everywhere.
enum class EmptyField {
    Refused,
    Null,
    Text,  ///< the empty text
    Zero,
};

struct ColumnKind {
    std::string_view name;
    FieldType type;
    std::uint32_t size;  ///< most characters of a VarChar
    EmptyField empty;
    bool optional = false;  ///< the whole column may be left out
};

/// The column that tells rows apart, as a position in the columns.
inline constexpr std::size_t NoKey = static_cast<std::size_t>(-1);

struct TableKind {
    std::string_view name;  ///< on the command line
    std::string_view file;  ///< in a data folder
    std::span<const ColumnKind> columns;
    std::size_t key = NoKey;
    bool required = true;  ///< the engine reports it when it is missing
    bool digests = false;  ///< keys are MD5 as 32 hexadecimal digits
};

enum class Table { Threats, Cookies, Md5, Paths, Folders, RegKeys, Extensions, Resuscitators };

/// All tables, in the order of Table.
[[nodiscard]] std::span<const TableKind> TableKinds();
[[nodiscard]] const TableKind& KindOf(Table table);
/// Null for an unknown name.
[[nodiscard]] const TableKind* KindByName(std::string_view name);
/// By a file's name without its folder, without regard to case. Null for an unknown one.
[[nodiscard]] const TableKind* KindByFile(std::string_view file);

}  // namespace kel::kelsdb
