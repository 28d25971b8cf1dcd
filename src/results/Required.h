// Objects that a client may have taken away.
#pragma once

#include <memory>

#include "core/RuntimeError.h"

namespace kel {

/// The object of a reference. Raises error 91, with the caller's line, when the reference is nothing.
template <class T>
[[nodiscard]] T& Required(const std::shared_ptr<T>& reference, SourceLocation where = SourceLocation::current()) {
    if (!reference) {
        Raise(ErrObjectNotSet, {}, where);
    }
    return *reference;
}

}  // namespace kel
