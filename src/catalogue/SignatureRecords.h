// The elements of the four keyed signature tables, as their readers see them.
#pragma once

#include <cstdint>
#include <string>

namespace kel {

/// `CookieName` stays empty: the value lives in the key.
struct clsDataCooKie {
    static constexpr bool HoldsKey = false;
    std::string CookieName;
    std::int16_t OptionalScan = 0;
    std::int32_t ThreatID = 0;
};

/// `MD5` stays empty: the value lives in the key.
struct clsDataFileMD5 {
    static constexpr bool HoldsKey = false;
    std::string MD5;
    std::int16_t OptionalScan = 0;
    std::int32_t ThreatID = 0;
};

struct clsDataFilePath {
    static constexpr bool HoldsKey = true;
    std::string FilePath;  ///< the key as the table has it, trimmed
    std::int16_t OptionalScan = 0;
    std::int32_t ThreatID = 0;
};

struct clsDataFolder {
    static constexpr bool HoldsKey = true;
    std::string Folder;  ///< the key as the table has it, trimmed
    std::int16_t OptionalScan = 0;
    std::int32_t ThreatID = 0;
};

}  // namespace kel
