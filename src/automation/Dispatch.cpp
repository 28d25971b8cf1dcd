#include "automation/Dispatch.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <vector>

namespace kel::automation {

namespace {

constexpr VARTYPE Reference(VARTYPE type) {
    return static_cast<VARTYPE>(type | VT_BYREF);
}

bool IsObject(const ValueType& value) {
    return value.type == VT_DISPATCH || value.type == VT_UNKNOWN;
}

HRESULT ChangeToObject(Variant& value, const ValueType& wanted) {
    const VARTYPE given = value.Get().vt;
    Variant changed;
    changed.Ptr()->vt = wanted.type;
    changed.Ptr()->punkVal = nullptr;
    if ((given == VT_DISPATCH || given == VT_UNKNOWN) && value.Get().punkVal != nullptr) {
        if (FAILED(value.Get().punkVal->QueryInterface(wanted.interfaceId,
                                                       reinterpret_cast<void**>(&changed.Ptr()->punkVal)))) {
            return DISP_E_TYPEMISMATCH;
        }
    } else if (given != VT_DISPATCH && given != VT_UNKNOWN && given != VT_NULL && given != VT_EMPTY) {
        return DISP_E_TYPEMISMATCH;
    }
    value = std::move(changed);
    return S_OK;
}

HRESULT Change(Variant& value, const ValueType& wanted, LCID locale) {
    if (wanted.type == VT_VARIANT || (value.Get().vt == wanted.type && !IsObject(wanted))) {
        return S_OK;
    }
    if (IsObject(wanted)) {
        return ChangeToObject(value, wanted);
    }
    Variant changed;
    const HRESULT outcome = Variant::Change(changed, value.Get(), wanted.type, locale);
    if (SUCCEEDED(outcome)) {
        value = std::move(changed);
    }
    return outcome;
}

// One argument of a call, as the method takes it.
class Argument {
public:
    // The value that the caller gives, or null for the default.
    HRESULT Prepare(const Parameter& parameter, VARIANT* given, LCID locale) {
        const ValueType& wanted = parameter.value;
        type_ = wanted.byReference ? Reference(wanted.type) : wanted.type;
        if (given != nullptr && given->vt == type_ && wanted.byReference) {
            passed_ = *given;
            return S_OK;
        }
        held_ = Variant();
        if (given == nullptr) {
            held_ = parameter.defaultValue;
        } else if (FAILED(Variant::Copy(held_, *given))) {
            return DISP_E_TYPEMISMATCH;
        }
        const HRESULT outcome = Change(held_, wanted, locale);
        if (FAILED(outcome)) {
            return outcome;
        }
        if (!wanted.byReference) {
            passed_ = held_.Get();
            return S_OK;
        }
        if (given != nullptr && (given->vt & VT_BYREF) != 0) {
            variable_ = given;
        }
        RefersToHeld(wanted.type);
        return S_OK;
    }

    // The place of a method's result.
    void PrepareResult(VARTYPE type) {
        type_ = Reference(type);
        if (type != VT_VARIANT) {
            held_.Ptr()->vt = type;
        }
        RefersToHeld(type);
    }

    // Stores what an in/out argument became in the caller's variable.
    HRESULT Finish(LCID locale) {
        if (variable_ == nullptr) {
            return S_OK;
        }
        if (variable_->vt == (VT_BYREF | VT_VARIANT)) {
            ::VariantClear(variable_->pvarVal);
            *variable_->pvarVal = held_.Detach();
            return S_OK;
        }
        const ValueType target{static_cast<VARTYPE>(variable_->vt & ~VT_BYREF), false, IID_IUnknown};
        const HRESULT outcome = Change(held_, target, locale);
        return FAILED(outcome) ? outcome : Store(target.type);
    }

    [[nodiscard]] VARTYPE Type() const { return type_; }
    [[nodiscard]] VARIANT* Passed() { return &passed_; }
    [[nodiscard]] Variant& Held() { return held_; }

private:
    void RefersToHeld(VARTYPE type) {
        passed_.vt = Reference(type);
        passed_.byref = type == VT_VARIANT ? static_cast<void*>(held_.Ptr()) : static_cast<void*>(&held_.Ptr()->byref);
    }

    HRESULT Store(VARTYPE type) {
        VARIANT value = held_.Detach();
        switch (type) {
            case VT_BSTR:
                ::SysFreeString(*variable_->pbstrVal);
                *variable_->pbstrVal = value.bstrVal;
                return S_OK;
            case VT_I1:
            case VT_UI1:
                *variable_->pbVal = value.bVal;
                return S_OK;
            case VT_I2:
            case VT_UI2:
            case VT_BOOL:
                *variable_->piVal = value.iVal;
                return S_OK;
            case VT_I4:
            case VT_UI4:
            case VT_INT:
            case VT_UINT:
            case VT_R4:
            case VT_ERROR:
                *variable_->plVal = value.lVal;
                return S_OK;
            case VT_I8:
            case VT_UI8:
            case VT_R8:
            case VT_DATE:
            case VT_CY:
                *variable_->pdblVal = value.dblVal;
                return S_OK;
            case VT_DISPATCH:
            case VT_UNKNOWN:
                if (*variable_->ppunkVal != nullptr) {
                    (*variable_->ppunkVal)->Release();
                }
                *variable_->ppunkVal = value.punkVal;
                return S_OK;
            default:
                ::VariantClear(&value);
                return DISP_E_TYPEMISMATCH;
        }
    }

    VARTYPE type_ = VT_EMPTY;
    VARIANT passed_{};
    Variant held_;
    VARIANT* variable_ = nullptr;
};

// The caller's arguments in the order of the parameters; null where one is left out.
struct Placed {
    std::vector<VARIANT*> values;
    HRESULT outcome = S_OK;
};

Placed Place(const DISPPARAMS& given, std::size_t parameters, bool assignment) {
    Placed placed{std::vector<VARIANT*>(std::max<std::size_t>(parameters, given.cArgs), nullptr), S_OK};
    UINT named = given.cNamedArgs;
    if (assignment && named > 0 && given.rgdispidNamedArgs[0] == DISPID_PROPERTYPUT) {
        // The assigned value is the last parameter.
        placed.values[(parameters == 0 ? given.cArgs : std::max<std::size_t>(parameters, given.cArgs)) - 1] =
            &given.rgvarg[0];
    }
    for (UINT place = 0; place < named; ++place) {
        const DISPID id = given.rgdispidNamedArgs[place];
        if (id == DISPID_PROPERTYPUT) {
            continue;
        }
        if (id < 0 || static_cast<std::size_t>(id) >= parameters) {
            placed.outcome = DISP_E_PARAMNOTFOUND;
            return placed;
        }
        placed.values[static_cast<std::size_t>(id)] = &given.rgvarg[place];
    }
    for (UINT place = named; place < given.cArgs; ++place) {
        // They come last first.
        placed.values[given.cArgs - 1 - place] = &given.rgvarg[place];
    }
    return placed;
}

bool LeftOut(const VARIANT* given) {
    return given == nullptr || IsMissing(*given) ||
           (given->vt == (VT_BYREF | VT_VARIANT) && IsMissing(*given->pvarVal));
}

HRESULT DescribeFailure(HRESULT outcome, EXCEPINFO* exception) {
    if (exception == nullptr) {
        return DISP_E_EXCEPTION;
    }
    *exception = EXCEPINFO{};
    ComPtr<IErrorInfo> error;
    if (::GetErrorInfo(0, error.Out()) == S_OK) {
        error->GetSource(&exception->bstrSource);
        error->GetDescription(&exception->bstrDescription);
        error->GetHelpFile(&exception->bstrHelpFile);
        error->GetHelpContext(&exception->dwHelpContext);
    }
    exception->scode = outcome;
    return DISP_E_EXCEPTION;
}

HRESULT CallMember(const Member& member, IDispatch* object, const LateCall& call, const std::vector<VARIANT*>& values,
                   Variant& result) {
    std::vector<Argument> arguments(member.parameters.size() + (member.result.type != VT_EMPTY ? 1 : 0));
    std::vector<VARTYPE> types;
    std::vector<VARIANT*> passed;
    for (std::size_t place = 0; place < member.parameters.size(); ++place) {
        const Parameter& parameter = member.parameters[place];
        VARIANT* given = place < values.size() && !LeftOut(values[place]) ? values[place] : nullptr;
        if (given == nullptr && !parameter.optional) {
            return place < values.size() && values[place] != nullptr ? DISP_E_PARAMNOTOPTIONAL : DISP_E_BADPARAMCOUNT;
        }
        const HRESULT outcome = arguments[place].Prepare(parameter, given, call.locale);
        if (FAILED(outcome)) {
            if (call.wrongArgument != nullptr && given != nullptr) {
                *call.wrongArgument = static_cast<UINT>(given - call.arguments->rgvarg);
            }
            return outcome;
        }
    }
    if (member.result.type != VT_EMPTY) {
        arguments.back().PrepareResult(member.result.type);
    }
    for (Argument& argument : arguments) {
        types.push_back(argument.Type());
        passed.push_back(argument.Passed());
    }
    ::SetErrorInfo(0, nullptr);
    VARIANT answer{};
    HRESULT outcome = ::DispCallFunc(object, member.slotOffset, CC_STDCALL, VT_ERROR, static_cast<UINT>(types.size()),
                                     types.data(), passed.data(), &answer);
    if (FAILED(outcome)) {
        return outcome;
    }
    if (FAILED(answer.scode)) {
        return DescribeFailure(answer.scode, call.exception);
    }
    for (std::size_t place = 0; place < member.parameters.size() && SUCCEEDED(outcome); ++place) {
        outcome = arguments[place].Finish(call.locale);
    }
    if (member.result.type != VT_EMPTY) {
        result = std::move(arguments.back().Held());
    }
    return outcome;
}

// The call goes on at the default property of what a property answered, with the arguments that it did not take.
HRESULT CallDefault(const Variant& object, const LateCall& call, std::size_t taken) {
    const VARIANT& value = object.Get();
    if ((value.vt != VT_DISPATCH && value.vt != VT_UNKNOWN) || value.punkVal == nullptr) {
        return DISP_E_BADPARAMCOUNT;
    }
    const ComPtr<IDispatch> next = ComPtr<IUnknown>(value.punkVal).As<IDispatch>();
    if (!next) {
        return DISP_E_BADPARAMCOUNT;
    }
    DISPPARAMS rest = *call.arguments;
    rest.cArgs -= static_cast<UINT>(taken);
    return next->Invoke(DISPID_VALUE, IID_NULL, call.locale, call.kinds, &rest, call.result, call.exception,
                        call.wrongArgument);
}

HRESULT Invoke(const InterfaceType& type, IDispatch* object, const LateCall& call) {
    constexpr int assignments = INVOKE_PROPERTYPUT | INVOKE_PROPERTYPUTREF;
    const bool assignment = (call.kinds & assignments) != 0;
    int kinds = call.kinds & (INVOKE_FUNC | INVOKE_PROPERTYGET);
    if (kinds == INVOKE_FUNC) {
        kinds |= INVOKE_PROPERTYGET;
    }
    // Scripts assign objects and values alike: what the property has is taken.
    const Member* member = type.Find(call.id, assignment ? (call.kinds & assignments) : kinds);
    if (member == nullptr && assignment) {
        member = type.Find(call.id, assignments);
    }
    const Member* getter = member;
    if (member == nullptr && assignment) {
        getter = type.Find(call.id, INVOKE_PROPERTYGET);
    }
    if (getter == nullptr) {
        return DISP_E_MEMBERNOTFOUND;
    }
    const std::size_t wanted = getter->parameters.size();
    const DISPPARAMS& given = *call.arguments;
    const bool goesOn = member == nullptr || (given.cArgs > wanted && member->kind == INVOKE_PROPERTYGET);
    if (given.cArgs > wanted && !goesOn) {
        return DISP_E_BADPARAMCOUNT;
    }
    Placed placed = Place(given, wanted, assignment);
    if (FAILED(placed.outcome)) {
        return placed.outcome;
    }
    Variant result;
    if (goesOn) {
        const std::size_t positional = given.cArgs - given.cNamedArgs;
        if (positional < wanted) {
            return DISP_E_BADPARAMCOUNT;
        }
        placed.values.resize(wanted);
        const HRESULT outcome = CallMember(*getter, object, call, placed.values, result);
        return FAILED(outcome) ? outcome : CallDefault(result, call, wanted);
    }
    const HRESULT outcome = CallMember(*member, object, call, placed.values, result);
    if (SUCCEEDED(outcome) && call.result != nullptr) {
        *call.result = result.Detach();
    }
    return outcome;
}

}  // namespace

HRESULT InvokeLate(const InterfaceType& type, IDispatch* object, const LateCall& call) noexcept {
    if (call.arguments == nullptr || call.arguments->cNamedArgs > call.arguments->cArgs) {
        return E_INVALIDARG;
    }
    try {
        return Invoke(type, object, call);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

}  // namespace kel::automation
