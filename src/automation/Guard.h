// The edge of every method that a client calls: what is thrown inside becomes a failing HRESULT with its description.
#pragma once

#include <utility>

#include "automation/Com.h"

namespace kel::automation {

/// The HRESULT of the exception in flight, and its description left for the caller as the thread's error object.
/// Numbers of the run time and of tables are 0x800A0000 and the number. Only in a catch block.
HRESULT FailureInFlight(const IID& interfaceOfMethod) noexcept;

/// Runs a method's body. No exception leaves it.
/// @param interfaceOfMethod named in the error object
template <class Body>
HRESULT Guard(const IID& interfaceOfMethod, Body&& body) noexcept {
    try {
        std::forward<Body>(body)();
        return S_OK;
    } catch (...) {
        return FailureInFlight(interfaceOfMethod);
    }
}

}  // namespace kel::automation
