// Calls by name: arguments as a script gives them become the typed arguments of a method.
#pragma once

#include "automation/TypeLibrary.h"

namespace kel::automation {

/// A late-bound call.
struct LateCall {
    DISPID id = 0;
    LCID locale = 0;
    WORD kinds = 0;  ///< DISPATCH_METHOD and its like
    DISPPARAMS* arguments = nullptr;
    VARIANT* result = nullptr;       ///< may be null
    EXCEPINFO* exception = nullptr;  ///< may be null
    UINT* wrongArgument = nullptr;   ///< may be null
};

/// Calls a member through the method table of `object`, which is the dual interface that `type` describes.
///
/// - In/out arguments may be variables of any type: they are converted, and what comes back is stored in them.
/// - Arguments that are left out have their defaults, or the zero of their type. Null and Empty are no object.
/// - Arguments beyond those that a property takes go to the default property of the object that it answers, and so does
///   an assignment to a property that can only be read: `Fields("Name")` and `Fields("Name") = "x"` do what is meant.
/// - `_NewEnum` may be called as a method.
/// - A failing method answers DISP_E_EXCEPTION with the method's error.
HRESULT InvokeLate(const InterfaceType& type, IDispatch* object, const LateCall& call) noexcept;

}  // namespace kel::automation
