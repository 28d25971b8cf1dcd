#include "automation/Guard.h"

#include <exception>
#include <new>
#include <string>

#include "automation/Convert.h"
#include "core/RuntimeError.h"

namespace kel::automation {

namespace {

constexpr wchar_t Source[] = L"kelThreatEngine";

HRESULT FailWith(const IID& interfaceOfMethod, HRESULT outcome, const std::string& description) {
    ComPtr<ICreateErrorInfo> made;
    if (FAILED(::CreateErrorInfo(made.Out()))) {
        return outcome;
    }
    const Variant text{std::string_view(description)};
    std::wstring source(Source);
    made->SetGUID(interfaceOfMethod);
    made->SetSource(source.data());
    made->SetDescription(text.Get().bstrVal);
    if (const ComPtr<IErrorInfo> error = made.As<IErrorInfo>()) {
        ::SetErrorInfo(0, error.Get());
    }
    return outcome;
}

}  // namespace

HRESULT FailureInFlight(const IID& interfaceOfMethod) noexcept {
    try {
        try {
            throw;
        } catch (const RuntimeError& error) {
            const HRESULT outcome = MAKE_HRESULT(SEVERITY_ERROR, FACILITY_CONTROL, error.Number());
            return FailWith(interfaceOfMethod, outcome, error.Text());
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        } catch (const std::exception& error) {
            return FailWith(interfaceOfMethod, E_FAIL, error.what());
        }
    } catch (...) {
        return E_UNEXPECTED;
    }
}

}  // namespace kel::automation
