// Entries of the catalogue of network providers.
#pragma once

#include <string>

namespace kel::test {

/// Twelve digits.
inline std::string EntryName(int number) {
    const std::string digits = std::to_string(number);
    return std::string(12 - digits.size(), '0') + digits;
}

/// An item in the size and shape of the system's: a path in a field of its own, filled up with what was in memory, then
/// the record of a protocol with its number.
inline std::string CatalogItem(const std::string& path, int number) {
    std::string item = path;
    item.resize(260, '\0');
    for (std::size_t place = path.size() + 1; place < item.size(); place += 7) {
        item[place] = static_cast<char>(place % 120 + 1 == '|' ? 'x' : place % 120 + 1);
    }
    item += std::string("\x66\0\2\0", 4);
    item += static_cast<char>(number == '|' ? 1 : number);
    item += "MSAFD Tcpip [TCP/IP] \xe9\xff";
    item.resize(888, '\0');
    return item;
}

}  // namespace kel::test
