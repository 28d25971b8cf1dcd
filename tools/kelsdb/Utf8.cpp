#include "kelsdb/Utf8.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace kel::kelsdb {

namespace {

// Characters by their number of bytes: what their first byte looks like, and the least character that needs as many.
struct Form {
    unsigned mask;
    unsigned lead;
    std::uint32_t least;
};
constexpr std::array<Form, 4> Forms{{{0x80, 0x00, 0}, {0xE0, 0xC0, 0x80}, {0xF0, 0xE0, 0x800}, {0xF8, 0xF0, 0x10000}}};

constexpr std::uint32_t LastCharacter = 0x10FFFF;

bool IsSurrogate(std::uint32_t character) {
    return character >= 0xD800 && character <= 0xDFFF;
}

}  // namespace

std::optional<std::size_t> CountCharacters(std::string_view text) {
    std::size_t count = 0;
    for (std::size_t at = 0; at < text.size(); ++count) {
        const auto lead = static_cast<unsigned char>(text[at]);
        const auto form =
            std::find_if(Forms.begin(), Forms.end(), [&](const Form& f) { return (lead & f.mask) == f.lead; });
        if (form == Forms.end()) {
            return std::nullopt;
        }
        const auto bytes = static_cast<std::size_t>(form - Forms.begin()) + 1;
        if (text.size() - at < bytes) {
            return std::nullopt;
        }
        std::uint32_t character = lead & ~form->mask;
        for (std::size_t i = 1; i < bytes; ++i) {
            const auto next = static_cast<unsigned char>(text[at + i]);
            if ((next & 0xC0U) != 0x80U) {
                return std::nullopt;
            }
            character = character << 6 | (next & 0x3FU);
        }
        if (character < form->least || character > LastCharacter || IsSurrogate(character)) {
            return std::nullopt;
        }
        at += bytes;
    }
    return count;
}

}  // namespace kel::kelsdb
