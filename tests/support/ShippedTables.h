// The tables that the engine's data folder holds, built row by row for a test.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kel::test {

struct ThreatRow {
    std::int32_t id = 0;
    std::string name;
    std::string category = "adware";
    std::int32_t level = 2;
    bool canQuarantine = true;
    std::string removalType = "0";
    std::string customData = {};
    std::string author = {};
};

struct SignatureRow {
    std::int32_t threat = 0;
    std::string key;
    std::int16_t level = 0;
};

struct RegKeyRow {
    std::int32_t threat = 0;
    std::string hive;
    std::string key;
    std::optional<std::string> name = {};  ///< null when it is nothing, and so is the data
    std::optional<std::string> data = {};
    std::int16_t level = 0;
};

/// A version row with "105" stands in the threat table beside what is named here. A table without rows is an empty one.
struct ShippedTables {
    std::vector<ThreatRow> threats;
    std::vector<SignatureRow> cookies;
    std::vector<SignatureRow> md5;
    std::vector<SignatureRow> paths;
    std::vector<SignatureRow> folders;
    std::vector<RegKeyRow> regKeys;
    bool withMd5Table = true;

    bool withLevels = true;  ///< false: the path, folder and registry tables have no column for them

    /// Writes the tables that every data folder has, in place of any that are there.
    /// @param folder with a trailing backslash
    void WriteTo(std::string_view folder) const;
};

}  // namespace kel::test
