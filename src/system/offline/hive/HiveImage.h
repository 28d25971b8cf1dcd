// The bytes of a hive in memory: a private mapping of its file, or memory of our own once it grew.
#pragma once

#include <cstddef>
#include <span>

namespace kel::offline::regf {

/// Movable owner of a mapping. Changes stay in memory. Pointers into it end with Resize.
class HiveImage {
public:
    HiveImage() = default;
    HiveImage(HiveImage&& other) noexcept;
    HiveImage& operator=(HiveImage&& other) noexcept;
    HiveImage(const HiveImage&) = delete;
    HiveImage& operator=(const HiveImage&) = delete;
    ~HiveImage();

    /// Maps `size` bytes of the open file, copy on write. False when the kernel refuses.
    bool Map(int descriptor, std::size_t size);
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
