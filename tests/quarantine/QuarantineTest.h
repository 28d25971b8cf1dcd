// The fixture of tests over a quarantine: open tables, to which a test adds what a cleaning would have put there.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "core/Recordset.h"
#include "core/Value.h"
#include "quarantine/Quarantine.h"
#include "quarantine/QuarantineTables.h"
#include "support/EngineTest.h"

namespace kel::test {

class QuarantineTest : public EngineTest {
protected:
    QuarantineTest() { quarantine::OpenTables(); }

    /// The folder of a threat in the quarantine, with its final backslash.
    [[nodiscard]] std::string PathOf(const std::string& id) const { return UserFolder() + "Quarantine\\" + id + "\\"; }

    // Each adds a row, which is not saved.

    /// With an empty folder.
    void AddThreat(const std::string& id, std::int32_t threat, const std::string& scan = "S",
                   const std::string& date = "1/2/2005 3:04:05 PM");
    /// With the file itself, unless its bytes are empty.
    void AddFile(const std::string& id, const std::string& name, const std::string& original, const std::string& bytes,
                 bool registered = false, std::int32_t order = 1);
    void AddCookie(const std::string& id, const std::string& name, const std::string& original,
                   const std::string& bytes);
    static void AddFolder(const std::string& id, const std::string& original);
    static void AddRegKey(const std::string& id, const std::string& key, const std::string& name = {},
                          const std::string& data = {}, std::int32_t type = 1,
                          platform::Hive hive = platform::HiveCurrentUser);
    static void AddSpecial(const std::string& id, enQSpecialType type, const std::string& line);

    /// Rows of a threat in all six tables.
    [[nodiscard]] static std::int32_t RowsOf(const std::string& id);
    /// The same in the files.
    [[nodiscard]] std::int32_t SavedRowsOf(const std::string& id);
    /// Whether no table has a filter.
    [[nodiscard]] static bool Unfiltered();
    /// That one failure was reported, under these names.
    void ExpectReport(const std::string& procedure, const std::string& number);

    Quarantine store;
};

/// A file as it lies in the quarantine.
[[nodiscard]] inline std::string Marked(const std::string& bytes) {
    return bytes + "6635\r\n";
}

}  // namespace kel::test
