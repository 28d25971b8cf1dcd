// The lifetime of an object that clients see.
#pragma once

#include "automation/Com.h"

namespace kel::automation {

/// An object with these interfaces, all of IUnknown but QueryInterface. Created with one reference, which is the
/// caller's; deletes itself with the last one, never otherwise.
template <class... Interfaces>
class Counted : public Interfaces... {
public:
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --references_;
        if (left == 0) {
            delete this;
        }
        return left;
    }

protected:
    Counted() = default;
    virtual ~Counted() = default;

private:
    // One apartment: the count needs no lock.
    ULONG references_ = 1;
};

}  // namespace kel::automation
