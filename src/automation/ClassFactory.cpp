#include "automation/Classes.h"
#include "automation/Guard.h"

namespace kel::automation {

namespace {

class ClassFactory final : public IClassFactory {
public:
    explicit ClassFactory(const CreatableClass& made) : made_(made) {}
    ClassFactory(const ClassFactory&) = delete;
    ClassFactory& operator=(const ClassFactory&) = delete;
    virtual ~ClassFactory() = default;

    STDMETHODIMP QueryInterface(REFIID id, void** out) override {
        if (out == nullptr) {
            return E_POINTER;
        }
        *out = id == IID_IUnknown || id == IID_IClassFactory ? this : nullptr;
        if (*out == nullptr) {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --references_;
        if (left == 0) {
            delete this;
        }
        return left;
    }

    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID id, void** out) override {
        if (out == nullptr) {
            return E_POINTER;
        }
        *out = nullptr;
        if (outer != nullptr) {
            return CLASS_E_NOAGGREGATION;
        }
        HRESULT outcome = S_OK;
        const HRESULT ran = Guard(IID_IClassFactory, [&] { outcome = made_.make()->QueryInterface(id, out); });
        return FAILED(ran) ? ran : outcome;
    }
    // The process stays up anyway.
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }

private:
    ULONG references_ = 1;
    const CreatableClass& made_;
};

}  // namespace

ComPtr<IClassFactory> MakeClassFactory(const CreatableClass& made) {
    return ComPtr<IClassFactory>::Adopt(new ClassFactory(made));
}

}  // namespace kel::automation
