#include "automation/Classes.h"
#include "automation/Guard.h"
#include "automation/SingleInterface.h"

namespace kel::automation {

namespace {

class ClassFactory final : public SingleInterface<IClassFactory> {
public:
    explicit ClassFactory(const CreatableClass& made) : made_(made) {}

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
    const CreatableClass& made_;
};

}  // namespace

ComPtr<IClassFactory> MakeClassFactory(const CreatableClass& made) {
    return ComPtr<IClassFactory>::Adopt(new ClassFactory(made));
}

}  // namespace kel::automation
