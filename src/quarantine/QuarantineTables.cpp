#include "quarantine/QuarantineTables.h"

#include <cstdint>
#include <span>

#include "core/Failures.h"
#include "core/Paths.h"
#include "platform/Platform.h"
#include "results/Required.h"
#include "rules/modCleanerHelper.h"

namespace kel::quarantine {

namespace {

struct Column {
    std::string_view name;
    FieldType type;
    std::uint32_t size = 0;
};

constexpr Column ThreatColumns[] = {
    {"QThreatID", FieldType::VarChar, 30},      {"ThreatID", FieldType::Integer},
    {"ThreatName", FieldType::VarChar, 255},    {"ThreatAuthor", FieldType::VarChar, 255},
    {"Category", FieldType::VarChar, 255},      {"ScanID", FieldType::VarChar, 30},
    {"QuarantineDate", FieldType::VarChar, 30}, {"QuarantinePath", FieldType::VarChar, 255},
    {"ThreatType", FieldType::Integer},
};

constexpr Column CookieColumns[] = {
    {"QThreatID", FieldType::VarChar, 30},
    {"QFileName", FieldType::VarChar, 255},
    {"OriginalPath", FieldType::VarChar, 255},
};

constexpr Column FileColumns[] = {
    {"QThreatID", FieldType::VarChar, 30},         {"QFileName", FieldType::VarChar, 255},
    {"OriginalFilePath", FieldType::VarChar, 255}, {"ActionRegisterFile", FieldType::Boolean},
    {"ThreatTypeFile", FieldType::Integer},        {"RestoreOrder", FieldType::Integer},
};

constexpr Column FolderColumns[] = {
    {"QThreatID", FieldType::VarChar, 30},
    {"OriginalFolderPath", FieldType::VarChar, 255},
};

constexpr Column RegKeyColumns[] = {
    {"QThreatID", FieldType::VarChar, 30},     {"RegHive", FieldType::VarChar, 20},
    {"RegKey", FieldType::VarChar, 255},       {"RegValueName", FieldType::VarChar, 255},
    {"RegValueData", FieldType::VarChar, 255}, {"RegValueDataType", FieldType::Integer},
};

constexpr Column SpecialColumns[] = {
    {"QThreatID", FieldType::VarChar, 30}, {"QSpecialType", FieldType::Numeric}, {"Data1", FieldType::VarChar, 255},
    {"Data2", FieldType::VarChar, 255},    {"Data3", FieldType::VarChar, 255},   {"Data4", FieldType::VarChar, 255},
};

struct Layout {
    const Table& table;
    std::span<const Column> columns;
};

constexpr Layout Layouts[] = {
    {Threats, ThreatColumns}, {Cookies, CookieColumns}, {Files, FileColumns},
    {Folders, FolderColumns}, {RegKeys, RegKeyColumns}, {Specials, SpecialColumns},
};

// Set by clients, for all of them.
struct Settings {
    std::string rootPath;
};

void Define(Recordset& recordset, const Layout& layout) {
    for (const Column& column : layout.columns) {
        recordset.AppendField(column.name, column.type, column.size);
    }
    recordset.Open();
}

// A file without a byte is what a save leaves that was cut when it had made the file: there is no table in it, and the
// others are not to be closed for it.
bool HoldsATable(const std::string& path) {
    return paths::FileExists(path) && platform::Current().files->Length(path).ValueOr(1) != 0;
}

void OpenTable(const Layout& layout) {
    Recordset& recordset = *(State().*layout.table.recordset);
    const std::string path = PathOf(layout.table);
    if (HoldsATable(path)) {
        recordset.Open(path);
    } else {
        Define(recordset, layout);
    }
}

// Read on the current row, so an index without rows fails the test too.
bool IsOfThisLayout(const Recordset& index) {
    return ResumeNext([&] {
        (void)index.Get("Category");
        (void)index.Get("ThreatAuthor");
    });
}

void CheckIndex() {
    Recordset& index = Opened(Threats);
    const std::string path = PathOf(Threats);
    if (!HoldsATable(path) || IsOfThisLayout(index)) {
        return;
    }
    modCleanerHelper::CleanerLog("Bad kelQuarantine version. ");
    index.Close();
    if (const auto error = platform::Current().files->Remove(path); error != platform::SysError::Success) {
        paths::RaiseFileError(error, path);
    }
    Define(index, Layouts[0]);
}

}  // namespace

std::string PathOf(const Table& table) {
    return State().UserDataFolder + "\\" + std::string(table.file);
}

Recordset& Opened(const Table& table, SourceLocation where) {
    return Required(State().*table.recordset, where);
}

std::string OfThreat(std::string_view QuarantineThreatID) {
    return "QThreatID='" + std::string(QuarantineThreatID) + "'";
}

void OpenTables() {
    for (const Table* table : Tables) {
        State().*table->recordset = std::make_shared<Recordset>();
    }
    for (const Layout& layout : Layouts) {
        OpenTable(layout);
        if (&layout.table == &Threats) {
            CheckIndex();
        }
    }
}

void SaveTables() {
    for (const Table* table : Tables) {
        ResumeNext([&] { platform::Current().files->Remove(PathOf(*table)); });
    }
    for (const Table* table : Tables) {
        Opened(*table).Save(PathOf(*table));
    }
}

void ReopenTables() {
    for (const Table* table : Tables) {
        Recordset& recordset = Opened(*table);
        recordset.Close();
        recordset.Open(PathOf(*table));
    }
}

void CommitRegistry(SourceLocation where) {
    if (const auto error = platform::Current().registry->Commit(); error != platform::SysError::Success) {
        paths::RaiseFileError(error, "registry", where);
    }
}

std::string& QuarantineRootPath() {
    return ModuleData<Settings>().rootPath;
}

std::string QuarantineFolderRoot() {
    const std::string& root = QuarantineRootPath();
    if (root.empty()) {
        return State().UserDataFolder + "\\Quarantine\\";
    }
    return root + (root.ends_with('\\') ? "Quarantine\\" : "\\Quarantine\\");
}

}  // namespace kel::quarantine
