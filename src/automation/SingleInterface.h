// Identity and lifetime of small objects with one interface beside IUnknown.
#pragma once

#include "automation/Com.h"

namespace kel::automation {

/// Created with one reference, which is the caller's; deletes itself with the last one.
template <class Interface>
class SingleInterface : public Interface {
public:
    SingleInterface(const SingleInterface&) = delete;
    SingleInterface& operator=(const SingleInterface&) = delete;
    virtual ~SingleInterface() = default;

    STDMETHODIMP QueryInterface(REFIID id, void** out) override {
        if (out == nullptr) {
            return E_POINTER;
        }
        *out = id == IID_IUnknown || id == __uuidof(Interface) ? static_cast<Interface*>(this) : nullptr;
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

protected:
    SingleInterface() = default;

private:
    ULONG references_ = 1;
};

}  // namespace kel::automation
