// The type library that lies in the program, and what it says of each interface.
#pragma once

#include <cstddef>
#include <vector>

#include "automation/Com.h"
#include "automation/Convert.h"

namespace kel::automation {

/// What a parameter or a result is made of.
struct ValueType {
    VARTYPE type = VT_EMPTY;   ///< VT_DISPATCH and VT_UNKNOWN: a pointer to `interfaceId`; enumerations are VT_I4
    bool byReference = false;  ///< a pointer to one
    IID interfaceId{};
};

/// A parameter as the caller gives it.
struct Parameter {
    ValueType value;
    bool optional = false;
    Variant defaultValue;  ///< what an optional one is when it is left out; Missing for variants
};

/// A function of an interface. The result is the last argument of the call, and no parameter.
struct Member {
    MEMBERID id = 0;
    INVOKEKIND kind = INVOKE_FUNC;
    ULONG_PTR slotOffset = 0;  ///< in bytes
    std::vector<Parameter> parameters;
    ValueType result;  ///< VT_EMPTY without one
};

/// One dual interface. It lives as long as the process.
class InterfaceType {
public:
    explicit InterfaceType(ComPtr<ITypeInfo> info);

    [[nodiscard]] ITypeInfo* Info() const { return info_.Get(); }
    /// The first member of that number whose kind is in `kinds` (INVOKEKIND bits), or null.
    [[nodiscard]] const Member* Find(MEMBERID id, int kinds) const;

private:
    ComPtr<ITypeInfo> info_;
    std::vector<Member> members_;
};

/// The library of this program. Throws when it has none.
[[nodiscard]] ITypeLib* TypeLibrary();
/// What the library says of an interface, read once.
[[nodiscard]] const InterfaceType& TypeOf(const IID& interfaceId);
/// What the library says of a class.
[[nodiscard]] ComPtr<ITypeInfo> ClassTypeInfo(const CLSID& classId);
/// This program's path.
[[nodiscard]] std::wstring ProgramPath();

}  // namespace kel::automation
