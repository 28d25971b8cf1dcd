#include "core/Guid.h"

#include <array>
#include <cstddef>

#include "core/Text.h"
#include "platform/Platform.h"

namespace kel {

namespace {

constexpr std::size_t IdentifierLength = 30;

// Order of the bytes in the text, -1 for a hyphen: the first three fields are little-endian in memory.
constexpr std::array<int, 20> ByteOrder{3, 2, 1, 0, -1, 5, 4, -1, 7, 6, -1, 8, 9, -1, 10, 11, 12, 13, 14, 15};

}  // namespace

std::string RegistryForm(const platform::Guid& guid) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text = "{";
    for (const int index : ByteOrder) {
        if (index < 0) {
            text += '-';
            continue;
        }
        const unsigned byte = guid[static_cast<std::size_t>(index)];
        text += digits[byte >> 4U];
        text += digits[byte & 15U];
    }
    text += '}';
    return text;
}

std::string NewGuidString() {
    return std::string(Mid(RegistryForm(platform::Current().clock->NewGuid()), 2, IdentifierLength));
}

}  // namespace kel
