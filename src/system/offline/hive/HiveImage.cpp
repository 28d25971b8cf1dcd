#include "hive/HiveImage.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "hive/Bytes.h"

namespace kel::offline::regf {
namespace {

constexpr std::size_t SmallestGrowth = std::size_t{1} << 20;
constexpr std::size_t HugePageSize = std::size_t{2} << 20;

}  // namespace

HiveImage::HiveImage(HiveImage&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)),
      size_(std::exchange(other.size_, 0)),
      capacity_(std::exchange(other.capacity_, 0)) {
}

HiveImage& HiveImage::operator=(HiveImage&& other) noexcept {
    if (this != &other) {
        Release();
        data_ = std::exchange(other.data_, nullptr);
        size_ = std::exchange(other.size_, 0);
        capacity_ = std::exchange(other.capacity_, 0);
    }
    return *this;
}

HiveImage::~HiveImage() {
    Release();
}

void HiveImage::Release() noexcept {
    if (data_ != nullptr)
        ::munmap(data_, capacity_);
    data_ = nullptr;
    size_ = capacity_ = 0;
}

bool HiveImage::Assign(std::span<const std::byte> bytes) {
    if (!Resize(bytes.size()))
        return false;
    if (!bytes.empty())
        std::memcpy(data_, bytes.data(), bytes.size());
    return true;
}

bool HiveImage::Resize(std::size_t size) {
    if (size <= capacity_) {
        if (size > size_)
            std::memset(data_ + size_, 0, size - size_);
        size_ = size;
        return true;
    }
    // Pages of the new mapping cost nothing before they are used, so room is cheap.
    const std::size_t capacity = RoundUp(std::max(size, size_ + size_ / 2) + SmallestGrowth, PageSize);
    void* mapped = ::mmap(nullptr, capacity, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED)
        return false;
    // Fewer, larger pages: most of the time of opening a large hive is the first touch of its memory. Only a hint.
    if (size >= HugePageSize)
        ::madvise(mapped, capacity, MADV_HUGEPAGE);
    if (size_ != 0)
        std::memcpy(mapped, data_, size_);
    const HiveImage old = std::move(*this);
    data_ = static_cast<std::byte*>(mapped);
    size_ = size;
    capacity_ = capacity;
    return true;
}

}  // namespace kel::offline::regf
