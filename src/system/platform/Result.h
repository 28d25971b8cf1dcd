// A value, or the platform's error number.
#pragma once

#include <optional>
#include <utility>

#include "platform/SysError.h"

namespace kel::platform {

/// What an operation of the seam answers that gives a value when it succeeds.
/// Never holds SysError::Success without a value.
template <class T>
class [[nodiscard]] Result {
public:
    // Both conversions are implicit, so that an operation can `return value;` or `return SysError::...;`.
    Result(T value) : value_(std::move(value)) {}
    Result(SysError error) : error_(error) {}

    [[nodiscard]] bool Ok() const noexcept { return value_.has_value(); }
    explicit operator bool() const noexcept { return Ok(); }

    /// SysError::Success when there is a value.
    [[nodiscard]] SysError Error() const noexcept { return Ok() ? SysError::Success : error_; }

    /// Only when Ok().
    [[nodiscard]] T& Value() & { return *value_; }
    [[nodiscard]] const T& Value() const& { return *value_; }
    [[nodiscard]] T&& Value() && { return std::move(*value_); }

    T& operator*() & { return *value_; }
    const T& operator*() const& { return *value_; }
    T&& operator*() && { return *std::move(value_); }
    T* operator->() { return &*value_; }
    const T* operator->() const { return &*value_; }

    [[nodiscard]] T ValueOr(T other) const { return value_ ? *value_ : std::move(other); }

private:
    std::optional<T> value_;
    SysError error_ = SysError::Success;
};

}  // namespace kel::platform
