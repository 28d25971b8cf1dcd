#include "automation/Convert.h"

#include <new>
#include <variant>

#include "core/RuntimeError.h"
#include "windows/Win32.h"

namespace kel::automation {

Variant::Variant(std::string_view text) : Variant() {
    value_.bstrVal = ToBstr(text);
    value_.vt = VT_BSTR;
}

Variant::Variant(IDispatch* object) : Variant() {
    value_.vt = VT_DISPATCH;
    value_.pdispVal = object;
    if (object != nullptr) {
        object->AddRef();
    }
}

Variant::Variant(const VARIANT& other) : Variant() {
    if (FAILED(Copy(*this, other))) {
        Raise(ErrTypeMismatch);
    }
}

// The platform's calls don't change what they read, and don't say so.
HRESULT Variant::Change(Variant& into, const VARIANT& value, VARTYPE type, LCID locale) {
    return ::VariantChangeTypeEx(into.Out(), const_cast<VARIANT*>(&value), locale, 0, type);
}

HRESULT Variant::Copy(Variant& into, const VARIANT& value) {
    return ::VariantCopyInd(into.Ptr(), const_cast<VARIANT*>(&value));
}

Variant Variant::Missing() {
    Variant missing;
    missing.value_.vt = VT_ERROR;
    missing.value_.scode = DISP_E_PARAMNOTFOUND;
    return missing;
}

BSTR ToBstr(std::string_view text) {
    const std::wstring wide = windows::Widen(text);
    BSTR made = ::SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
    if (made == nullptr) {
        throw std::bad_alloc();
    }
    return made;
}

std::string FromBstr(BSTR text) {
    return text == nullptr ? std::string() : windows::Narrow({text, ::SysStringLen(text)});
}

bool IsMissing(const VARIANT& value) {
    return value.vt == VT_ERROR && value.scode == DISP_E_PARAMNOTFOUND;
}

namespace {

struct VariantMaker {
    Variant made;

    void operator()(Empty) {}
    void operator()(Null) { made.Ptr()->vt = VT_NULL; }
    void operator()(bool value) {
        made.Ptr()->vt = VT_BOOL;
        made.Ptr()->boolVal = ToBool(value);
    }
    void operator()(std::int32_t value) { made = Variant(value); }
    void operator()(double value) {
        made.Ptr()->vt = VT_R8;
        made.Ptr()->dblVal = value;
    }
    void operator()(Date value) {
        made.Ptr()->vt = VT_DATE;
        made.Ptr()->date = value.days;
    }
    void operator()(const std::string& value) { made = Variant(std::string_view(value)); }
};

Variant Changed(const Variant& value, VARTYPE type) {
    Variant changed;
    const HRESULT outcome = Variant::Change(changed, value.Get(), type);
    if (FAILED(outcome)) {
        Raise(outcome == DISP_E_OVERFLOW ? ErrOverflow : ErrTypeMismatch);
    }
    return changed;
}

// Elements of an array, locked for reading.
class Elements {
public:
    explicit Elements(SAFEARRAY* array) : array_(array) {
        if (FAILED(::SafeArrayLock(array_))) {
            Raise(ErrTypeMismatch);
        }
    }
    ~Elements() { ::SafeArrayUnlock(array_); }
    Elements(const Elements&) = delete;
    Elements& operator=(const Elements&) = delete;

private:
    SAFEARRAY* array_;
};

}  // namespace

Variant ToVariant(const Value& value) {
    VariantMaker maker;
    std::visit(maker, value);
    return std::move(maker.made);
}

Value FromVariant(const VARIANT& given) {
    if (IsMissing(given)) {
        return Empty{};
    }
    const Variant value(given);
    const VARIANT& direct = value.Get();
    switch (direct.vt) {
        case VT_EMPTY:
            return Empty{};
        case VT_NULL:
            return Null{};
        case VT_BOOL:
            return FromBool(direct.boolVal);
        case VT_DATE:
            return Date{direct.date};
        case VT_BSTR:
            return FromBstr(direct.bstrVal);
        case VT_I1:
        case VT_UI1:
        case VT_I2:
        case VT_UI2:
        case VT_I4:
        case VT_INT:
            return static_cast<std::int32_t>(Changed(value, VT_I4).Get().lVal);
        case VT_DISPATCH:
            if (direct.pdispVal != nullptr) {
                // An object stands for its default value, as everywhere in automation.
                return FromVariant(Changed(value, VT_BSTR).Get());
            }
            Raise(ErrObjectNotSet);
        case VT_UI4:
        case VT_UINT:
        case VT_I8:
        case VT_UI8:
        case VT_R4:
        case VT_R8:
        case VT_CY:
        case VT_DECIMAL:
            return Changed(value, VT_R8).Get().dblVal;
        default:
            Raise(ErrTypeMismatch);
    }
}

SAFEARRAY* ToArray(const std::vector<std::string>& texts) {
    SAFEARRAY* array = ::SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(texts.size()));
    if (array == nullptr) {
        throw std::bad_alloc();
    }
    LONG place = 0;
    for (const std::string& text : texts) {
        Variant element{std::string_view(text)};
        ::SafeArrayPutElement(array, &place, element.Ptr());
        ++place;
    }
    return array;
}

std::vector<std::string> FromArray(SAFEARRAY* array) {
    std::vector<std::string> texts;
    if (array == nullptr) {
        return texts;
    }
    VARTYPE type = VT_EMPTY;
    if (::SafeArrayGetDim(array) != 1 || FAILED(::SafeArrayGetVartype(array, &type)) ||
        (type != VT_VARIANT && type != VT_BSTR)) {
        Raise(ErrTypeMismatch);
    }
    const Elements elements(array);
    for (ULONG place = 0; place < array->rgsabound[0].cElements; ++place) {
        texts.push_back(type == VT_BSTR ? FromBstr(static_cast<BSTR*>(array->pvData)[place])
                                        : ToText(FromVariant(static_cast<VARIANT*>(array->pvData)[place])));
    }
    return texts;
}

}  // namespace kel::automation
