// Late-bound calls, as a script host makes them.
#pragma once

#include <gtest/gtest.h>

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "automation/Com.h"
#include "automation/Convert.h"

namespace kel::test {

using automation::ComPtr;
using automation::Variant;

/// What a call answered.
struct Answer {
    HRESULT outcome = S_OK;
    Variant value;
    SCODE error = 0;  ///< the method's own when the outcome is DISP_E_EXCEPTION

    [[nodiscard]] std::string Text() const {
        return value.Get().vt == VT_BSTR ? automation::FromBstr(value.Get().bstrVal) : "<no text>";
    }
    [[nodiscard]] LONG Number() const {
        Variant number;
        return SUCCEEDED(::VariantChangeType(number.Ptr(), const_cast<VARIANT*>(&value.Get()), 0, VT_I4))
                   ? number.Get().lVal
                   : -999;
    }
    [[nodiscard]] bool IsTrue() const { return value.Get().vt == VT_BOOL && value.Get().boolVal == VARIANT_TRUE; }
    [[nodiscard]] ComPtr<IDispatch> Object() const {
        return value.Get().vt == VT_DISPATCH ? ComPtr<IDispatch>(value.Get().pdispVal) : ComPtr<IDispatch>();
    }
};

inline DISPID IdOf(IDispatch* object, std::wstring name) {
    LPOLESTR names[] = {name.data()};
    DISPID id = DISPID_UNKNOWN;
    object->GetIDsOfNames(IID_NULL, names, 1, 0, &id);
    return id;
}

inline Answer CallById(IDispatch* object, DISPID id, WORD kinds, std::vector<VARIANT> arguments) {
    std::vector<VARIANT> lastFirst(arguments.rbegin(), arguments.rend());
    DISPID put = DISPID_PROPERTYPUT;
    const bool assignment = (kinds & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
    DISPPARAMS parameters{lastFirst.data(), assignment ? &put : nullptr, static_cast<UINT>(lastFirst.size()),
                          assignment ? 1U : 0U};
    Answer answer;
    EXCEPINFO exception{};
    answer.outcome =
        object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, kinds, &parameters, answer.value.Out(), &exception, nullptr);
    answer.error = exception.scode;
    ::SysFreeString(exception.bstrSource);
    ::SysFreeString(exception.bstrDescription);
    ::SysFreeString(exception.bstrHelpFile);
    return answer;
}

// Arguments as scripts have them.
inline Variant Given(const Variant& value) {
    return value;
}
inline Variant Given(const char* text) {
    return Variant(std::string_view(text));
}
inline Variant Given(std::string_view text) {
    return Variant(text);
}
inline Variant Given(int number) {
    return Variant(static_cast<std::int32_t>(number));
}
inline Variant Given(bool flag) {
    Variant value;
    value.Ptr()->vt = VT_BOOL;
    value.Ptr()->boolVal = automation::ToBool(flag);
    return value;
}
template <class Interface>
Variant Given(const ComPtr<Interface>& object) {
    return Variant(static_cast<IDispatch*>(object.Get()));
}

/// A method's call, or a property's read, with arguments by value.
template <class... Arguments>
Answer Call(IDispatch* object, const std::wstring& name, const Arguments&... arguments) {
    const std::vector<Variant> owned{Given(arguments)...};
    std::vector<VARIANT> plain;
    for (const Variant& value : owned) {
        plain.push_back(value.Get());
    }
    return CallById(object, IdOf(object, name), DISPATCH_METHOD | DISPATCH_PROPERTYGET, plain);
}
template <class Interface, class... Arguments>
Answer Call(const ComPtr<Interface>& object, const std::wstring& name, const Arguments&... arguments) {
    return Call(static_cast<IDispatch*>(object.Get()), name, arguments...);
}

/// An assignment to a property.
template <class Interface, class Argument>
HRESULT Assign(const ComPtr<Interface>& object, const std::wstring& name, const Argument& argument) {
    const Variant value = Given(argument);
    return CallById(object.Get(), IdOf(object.Get(), name), DISPATCH_PROPERTYPUT, {value.Get()}).outcome;
}

/// A reference to a script's variable.
inline VARIANT Variable(Variant& value) {
    VARIANT reference{};
    reference.vt = VT_BYREF | VT_VARIANT;
    reference.pvarVal = value.Ptr();
    return reference;
}

}  // namespace kel::test
