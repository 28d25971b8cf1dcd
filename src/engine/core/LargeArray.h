// Memory for tables of millions of rows.
#pragma once

#include <cstddef>
#include <memory>
#include <type_traits>

namespace kel {

struct LargeBlockRelease {
    std::size_t mapped = 0;  ///< 0 for a block of the heap
    void operator()(void* start) const noexcept;
};

/// A block without initial values, zeros at most. From some megabytes on it is made of large pages where the system has
/// them: the first touch of each page, and each access at random, costs less so.
class LargeBlock {
public:
    LargeBlock() = default;
    /// Throws std::bad_alloc.
    explicit LargeBlock(std::size_t bytes);

    [[nodiscard]] void* Start() const noexcept { return start_.get(); }

private:
    std::unique_ptr<void, LargeBlockRelease> start_;
};

/// An array of plain records on such a block.
template <class T>
class LargeArray {
public:
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_default_constructible_v<T>);

    LargeArray() = default;
    explicit LargeArray(std::size_t count) : block_(count * sizeof(T)) {}

    [[nodiscard]] T* Get() const noexcept { return static_cast<T*>(block_.Start()); }
    [[nodiscard]] T& operator[](std::size_t index) const noexcept { return Get()[index]; }

private:
    LargeBlock block_;
};

}  // namespace kel
