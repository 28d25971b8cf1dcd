// The six tables of the quarantine and its folder: where they lie, how they are opened and saved.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "core/EngineState.h"
#include "core/Recordset.h"
#include "core/SourceLocation.h"

namespace kel::quarantine {

/// One table. Its rows belong to the threat whose identifier their column `QThreatID` holds.
struct Table {
    std::string_view file;  ///< in the user data folder
    std::shared_ptr<Recordset> EngineState::*recordset;
};

/// One row for each threat in the quarantine: the index.
inline constexpr Table Threats = {"KelQuarantined.sdb", &EngineState::RsQuarantined};
inline constexpr Table Cookies = {"KelQCookies.sdb", &EngineState::RsQCookies};
inline constexpr Table Files = {"KelQFiles.sdb", &EngineState::RsQFiles};
inline constexpr Table Folders = {"KelQFolders.sdb", &EngineState::RsQFolders};
inline constexpr Table RegKeys = {"KelQRegKeys.sdb", &EngineState::RsQRegKeys};
/// Lines removed from ini files. They are kept, and no reader brings them back.
inline constexpr Table Specials = {"KelQSpecials.sdb", &EngineState::RsQSpecials};

/// All of them, in the order in which they are opened, emptied, deleted and saved.
inline constexpr const Table* Tables[] = {&Threats, &Cookies, &Files, &Folders, &RegKeys, &Specials};

/// Path of a table's file.
[[nodiscard]] std::string PathOf(const Table& table);

/// The table in memory. Raises error 91, with the caller's line, when there is none.
[[nodiscard]] Recordset& Opened(const Table& table, SourceLocation where = SourceLocation::current());

/// The filter for the rows of one threat. An identifier with a quote in it makes a text that is no filter.
[[nodiscard]] std::string OfThreat(std::string_view QuarantineThreatID);

/// Makes six new tables, each from its file where there is one; one of no length counts as missing. No file is made. An
/// index without rows, or of the older layout without category and author, is deleted and begun anew, with a line in
/// the cleaner's log.
/// @throws RuntimeError when a file can't be read; the tables behind it are then closed.
void OpenTables();

/// Deletes the six files, whatever comes of it, and writes each table to its file. This is what the rules ask for: a
/// program that ends in between leaves the store without the files that were not written yet.
/// @throws RuntimeError at the first table that can't be written
void SaveTables();

/// Opens each table anew from its file. @throws RuntimeError
void ReopenTables();

/// Puts what was changed in the registry on the medium of a machine that does not run. Removals are committed behind
/// the save of the tables that record them, restored entries before the save of tables that forget them, so that at
/// every moment an entry is in place or on record.
/// @throws RuntimeError
void CommitRegistry(SourceLocation where = SourceLocation::current());

/// Where the quarantine's folder lies; empty: in the user data folder. Shared by all clients.
[[nodiscard]] std::string& QuarantineRootPath();
/// The folder below which each threat has its own, with a final backslash.
[[nodiscard]] std::string QuarantineFolderRoot();

}  // namespace kel::quarantine
