#include "automation/TypeLibrary.h"

#include <array>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <utility>

namespace kel::automation {

namespace {

void Check(HRESULT outcome) {
    if (FAILED(outcome)) {
        throw std::runtime_error("the type library can't be read");
    }
}

// Attributes and function descriptions belong to the type information and go back to it.
class Attributes {
public:
    explicit Attributes(ITypeInfo* info) : info_(info) { Check(info->GetTypeAttr(&attributes_)); }
    ~Attributes() { info_->ReleaseTypeAttr(attributes_); }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
    const TYPEATTR* operator->() const { return attributes_; }

private:
    ITypeInfo* info_;
    TYPEATTR* attributes_ = nullptr;
};

class Description {
public:
    Description(ITypeInfo* info, UINT index) : info_(info) { Check(info->GetFuncDesc(index, &function_)); }
    ~Description() { info_->ReleaseFuncDesc(function_); }
    Description(const Description&) = delete;
    Description& operator=(const Description&) = delete;
    const FUNCDESC* operator->() const { return function_; }

private:
    ITypeInfo* info_;
    FUNCDESC* function_ = nullptr;
};

ValueType Resolve(ITypeInfo* info, const TYPEDESC& described, int pointers = 0) {
    const auto simple = [&](VARTYPE type) { return ValueType{type, pointers > 0, {}}; };
    switch (described.vt) {
        case VT_PTR:
            return Resolve(info, *described.lptdesc, pointers + 1);
        case VT_VOID:
        case VT_HRESULT:
            return {};
        case VT_INT:
            return simple(VT_I4);
        case VT_UINT:
            return simple(VT_UI4);
        case VT_DISPATCH:
            return {VT_DISPATCH, pointers > 0, IID_IDispatch};
        case VT_UNKNOWN:
            return {VT_UNKNOWN, pointers > 0, IID_IUnknown};
        case VT_USERDEFINED:
            break;
        default:
            return simple(described.vt);
    }
    ComPtr<ITypeInfo> referred;
    Check(info->GetRefTypeInfo(described.hreftype, referred.Out()));
    const Attributes attributes(referred.Get());
    switch (attributes->typekind) {
        case TKIND_ALIAS:
            return Resolve(referred.Get(), attributes->tdescAlias, pointers);
        case TKIND_ENUM:
            return simple(VT_I4);
        case TKIND_DISPATCH:
            return {VT_DISPATCH, pointers > 1, attributes->guid};
        case TKIND_INTERFACE: {
            const bool unknown = attributes->guid == IID_IUnknown;
            return {static_cast<VARTYPE>(unknown ? VT_UNKNOWN : VT_DISPATCH), pointers > 1, attributes->guid};
        }
        default:
            return simple(VT_RECORD);
    }
}

Variant DefaultOf(const ELEMDESC& element, const ValueType& value) {
    if ((element.paramdesc.wParamFlags & PARAMFLAG_FHASDEFAULT) != 0) {
        return Variant(element.paramdesc.pparamdescex->varDefaultValue);
    }
    if (value.type == VT_VARIANT) {
        return Variant::Missing();
    }
    Variant zero;
    if (value.type == VT_DISPATCH || value.type == VT_UNKNOWN) {
        zero.Ptr()->vt = value.type;
    }
    return zero;
}

Member Read(ITypeInfo* info, const Description& function) {
    Member member;
    member.id = function->memid;
    member.kind = function->invkind;
    member.slotOffset = static_cast<ULONG_PTR>(function->oVft);
    member.result = Resolve(info, function->elemdescFunc.tdesc);
    for (SHORT place = 0; place < function->cParams; ++place) {
        const ELEMDESC& element = function->lprgelemdescParam[place];
        ValueType value = Resolve(info, element.tdesc);
        const USHORT flags = element.paramdesc.wParamFlags;
        if ((flags & PARAMFLAG_FRETVAL) != 0) {
            // The form of the interface proper; the dispatch form gives it as the function's own type.
            value.byReference = false;
            member.result = value;
            continue;
        }
        const bool optional = (flags & (PARAMFLAG_FOPT | PARAMFLAG_FHASDEFAULT)) != 0 ||
                              (function->cParamsOpt > 0 && place >= function->cParams - function->cParamsOpt);
        member.parameters.push_back({value, optional, DefaultOf(element, value)});
    }
    return member;
}

struct LoadedType {
    IID interfaceId;
    std::unique_ptr<InterfaceType> type;
};

}  // namespace

InterfaceType::InterfaceType(ComPtr<ITypeInfo> info) : info_(std::move(info)) {
    // Members are looked for by their number here: the platform's own search counts the slots of a dual interface in
    // two ways.
    const Attributes attributes(info_.Get());
    for (UINT index = 0; index < attributes->cFuncs; ++index) {
        const Description function(info_.Get(), index);
        if ((function->wFuncFlags & FUNCFLAG_FRESTRICTED) == 0 || function->memid == DISPID_NEWENUM) {
            members_.push_back(Read(info_.Get(), function));
        }
    }
}

const Member* InterfaceType::Find(MEMBERID id, int kinds) const {
    for (const Member& member : members_) {
        if (member.id == id && (member.kind & kinds) != 0) {
            return &member;
        }
    }
    return nullptr;
}

std::wstring ProgramPath() {
    std::array<wchar_t, MAX_PATH> path{};
    const DWORD length = ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    if (length != 0) {
        return {path.data(), length};
    }
    // Systems of the 9x line have the ANSI call alone.
    std::array<char, MAX_PATH> narrow{};
    const DWORD bytes = ::GetModuleFileNameA(nullptr, narrow.data(), static_cast<DWORD>(narrow.size()));
    const int count = ::MultiByteToWideChar(CP_ACP, 0, narrow.data(), static_cast<int>(bytes), path.data(),
                                            static_cast<int>(path.size()));
    return {path.data(), static_cast<std::size_t>(count)};
}

ITypeLib* TypeLibrary() {
    static const ComPtr<ITypeLib> library = [] {
        ComPtr<ITypeLib> loaded;
        Check(::LoadTypeLibEx(ProgramPath().c_str(), REGKIND_NONE, loaded.Out()));
        return loaded;
    }();
    return library.Get();
}

const InterfaceType& TypeOf(const IID& interfaceId) {
    static std::vector<LoadedType> loaded;
    for (const LoadedType& entry : loaded) {
        if (entry.interfaceId == interfaceId) {
            return *entry.type;
        }
    }
    ComPtr<ITypeInfo> info;
    Check(TypeLibrary()->GetTypeInfoOfGuid(interfaceId, info.Out()));
    loaded.push_back({interfaceId, std::make_unique<InterfaceType>(std::move(info))});
    return *loaded.back().type;
}

ComPtr<ITypeInfo> ClassTypeInfo(const CLSID& classId) {
    ComPtr<ITypeInfo> info;
    Check(TypeLibrary()->GetTypeInfoOfGuid(classId, info.Out()));
    return info;
}

}  // namespace kel::automation
