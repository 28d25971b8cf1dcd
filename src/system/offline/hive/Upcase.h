// Case folding of names as the Windows kernel does it: the upcase table of NTFS, not Unicode's (µ, ı, ſ and ß stay).
#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <string>
#include <string_view>

namespace kel::offline {

/// The whole table, one entry for each UTF-16 unit; surrogates map to themselves.
[[nodiscard]] const std::array<char16_t, 0x10000>& UpcaseTable() noexcept;

/// The upper-case form of one UTF-16 unit.
[[nodiscard]] inline char16_t Upcase(char16_t unit) noexcept {
    return unit < 0x80 ? static_cast<char16_t>(unit >= u'a' && unit <= u'z' ? unit - 0x20 : unit) : UpcaseTable()[unit];
}

/// The name with every unit in upper case.
[[nodiscard]] std::u16string Upcase(std::u16string_view name);

/// Order of two names without regard to case, unit by unit; a prefix comes first.
[[nodiscard]] std::strong_ordering CompareNames(std::u16string_view left, std::u16string_view right) noexcept;

/// Whether two names are the same to Windows.
[[nodiscard]] bool SameName(std::u16string_view left, std::u16string_view right) noexcept;

/// For unordered containers that are keyed by name.
struct NameHash {
    using is_transparent = void;
    std::size_t operator()(std::u16string_view name) const noexcept;
};
struct NameEqual {
    using is_transparent = void;
    bool operator()(std::u16string_view left, std::u16string_view right) const noexcept {
        return SameName(left, right);
    }
};

}  // namespace kel::offline
