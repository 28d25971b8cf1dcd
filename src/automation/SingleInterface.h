// Identity of small objects with one interface beside IUnknown.
#pragma once

#include "automation/Counted.h"

namespace kel::automation {

template <class Interface>
class SingleInterface : public Counted<Interface> {
public:
    STDMETHODIMP QueryInterface(REFIID id, void** out) override {
        if (out == nullptr) {
            return E_POINTER;
        }
        *out = id == IID_IUnknown || id == __uuidof(Interface) ? static_cast<Interface*>(this) : nullptr;
        if (*out == nullptr) {
            return E_NOINTERFACE;
        }
        this->AddRef();
        return S_OK;
    }
};

}  // namespace kel::automation
