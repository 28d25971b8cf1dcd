#include "windows/WindowsRestorePoints.h"

#include <windows.h>
// After windows.h.
#include <ole2.h>
#include <oleauto.h>

#include <array>
#include <string>

#include "windows/Win32.h"

namespace kel::windows {

namespace {

using platform::Result;
using platform::SysError;

constexpr const wchar_t* Moniker = LR"(winmgmts:\\.\root\default:Systemrestore)";

class ComponentThread {
public:
    ComponentThread() : initialized_(SUCCEEDED(::CoInitialize(nullptr))) {}
    ~ComponentThread() {
        if (initialized_) {
            ::CoUninitialize();
        }
    }
    ComponentThread(const ComponentThread&) = delete;
    ComponentThread& operator=(const ComponentThread&) = delete;

private:
    bool initialized_;
};

struct ObjectPolicy {
    using Handle = IDispatch*;
    static Handle Invalid() { return nullptr; }
    static void Close(Handle handle) { handle->Release(); }
};
using Object = Owned<ObjectPolicy>;

class Argument {
public:
    explicit Argument(std::int32_t number) {
        ::VariantInit(&value_);
        value_.vt = VT_I4;
        value_.lVal = number;
    }
    explicit Argument(const std::wstring& text) {
        ::VariantInit(&value_);
        value_.vt = VT_BSTR;
        value_.bstrVal = ::SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    }
    ~Argument() { ::VariantClear(&value_); }
    Argument(const Argument&) = delete;
    Argument& operator=(const Argument&) = delete;

    [[nodiscard]] const VARIANT& Get() const { return value_; }
    [[nodiscard]] VARIANT* Out() { return &value_; }

private:
    VARIANT value_;
};

Result<std::int32_t> Call(IDispatch& service, const std::wstring& description, std::int32_t type, std::int32_t event) {
    std::wstring method = L"createrestorepoint";
    std::array<LPOLESTR, 1> names = {method.data()};
    DISPID number = 0;
    if (FAILED(service.GetIDsOfNames(IID_NULL, names.data(), 1, LOCALE_USER_DEFAULT, &number))) {
        return SysError::ProcNotFound;
    }
    const Argument text(description);
    const Argument kind(type);
    const Argument change(event);
    // From the last to the first.
    std::array<VARIANTARG, 3> arguments = {change.Get(), kind.Get(), text.Get()};
    DISPPARAMS parameters{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
    Argument answer(0);
    if (FAILED(service.Invoke(number, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, answer.Out(),
                              nullptr, nullptr)) ||
        FAILED(::VariantChangeType(answer.Out(), answer.Out(), 0, VT_I4))) {
        return SysError::GeneralFailure;
    }
    return static_cast<std::int32_t>(answer.Get().lVal);
}

}  // namespace

Result<std::int32_t> WindowsRestorePoints::Create(std::string_view description, std::int32_t type, std::int32_t event) {
    const ComponentThread thread;
    void* found = nullptr;
    if (FAILED(::CoGetObject(Moniker, nullptr, IID_IDispatch, &found)) || found == nullptr) {
        return SysError::ServiceDoesNotExist;
    }
    const Object service(static_cast<IDispatch*>(found));
    return Call(*service.Get(), Widen(description), type, event);
}

}  // namespace kel::windows
