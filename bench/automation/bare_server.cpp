// A server that answers with what it holds, and calls its sink.
#include "Bare.h"
#include "automation/Convert.h"
#include "automation/SingleInterface.h"

namespace kel::bench {

namespace {

using automation::ComPtr;
using automation::Variant;

class Bare final : public automation::SingleInterface<IDispatch> {
public:
    STDMETHODIMP GetTypeInfoCount(UINT* count) override {
        *count = 0;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return DISP_E_BADINDEX; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return DISP_E_UNKNOWNNAME; }
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* arguments, VARIANT* result, EXCEPINFO*,
                        UINT*) override {
        switch (id) {
            case BareText:
                result->vt = VT_BSTR;
                result->bstrVal = ::SysAllocString(L"A1B2C3D4-0000-1111-2222-333344");
                return S_OK;
            case BareSubscribe:
                sink_ = ComPtr<IDispatch>(arguments->rgvarg[0].pdispVal);
                return S_OK;
            case BareEvent:
                return Name(1);
            case BareEvents:
                for (LONG count = 0; count < arguments->rgvarg[0].lVal; ++count) {
                    Name(count);
                    Ask();
                }
                return S_OK;
            default:
                return DISP_E_MEMBERNOTFOUND;
        }
    }

private:
    HRESULT Raise(DISPID id, VARIANTARG* arguments, UINT count) {
        DISPPARAMS parameters{arguments, nullptr, count, 0};
        return sink_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, nullptr, nullptr,
                             nullptr);
    }
    HRESULT Name(LONG count) {
        const Variant text("C:\\folder\\file.exe");
        VARIANTARG arguments[] = {Variant(count).Get(), Variant(2).Get(), text.Get()};
        return Raise(1, arguments, 3);
    }
    HRESULT Ask() {
        VARIANT_BOOL flag = VARIANT_FALSE;
        VARIANTARG argument{};
        argument.vt = VT_BYREF | VT_BOOL;
        argument.pboolVal = &flag;
        return Raise(4, &argument, 1);
    }

    ComPtr<IDispatch> sink_;
};

class Factory final : public IClassFactory {
public:
    STDMETHODIMP QueryInterface(REFIID id, void** out) override {
        *out = id == IID_IUnknown || id == IID_IClassFactory ? this : nullptr;
        return *out == nullptr ? E_NOINTERFACE : S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP CreateInstance(IUnknown*, REFIID id, void** out) override {
        Bare* const made = new Bare;
        const HRESULT outcome = made->QueryInterface(id, out);
        made->Release();
        return outcome;
    }
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }
};

}  // namespace

}  // namespace kel::bench

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
    ::OleInitialize(nullptr);
    static kel::bench::Factory factory;
    DWORD cookie = 0;
    ::CoRegisterClassObject(kel::bench::BareServer, &factory, CLSCTX_LOCAL_SERVER, REGCLS_MULTIPLEUSE, &cookie);
    // As the other one, it ends when its form is closed.
    ::CreateWindowExA(0, "Static", "bare", 0, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
    MSG message{};
    while (::GetMessageA(&message, nullptr, 0, 0) > 0) {
        ::DispatchMessageA(&message);
    }
    ::CoRevokeClassObject(cookie);
    ::OleUninitialize();
    return 0;
}
