// A collection of the engine as clients see it.
#pragma once

#include <kelThreatEngine.h>

#include <memory>
#include <string>
#include <type_traits>

#include "automation/Enumerator.h"
#include "automation/Object.h"
#include "core/Collection.h"

namespace kel::automation {

/// Items are objects by shared pointer, numbers or texts. The list itself is shown, not a copy of it.
template <class T>
class CollectionObject final : public Object<Collection<T>, _Collection, ::Collection> {
    using Base = Object<Collection<T>, _Collection, ::Collection>;

public:
    using Base::Base;

    STDMETHODIMP get_Item(VARIANT Index, VARIANT* Result) override {
        return this->Answer(Result, [&] { return AsVariant(At(Index)); });
    }
    STDMETHODIMP Add(VARIANT Given, VARIANT Key) override {
        return this->Do([&] {
            if (IsMissing(Key)) {
                this->It().Add(FromItem(Given));
            } else {
                this->It().Add(FromItem(Given), ToText(FromVariant(Key)));
            }
        });
    }
    STDMETHODIMP get_Count(LONG* Result) override {
        return this->Answer(Result, [&] { return static_cast<std::int32_t>(this->It().Count()); });
    }
    STDMETHODIMP Remove(VARIANT Index) override {
        return this->Do([&] {
            const Value index = FromVariant(Index);
            if (const auto* key = std::get_if<std::string>(&index)) {
                this->It().Remove(*key);
            } else {
                this->It().Remove(Place(index));
            }
        });
    }
    STDMETHODIMP get__NewEnum(IUnknown** Result) override {
        if (Result == nullptr) {
            return E_POINTER;
        }
        *Result = nullptr;
        return this->Do([&] {
            EnumeratedList<VARIANT> list;
            const std::shared_ptr<Collection<T>> shown = this->Thing();
            list.count = [shown] { return static_cast<ULONG>(shown->Count()); };
            list.read = [shown](ULONG place, VARIANT* into) {
                *into = AsVariant(shown->Item(std::size_t{place} + 1)).Detach();
            };
            *Result = new VariantEnumerator(std::move(list));
        });
    }

private:
    static std::size_t Place(const Value& index) {
        const std::int32_t place = ToLong(index);
        return place < 0 ? 0 : static_cast<std::size_t>(place);
    }
    const T& At(const VARIANT& given) {
        const Value index = FromVariant(given);
        if (const auto* key = std::get_if<std::string>(&index)) {
            return this->It().Item(*key);
        }
        return this->It().Item(Place(index));
    }

    static Variant AsVariant(const std::int32_t& item) { return Variant(item); }
    static Variant AsVariant(const std::string& item) { return Variant(std::string_view(item)); }
    template <class Engine>
    static Variant AsVariant(const std::shared_ptr<Engine>& item) {
        return Variant(static_cast<IDispatch*>(Wrap(item).Get()));
    }

    static T FromItem(const VARIANT& given) {
        if constexpr (std::is_same_v<T, std::int32_t>) {
            return ToLong(FromVariant(given));
        } else if constexpr (std::is_same_v<T, std::string>) {
            return ToText(FromVariant(given));
        } else {
            const Variant value(given);
            if (value.Get().vt != VT_DISPATCH && value.Get().vt != VT_UNKNOWN) {
                Raise(ErrTypeMismatch);
            }
            return Unwrap<typename T::element_type>(value.Get().punkVal);
        }
    }
};

template <class T>
struct Maker<Collection<T>> {
    using Interface = _Collection;
    static ComPtr<_Collection> Make(std::shared_ptr<Collection<T>> thing) {
        return ComPtr<_Collection>::Adopt(new CollectionObject<T>(std::move(thing)));
    }
};

}  // namespace kel::automation
