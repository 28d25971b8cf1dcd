// Between the engine's types and those of automation. Texts of the engine are bytes in the ANSI code page.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "automation/Com.h"
#include "core/Value.h"

namespace kel::automation {

/// An owned variant, empty at first.
class Variant {
public:
    Variant() { ::VariantInit(&value_); }
    explicit Variant(std::string_view text);
    explicit Variant(std::int32_t number) : Variant() {
        value_.vt = VT_I4;
        value_.lVal = number;
    }
    /// Takes a reference of its own; a null object is Nothing.
    explicit Variant(IDispatch* object);
    /// A copy; a reference to a value becomes the value.
    explicit Variant(const VARIANT& other);
    Variant(const Variant& other) : Variant(other.value_) {}
    Variant(Variant&& other) noexcept : value_(other.value_) { ::VariantInit(&other.value_); }
    Variant& operator=(Variant other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    ~Variant() { ::VariantClear(&value_); }

    /// A value, or what a reference refers to, as another type. @return DISP_E_TYPEMISMATCH, DISP_E_OVERFLOW
    static HRESULT Change(Variant& into, const VARIANT& value, VARTYPE type, LCID locale = LOCALE_USER_DEFAULT);
    /// A copy; a reference to a value becomes the value.
    static HRESULT Copy(Variant& into, const VARIANT& value);

    /// What an optional argument is when the caller left it out.
    static Variant Missing();

    [[nodiscard]] const VARIANT& Get() const { return value_; }
    [[nodiscard]] VARIANT* Ptr() { return &value_; }
    /// For calls that fill a variant: what was there is cleared first.
    [[nodiscard]] VARIANT* Out() {
        ::VariantClear(&value_);
        return &value_;
    }
    /// Hands the value over to the caller.
    [[nodiscard]] VARIANT Detach() {
        const VARIANT value = value_;
        ::VariantInit(&value_);
        return value;
    }

private:
    VARIANT value_;
};

/// A new string that the caller frees. Throws bad_alloc.
[[nodiscard]] BSTR ToBstr(std::string_view text);
/// A null string is the empty text. What the code page lacks becomes its nearest character or `?`.
[[nodiscard]] std::string FromBstr(BSTR text);

[[nodiscard]] inline VARIANT_BOOL ToBool(bool value) {
    return value ? VARIANT_TRUE : VARIANT_FALSE;
}
/// Any other number than 0 is true: early-bound clients send 1 as well as -1.
[[nodiscard]] inline bool FromBool(VARIANT_BOOL value) {
    return value != VARIANT_FALSE;
}

/// Whether an optional argument was left out.
[[nodiscard]] bool IsMissing(const VARIANT& value);

[[nodiscard]] Variant ToVariant(const Value& value);
/// Raises error 13 for what the engine has no type for (objects, arrays). A missing argument is Empty.
[[nodiscard]] Value FromVariant(const VARIANT& value);

/// An array of variants that hold texts, counted from 0, and back from an array of variants or texts of one dimension
/// (error 13 for anything else). The caller destroys what ToArray makes.
[[nodiscard]] SAFEARRAY* ToArray(const std::vector<std::string>& texts);
[[nodiscard]] std::vector<std::string> FromArray(SAFEARRAY* array);

// Out arguments by the type of the engine's value. All of them need a place; Read tests that.

inline void Put(BSTR* out, std::string_view value) {
    *out = ToBstr(value);
}
inline void Put(LONG* out, std::int32_t value) {
    *out = value;
}
inline void Put(double* out, Date value) {
    *out = value.days;
}
inline void Put(VARIANT* out, const Value& value) {
    *out = ToVariant(value).Detach();
}
inline void Put(VARIANT* out, Variant value) {
    *out = value.Detach();
}
/// 16-bit Booleans and numbers have one type here and two in the engine.
template <class Number>
requires std::same_as<Number, bool> || std::same_as<Number, std::int16_t>
void Put(SHORT* out, Number value) {
    if constexpr (std::same_as<Number, bool>) {
        *out = ToBool(value);
    } else {
        *out = value;
    }
}
template <class Theirs, class Ours>
requires std::is_enum_v<Theirs> && std::is_enum_v<Ours>
void Put(Theirs* out, Ours value) {
    *out = static_cast<Theirs>(value);
}

// In arguments into a field of the engine, by the field's type.

inline void Take(std::string& into, BSTR value) {
    into = FromBstr(value);
}
inline void Take(std::int32_t& into, LONG value) {
    into = value;
}
inline void Take(Date& into, double value) {
    into = Date{value};
}
inline void Take(bool& into, SHORT value) {
    into = FromBool(value);
}
inline void Take(std::int16_t& into, SHORT value) {
    into = value;
}
inline void Take(Value& into, const VARIANT& value) {
    into = FromVariant(value);
}
template <class Ours, class Theirs>
requires std::is_enum_v<Theirs> && std::is_enum_v<Ours>
void Take(Ours& into, Theirs value) {
    into = static_cast<Ours>(value);
}

}  // namespace kel::automation
