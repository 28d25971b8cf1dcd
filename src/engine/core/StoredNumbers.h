// Whole numbers as they lie in the image of a table file.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/LittleEndian.h"

namespace kel {

/// A row is an unsigned offset of `width` bytes from a base, modulo 2 to the 32nd. A view: the bytes belong to another.
struct StoredNumbers {
    std::int32_t base = 0;
    std::size_t width = 0;               ///< 0, 1, 2 or 4
    const std::uint8_t* data = nullptr;  ///< not used when each row is the base

    [[nodiscard]] std::int32_t At(std::size_t row) const noexcept {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(base) + Offset(row));
    }

private:
    [[nodiscard]] std::uint32_t Offset(std::size_t row) const noexcept {
        switch (width) {
            case 1:
                return data[row];
            case 2:
                return LoadLittle<std::uint16_t>(data + row * 2);
            case 4:
                return LoadLittle<std::uint32_t>(data + row * 4);
            default:
                return 0;
        }
    }
};

}  // namespace kel
