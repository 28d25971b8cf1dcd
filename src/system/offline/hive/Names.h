// Names as hives store them: one byte a character when all are Latin-1, UTF-16 otherwise.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "hive/Bytes.h"
#include "hive/Upcase.h"

namespace kel::offline::regf {

/// A name in place. Ends with the next change of the hive.
class NameView {
public:
    NameView() = default;
    /// `size` counts bytes; an odd last byte of a UTF-16 name is left out.
    NameView(const std::byte* bytes, std::size_t size, bool compressed) noexcept
        : bytes_(bytes), length_(compressed ? size : size / 2), compressed_(compressed) {}

    [[nodiscard]] std::size_t Length() const noexcept { return length_; }
    [[nodiscard]] bool Compressed() const noexcept { return compressed_; }
    [[nodiscard]] const std::byte* Bytes() const noexcept { return bytes_; }
    [[nodiscard]] char16_t operator[](std::size_t index) const noexcept {
        return compressed_ ? static_cast<char16_t>(bytes_[index]) : static_cast<char16_t>(Load16(bytes_ + index * 2));
    }
    [[nodiscard]] std::u16string Text() const {
        std::u16string text(length_, u'\0');
        for (std::size_t i = 0; i < length_; ++i)
            text[i] = (*this)[i];
        return text;
    }

private:
    const std::byte* bytes_ = nullptr;
    std::size_t length_ = 0;
    bool compressed_ = true;
};

/// Order without regard to case of two indexable runs of UTF-16 units, as CompareNames has it.
template <class Left>
[[nodiscard]] std::strong_ordering CompareUnits(const Left& left, std::size_t leftLength, const NameView& right) {
    const std::size_t common = leftLength < right.Length() ? leftLength : right.Length();
    for (std::size_t i = 0; i < common; ++i) {
        const char16_t a = left[i];
        const char16_t b = right[i];
        if (a == b)
            continue;
        const char16_t upperA = Upcase(a);
        const char16_t upperB = Upcase(b);
        if (upperA != upperB)
            return upperA <=> upperB;
    }
    return leftLength <=> right.Length();
}
[[nodiscard]] inline std::strong_ordering Compare(const NameView& left, const NameView& right) {
    return CompareUnits(left, left.Length(), right);
}
[[nodiscard]] inline std::strong_ordering Compare(std::u16string_view left, const NameView& right) {
    return CompareUnits(left, left.size(), right);
}
[[nodiscard]] inline bool Same(std::u16string_view left, const NameView& right) {
    return left.size() == right.Length() && Compare(left, right) == 0;
}

/// The hash that `lh` lists keep: 37 * hash + upper-case unit.
template <class Name>
[[nodiscard]] std::uint32_t HashUnits(const Name& name, std::size_t length) noexcept {
    std::uint32_t hash = 0;
    for (std::size_t i = 0; i < length; ++i)
        hash = 37 * hash + Upcase(static_cast<char16_t>(name[i]));
    return hash;
}

/// The hint that `lf` lists keep: the first four characters, or 0 when one of them needs more than a byte.
[[nodiscard]] inline std::uint32_t Hint(std::u16string_view name) noexcept {
    std::uint32_t hint = 0;
    for (std::size_t i = 0; i < 4 && i < name.size(); ++i) {
        if (name[i] > 0xFF)
            return 0;
        hint |= static_cast<std::uint32_t>(name[i]) << (8 * i);
    }
    return hint;
}

/// A name in the form in which it is stored.
struct StoredName {
    std::vector<std::byte> bytes;
    bool compressed = false;
};

/// `minor` is the hive's version: NT 3.1 has no compressed names.
[[nodiscard]] inline StoredName EncodeName(std::u16string_view name, std::uint32_t minor) {
    StoredName stored;
    stored.compressed = minor >= 2;
    for (const char16_t unit : name)
        stored.compressed = stored.compressed && unit <= 0xFF;
    for (const char16_t unit : name) {
        stored.bytes.push_back(static_cast<std::byte>(unit & 0xFF));
        if (!stored.compressed)
            stored.bytes.push_back(static_cast<std::byte>(unit >> 8));
    }
    return stored;
}

}  // namespace kel::offline::regf
