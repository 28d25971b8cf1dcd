// The table of registry signatures, row by row.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "core/Recordset.h"
#include "platform/Registry.h"

namespace kel {

/// Walks the rows that a filter lets through, and asks of each whether what it names is on this machine. The table is
/// the engine's own: its filter and its current row are moved, and stay. A column that a table of an earlier form lacks
/// reads as an empty text or 0. Failures are RuntimeErrors.
class RegistrySignatures {
public:
    /// @param rows raises 91 for null
    explicit RegistrySignatures(std::shared_ptr<Recordset> rows);

    /// Restricts the walk to the signatures up to a level; a table without levels is walked whole.
    void FilterByLevel(std::int16_t highest);
    /// Restricts the walk to the signatures of one threat. Raises 3265 for a table without threats.
    void FilterByThreat(std::int32_t threatID);
    void ClearFilter();

    [[nodiscard]] bool Eof() const;
    void MoveNext();

    /// Reads where the current row points.
    /// @return false for a row that names no hive or no key
    [[nodiscard]] bool ReadPlace();
    /// Reads what the current row asks there. To be called behind a ReadPlace that answered true.
    /// @return false for data without the name of a value
    [[nodiscard]] bool ReadQuestion();

    /// The place as the front end is told it: the hive as the table has it, a backslash and the key.
    [[nodiscard]] std::string Location() const { return hiveName_ + "\\" + key_; }

    /// Records the key or value in the current scan, with what belongs to it, if it is on this machine and may be
    /// removed. To be called behind a ReadQuestion that answered true.
    void Test() const;

private:
    enum Column : std::size_t { ThreatID, RegHive, RegKey, RegValueName, RegValueData, OptionalScan, ColumnCount };

    [[nodiscard]] std::string TextOf(Column column) const;
    [[nodiscard]] std::string TextOrEmpty(Column column) const;
    [[nodiscard]] std::int16_t Level() const;
    void TestKey() const;
    void TestValue() const;

    std::shared_ptr<Recordset> rows_;
    std::array<std::optional<std::size_t>, ColumnCount> places_;

    std::string hiveName_;
    platform::Hive hive_{};
    std::string key_;
    std::string name_;
    std::string data_;
    std::int32_t threatID_ = 0;
};

}  // namespace kel
