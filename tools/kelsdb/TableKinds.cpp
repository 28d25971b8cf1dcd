#include "kelsdb/TableKinds.h"

#include <algorithm>
#include <array>

#include "catalogue/ShippedTables.h"
#include "core/Text.h"

namespace kel::kelsdb {

namespace {

using enum EmptyField;

// Positions are the format: the engine reads these columns by them.
constexpr std::array ThreatColumns{
    ColumnKind{"ThreatID", FieldType::Integer, 0, Refused},
    ColumnKind{"ThreatName", FieldType::VarChar, 255, Null},
    ColumnKind{"ThreatCategory", FieldType::VarChar, 255, EmptyField::Text},
    ColumnKind{"ThreatType", FieldType::VarChar, 255, EmptyField::Text},
    ColumnKind{"ThreatDesc", FieldType::VarChar, 4000, Null},
    ColumnKind{"ThreatAuthor", FieldType::VarChar, 255, Null},
    ColumnKind{"ThreatAuthorURL", FieldType::VarChar, 1000, Null},
    ColumnKind{"ThreatLevel", FieldType::Integer, 0, Null},
    ColumnKind{"ThreatAdviseType", FieldType::Integer, 0, Null},
    ColumnKind{"ThreatAdviseDetails", FieldType::VarChar, 4000, Null},
    ColumnKind{"ThreatCanQuarantine", FieldType::Boolean, 0, Null},
    ColumnKind{"ThreatCustomRemovalType", FieldType::VarChar, 20, Null},
    ColumnKind{"ThreatCustomData", FieldType::VarChar, 32000, Null},
    ColumnKind{"ThreatOptionLevel", FieldType::Integer, 0, Null},
};

constexpr std::array<ColumnKind, 3> Keyed(std::uint32_t keySize) {
    return {ColumnKind{"ThreatID", FieldType::Integer, 0, Refused},
            ColumnKind{"Key", FieldType::VarChar, keySize, Refused},
            ColumnKind{"OptionalScan", FieldType::SmallInt, 0, Zero, true}};
}
constexpr std::array CookieColumns = Keyed(255);
constexpr std::array Md5Columns = Keyed(32);
constexpr std::array PathColumns = Keyed(260);
constexpr std::size_t KeyedKey = 1;

constexpr std::array RegKeyColumns{
    ColumnKind{"ThreatID", FieldType::Integer, 0, Refused},
    ColumnKind{"RegHive", FieldType::VarChar, 30, EmptyField::Text},
    ColumnKind{"RegKey", FieldType::VarChar, 1000, EmptyField::Text},
    ColumnKind{"RegValueName", FieldType::VarChar, 1000, Null},
    ColumnKind{"RegValueData", FieldType::VarChar, 4000, Null},
    ColumnKind{"OptionalScan", FieldType::SmallInt, 0, Zero, true},
};

constexpr std::array ExtensionColumns{ColumnKind{"Extension", FieldType::VarChar, 50, Refused}};

constexpr std::array ResuscitatorColumns{
    ColumnKind{"ThreatID", FieldType::Integer, 0, Null},
    ColumnKind{"ResExeName", FieldType::VarChar, 255, Null},
    ColumnKind{"ResExeMD5", FieldType::VarChar, 64, Null},
    ColumnKind{"ResDeleteFile", FieldType::Boolean, 0, Refused},
    ColumnKind{"ResDeleteRegKey", FieldType::Boolean, 0, Refused},
    ColumnKind{"ResInternalName", FieldType::VarChar, 255, Null},
};

constexpr std::array Kinds{
    TableKind{"threats", shipped::ThreatData, ThreatColumns, 0},
    TableKind{"cookies", shipped::Cookies, CookieColumns, KeyedKey},
    TableKind{"md5", shipped::FileMD5, Md5Columns, KeyedKey, true, true},
    TableKind{"paths", shipped::FilePaths, PathColumns, KeyedKey},
    TableKind{"folders", shipped::Folders, PathColumns, KeyedKey},
    TableKind{"regkeys", shipped::RegKeys, RegKeyColumns},
    TableKind{"extensions", shipped::Extensions, ExtensionColumns, 0, false},
    TableKind{"resuscitators", shipped::Resuscitators, ResuscitatorColumns, NoKey, false},
};

const TableKind* Find(bool (*matches)(const TableKind&, std::string_view), std::string_view name) {
    const auto found =
        std::find_if(Kinds.begin(), Kinds.end(), [&](const TableKind& kind) { return matches(kind, name); });
    return found == Kinds.end() ? nullptr : &*found;
}

}  // namespace

std::span<const TableKind> TableKinds() {
    return Kinds;
}

const TableKind& KindOf(Table table) {
    return Kinds[static_cast<std::size_t>(table)];
}

const TableKind* KindByName(std::string_view name) {
    return Find([](const TableKind& kind, std::string_view sought) { return kind.name == sought; }, name);
}

const TableKind* KindByFile(std::string_view file) {
    return Find([](const TableKind& kind, std::string_view sought) { return EqualText(kind.file, sought); }, file);
}

}  // namespace kel::kelsdb
