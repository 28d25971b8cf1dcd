// A zip archive of uncompressed entries, built by hand.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kel::test {

inline std::uint32_t Crc32(std::string_view bytes) {
    std::uint32_t crc = 0xffffffffU;
    for (const char c : bytes) {
        crc ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ ((crc & 1U) != 0 ? 0xedb88320U : 0U);
        }
    }
    return ~crc;
}

/// @param flags general purpose flags of every entry: 1 means encrypted
inline std::string StoredZip(const std::vector<std::pair<std::string, std::string>>& entries, std::uint16_t flags = 0) {
    std::string zip;
    std::string directory;
    const auto put = [](std::string& into, std::uint64_t number, int bytes) {
        for (int i = 0; i < bytes; ++i) {
            into += static_cast<char>(static_cast<unsigned char>(number >> (8 * i)));
        }
    };
    const auto putCommon = [&](std::string& into, const std::string& name, const std::string& bytes) {
        put(into, 20, 2);
        put(into, flags, 2);
        put(into, 0, 2);       // stored
        put(into, 0x6000, 2);  // time
        put(into, 0x3021, 2);  // date
        put(into, Crc32(bytes), 4);
        put(into, bytes.size(), 4);
        put(into, bytes.size(), 4);
        put(into, name.size(), 2);
        put(into, 0, 2);  // extra
    };
    for (const auto& [name, bytes] : entries) {
        const std::size_t offset = zip.size();
        zip += "PK\x03\x04";
        putCommon(zip, name, bytes);
        zip += name;
        zip += bytes;
        directory += "PK\x01\x02";
        put(directory, 20, 2);
        putCommon(directory, name, bytes);
        put(directory, 0, 2);  // comment
        put(directory, 0, 2);  // disk
        put(directory, 0, 2);  // internal attributes
        put(directory, 0, 4);  // external attributes
        put(directory, offset, 4);
        directory += name;
    }
    const std::size_t start = zip.size();
    zip += directory;
    zip += "PK\x05\x06";
    put(zip, 0, 4);
    put(zip, entries.size(), 2);
    put(zip, entries.size(), 2);
    put(zip, directory.size(), 4);
    put(zip, start, 4);
    put(zip, 0, 2);
    return zip;
}

}  // namespace kel::test
