#include "frontend/ShownText.h"

#include <array>
#include <cstdint>

#include "platform/Platform.h"

namespace kel::frontend {

namespace {

struct Range {
    char32_t first;
    char32_t last;
};

constexpr std::array Steering{
    Range{0x0000, 0x001F},  // control characters
    Range{0x007F, 0x009F},  // delete, and the second set of control characters
    Range{0x061C, 0x061C},  // marks of direction
    Range{0x200E, 0x200F},
    Range{0x2028, 0x202E},  // line and paragraph separator, embeddings and overrides of direction
    Range{0x2066, 0x2069},  // isolates of direction
    Range{0xD800, 0xDFFF},  // halves of a pair, which are no characters
};

bool Steers(char32_t character) {
    for (const Range& range : Steering) {
        if (character >= range.first && character <= range.last) {
            return true;
        }
    }
    return false;
}

struct Decoded {
    char32_t character = 0;
    std::size_t bytes = 0;  // 0: none begins here
};

// The UTF-8 character at the beginning of a text that is not empty.
Decoded Decode(std::string_view text) {
    static constexpr char32_t Smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    const unsigned first = byte(0);
    const std::size_t bytes = first < 0x80         ? 1
                              : first >> 5 == 0x06 ? 2
                              : first >> 4 == 0x0E ? 3
                              : first >> 3 == 0x1E ? 4
                                                   : 0;
    if (bytes < 2 || bytes > text.size()) {
        return bytes == 1 ? Decoded{first, 1} : Decoded{};
    }
    char32_t character = first & (0x7FU >> bytes);
    for (std::size_t at = 1; at < bytes; ++at) {
        if ((byte(at) & 0xC0U) != 0x80U) {
            return {};
        }
        character = (character << 6) | (byte(at) & 0x3FU);
    }
    return character < Smallest[bytes] || character > 0x10FFFF ? Decoded{} : Decoded{character, bytes};
}

}  // namespace

std::string ShownText(std::string_view text) {
    return ShownUtf8(platform::Current().text->ToUtf8(text));
}

std::string ShownUtf8(std::string_view utf8) {
    std::string shown;
    shown.reserve(utf8.size());
    for (std::string_view rest = utf8; !rest.empty();) {
        const Decoded decoded = Decode(rest);
        if (decoded.bytes == 0) {
            shown += '?';
            rest.remove_prefix(1);
            continue;
        }
        if (Steers(decoded.character)) {
            shown += '?';
        } else {
            shown += rest.substr(0, decoded.bytes);
        }
        rest.remove_prefix(decoded.bytes);
    }
    return shown;
}

std::string ShownHostText(std::string_view text) {
#ifdef _WIN32
    std::string shown(text);
    for (char& byte : shown) {
        if (static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F) {
            byte = '?';
        }
    }
    return shown;
#else
    return ShownUtf8(text);
#endif
}

}  // namespace kel::frontend
