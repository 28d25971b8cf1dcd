// Enumerators over what can be counted and read by place.
#pragma once

#include <functional>
#include <utility>

#include "automation/Com.h"
#include "automation/Convert.h"
#include "automation/Guard.h"
#include "automation/SingleInterface.h"

namespace kel::automation {

/// A list as an enumerator reads it. What the list holds may change between two reads.
template <class Item>
struct EnumeratedList {
    std::function<ULONG()> count;
    /// Fills the item at a place, from 0; a reference or a string in it is the caller's. May throw.
    std::function<void(ULONG place, Item* into)> read;
};

/// How items of an enumerator are dropped again when a read fails half-way.
inline void DropItem(VARIANT& item) {
    ::VariantClear(&item);
}
inline void DropItem(CONNECTDATA& item) {
    item.pUnk->Release();
}
inline void DropItem(IConnectionPoint*& item) {
    item->Release();
}

/// IEnumVARIANT and its kin.
/// @tparam Interface the enumerator's interface
/// @tparam Item what it hands out
template <class Interface, class Item>
class Enumerator final : public SingleInterface<Interface> {
public:
    explicit Enumerator(EnumeratedList<Item> list, ULONG next = 0) : list_(std::move(list)), next_(next) {}

    STDMETHODIMP Next(ULONG wanted, Item* items, ULONG* fetched) override {
        if (items == nullptr || (fetched == nullptr && wanted != 1)) {
            return E_POINTER;
        }
        ULONG done = 0;
        const HRESULT outcome = Guard(__uuidof(Interface), [&] {
            for (; done < wanted && next_ < list_.count(); ++done, ++next_) {
                items[done] = Item{};
                list_.read(next_, &items[done]);
            }
        });
        if (FAILED(outcome)) {
            while (done > 0) {
                DropItem(items[--done]);
            }
        }
        if (fetched != nullptr) {
            *fetched = done;
        }
        if (FAILED(outcome)) {
            return outcome;
        }
        return done == wanted ? S_OK : S_FALSE;
    }
    STDMETHODIMP Skip(ULONG count) override {
        HRESULT outcome = S_OK;
        const HRESULT counted = Guard(__uuidof(Interface), [&] {
            const ULONG all = list_.count();
            const ULONG left = next_ < all ? all - next_ : 0;
            next_ += count < left ? count : left;
            outcome = count <= left ? S_OK : S_FALSE;
        });
        return FAILED(counted) ? counted : outcome;
    }
    STDMETHODIMP Reset() override {
        next_ = 0;
        return S_OK;
    }
    STDMETHODIMP Clone(Interface** out) override {
        if (out == nullptr) {
            return E_POINTER;
        }
        *out = nullptr;
        return Guard(__uuidof(Interface), [&] { *out = new Enumerator(list_, next_); });
    }

private:
    EnumeratedList<Item> list_;
    ULONG next_;
};

using VariantEnumerator = Enumerator<IEnumVARIANT, VARIANT>;

}  // namespace kel::automation
