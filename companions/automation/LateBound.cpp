#include "latebound/LateBound.h"

#include <cstdio>
#include <utility>

#include "companions/Engine.h"
#include "windows/Win32.h"

namespace kel::latebound {

namespace {

[[noreturn]] void Fail(std::string what, HRESULT result, const std::string& detail = {}) {
    char number[16] = {};
    std::snprintf(number, sizeof(number), "0x%08lX", static_cast<unsigned long>(result));
    what.append(": ").append(number);
    throw companions::EngineFailure(detail.empty() ? what : what + " (" + detail + ")");
}

void Check(HRESULT result, const std::string& what) {
    if (FAILED(result)) {
        Fail(what, result);
    }
}

std::string TextOf(BSTR text) {
    return text == nullptr ? std::string() : windows::Narrow({text, ::SysStringLen(text)});
}

// What went wrong inside a call, as the callee tells it.
class Exception {
public:
    ~Exception() {
        ::SysFreeString(info.bstrSource);
        ::SysFreeString(info.bstrDescription);
        ::SysFreeString(info.bstrHelpFile);
    }
    EXCEPINFO info{};
};

}  // namespace

Argument::Argument() {
    ::VariantInit(&value_);
}

Argument::Argument(bool value) : Argument() {
    V_VT(&value_) = VT_BOOL;
    V_BOOL(&value_) = value ? VARIANT_TRUE : VARIANT_FALSE;
}

Argument::Argument(std::int32_t value) : Argument() {
    V_VT(&value_) = VT_I4;
    V_I4(&value_) = value;
}

Argument::Argument(std::string_view value) : Argument() {
    const std::wstring wide = windows::Widen(value);
    V_VT(&value_) = VT_BSTR;
    V_BSTR(&value_) = ::SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
}

Argument::~Argument() {
    ::VariantClear(&value_);
}

Argument::Argument(Argument&& other) noexcept : Argument() {
    std::swap(value_, other.value_);
}

Argument& Argument::operator=(Argument&& other) noexcept {
    std::swap(value_, other.value_);
    return *this;
}

Argument Argument::As(VARTYPE type) const {
    Argument result;
    Check(::VariantChangeType(&result.value_, const_cast<VARIANT*>(&value_), 0, type), "An answer of another type");
    return result;
}

bool Argument::ToBool() const {
    const Argument answer = As(VT_BOOL);
    return V_BOOL(&answer.value_) != VARIANT_FALSE;
}

std::int32_t Argument::ToNumber() const {
    const Argument answer = As(VT_I4);
    return V_I4(&answer.value_);
}

std::string Argument::ToText() const {
    if (V_VT(&value_) == VT_NULL) {
        return {};
    }
    const Argument answer = As(VT_BSTR);
    return TextOf(V_BSTR(&answer.value_));
}

Object Argument::ToObject() const {
    if (V_VT(&value_) != VT_DISPATCH || V_DISPATCH(&value_) == nullptr) {
        return {};
    }
    V_DISPATCH(&value_)->AddRef();
    return Object(V_DISPATCH(&value_));
}

Object::~Object() {
    if (object_ != nullptr) {
        object_->Release();
    }
}

Object::Object(Object&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {
}

Object& Object::operator=(Object&& other) noexcept {
    std::swap(object_, other.object_);
    return *this;
}

Object Object::Create(const std::string& programID) {
    CLSID classID{};
    HRESULT result = ::CLSIDFromProgID(windows::Widen(programID).c_str(), &classID);
    if (FAILED(result)) {
        Fail(programID + " is not registered", result);
    }
    void* object = nullptr;
    result = ::CoCreateInstance(classID, nullptr, CLSCTX_LOCAL_SERVER, IID_IDispatch, &object);
    if (FAILED(result)) {
        Fail(programID + " can't be started", result);
    }
    return Object(static_cast<IDispatch*>(object));
}

Argument Object::Invoke(std::string_view member, WORD flags, std::vector<Argument> arguments) const {
    const std::string what(member);
    if (object_ == nullptr) {
        Fail(what + ": no object", E_POINTER);
    }
    std::wstring name = windows::Widen(member);
    LPOLESTR names[] = {name.data()};
    DISPID id = 0;
    Check(object_->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id), what);
    std::vector<VARIANT> values;
    values.reserve(arguments.size());
    for (Argument& argument : arguments) {
        values.push_back(argument.Raw());
    }
    DISPID put = DISPID_PROPERTYPUT;
    const bool isPut = flags == DISPATCH_PROPERTYPUT;
    DISPPARAMS parameters{values.data(), isPut ? &put : nullptr, static_cast<UINT>(values.size()), isPut ? 1U : 0U};
    Argument answer;
    Exception exception;
    UINT wrong = 0;
    const HRESULT result = object_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &parameters,
                                           isPut ? nullptr : &answer.Raw(), &exception.info, &wrong);
    if (FAILED(result)) {
        Fail(what, result, TextOf(exception.info.bstrDescription));
    }
    return answer;
}

Apartment::Apartment() : entered_(::CoInitialize(nullptr)) {
}

Apartment::~Apartment() {
    if (SUCCEEDED(entered_)) {
        ::CoUninitialize();
    }
}

}  // namespace kel::latebound
