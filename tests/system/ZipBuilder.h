// Zip archives made to measure, sound and otherwise.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kel::test {

/// An entry as it shall stand in the archive. What is left out is what a sound archive has.
struct ZipItem {
    std::string name{};
    std::string bytes{};
    bool deflate = true;
    std::uint16_t flags = 0;
    bool descriptor = false;    ///< sizes and checksum behind the data instead of before them
    bool sizes64 = false;       ///< sizes in the 64-bit extra field
    std::string extra{};        ///< further extra fields of the directory's record
    std::int64_t method = -1;   ///< another method number
    std::int64_t crc = -1;      ///< another checksum
    std::int64_t size = -1;     ///< another unpacked size
    std::int64_t localAt = -1;  ///< another place of the local record
};

struct ZipShape {
    std::string before{};     ///< bytes before the archive proper
    std::string comment{};    ///< of the whole archive
    std::string behind{};     ///< bytes behind its end
    bool end64 = false;       ///< with the 64-bit end records
    std::int64_t count = -1;  ///< another number of entries
};

/// The archive's bytes.
[[nodiscard]] std::string MakeZip(const std::vector<ZipItem>& items, const ZipShape& shape = {});

/// An extra field.
[[nodiscard]] std::string ZipExtra(std::uint16_t id, std::string_view data);

}  // namespace kel::test
