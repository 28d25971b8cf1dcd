// The bytes of a hive in memory. Read, not mapped: a failing disk or a file cut short under us would end the process.
#pragma once

#include <cstddef>
#include <span>

namespace kel::offline::regf {

/// Movable owner of whole pages. Pointers into it end with Resize.
class HiveImage {
public:
    HiveImage() = default;
    HiveImage(HiveImage&& other) noexcept;
    HiveImage& operator=(HiveImage&& other) noexcept;
    HiveImage(const HiveImage&) = delete;
    HiveImage& operator=(const HiveImage&) = delete;
    ~HiveImage();

    /// Takes a copy. False when there is no memory.
    bool Assign(std::span<const std::byte> bytes);
    /// Makes the size `size`; new bytes are zero. False when there is no memory; then nothing changed.
    bool Resize(std::size_t size);

    [[nodiscard]] std::byte* Data() noexcept { return data_; }
    [[nodiscard]] const std::byte* Data() const noexcept { return data_; }
    [[nodiscard]] std::size_t Size() const noexcept { return size_; }
    [[nodiscard]] std::span<const std::byte> Bytes() const noexcept { return {data_, size_}; }

private:
    void Release() noexcept;

    std::byte* data_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

}  // namespace kel::offline::regf
