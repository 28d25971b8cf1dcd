// Shows a type library, or the one that a program holds, as a client of the platform's own type information sees it:
// tlbdump FILE. scripts/automation-docs --dump prints the same lines for the interface definition.
#include <oaidl.h>
#include <oleauto.h>
#include <windows.h>

#include <cstdio>
#include <string>
#include <string_view>

namespace {

template <class T>
class Ptr {
public:
    Ptr() = default;
    ~Ptr() { Reset(); }
    Ptr(const Ptr&) = delete;
    Ptr& operator=(const Ptr&) = delete;
    T** Out() {
        Reset();
        return &pointer_;
    }
    T* operator->() const { return pointer_; }
    explicit operator bool() const { return pointer_ != nullptr; }

private:
    void Reset() {
        if (pointer_) {
            pointer_->Release();
            pointer_ = nullptr;
        }
    }
    T* pointer_ = nullptr;
};

std::string Utf8(const wchar_t* text) {
    if (!text) {
        return {};
    }
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, result.data(), size, nullptr, nullptr);
    result.pop_back();
    return result;
}

std::string Taken(BSTR text) {
    std::string result = Utf8(text);
    SysFreeString(text);
    return result;
}

std::string Text(const GUID& guid) {
    wchar_t text[64] = {};
    StringFromGUID2(guid, text, 64);
    std::string result = Utf8(text);
    for (char& c : result) {
        c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
    }
    return result;
}

struct Documentation {
    std::string name;
    std::string help;
};

Documentation DocumentationOf(ITypeInfo& type, MEMBERID member) {
    BSTR name = nullptr;
    BSTR help = nullptr;
    type.GetDocumentation(member, &name, &help, nullptr, nullptr);
    return {Taken(name), Taken(help)};
}

std::string WithHelp(const std::string& line, const std::string& help) {
    return help.empty() ? line : line + " ; " + help;
}

std::string TypeName(ITypeInfo& type, const TYPEDESC& desc) {
    switch (desc.vt) {
        case VT_PTR:
            return TypeName(type, *desc.lptdesc) + "*";
        case VT_USERDEFINED: {
            Ptr<ITypeInfo> named;
            if (FAILED(type.GetRefTypeInfo(desc.hreftype, named.Out()))) {
                return "?";
            }
            return DocumentationOf(*named.operator->(), MEMBERID_NIL).name;
        }
        case VT_I2:
            return "short";
        case VT_I4:
            return "long";
        case VT_BOOL:
            return "VARIANT_BOOL";
        case VT_BSTR:
            return "BSTR";
        case VT_DATE:
            return "DATE";
        case VT_VARIANT:
            return "VARIANT";
        case VT_UNKNOWN:
            return "IUnknown*";
        case VT_DISPATCH:
            return "IDispatch*";
        case VT_HRESULT:
            return "HRESULT";
        case VT_VOID:
            return "void";
        default:
            return "vt" + std::to_string(desc.vt);
    }
}

std::string DefaultOf(const VARIANT& value) {
    switch (value.vt) {
        case VT_BSTR:
            return '"' + Utf8(value.bstrVal) + '"';
        case VT_I2:
            return std::to_string(value.iVal);
        case VT_BOOL:
            return std::to_string(value.boolVal);
        case VT_I4:
            return std::to_string(value.lVal);
        default:
            return "vt" + std::to_string(value.vt);
    }
}

std::string Parameter(ITypeInfo& type, const ELEMDESC& element, const std::string& name) {
    const USHORT flags = element.paramdesc.wParamFlags;
    std::string attributes;
    const auto add = [&](USHORT flag, std::string_view word) {
        if ((flags & flag) != 0) {
            attributes += (attributes.empty() ? "" : " ") + std::string(word);
        }
    };
    add(PARAMFLAG_FIN, "in");
    add(PARAMFLAG_FOUT, "out");
    add(PARAMFLAG_FRETVAL, "retval");
    add(PARAMFLAG_FOPT, "optional");
    if ((flags & PARAMFLAG_FHASDEFAULT) != 0) {
        attributes += " default=" + DefaultOf(element.paramdesc.pparamdescex->varDefaultValue);
    }
    return "[" + attributes + "] " + TypeName(type, element.tdesc) + " " + name;
}

const char* KindOf(INVOKEKIND kind) {
    switch (kind) {
        case INVOKE_FUNC:
            return "method";
        case INVOKE_PROPERTYGET:
            return "propget";
        case INVOKE_PROPERTYPUT:
            return "propput";
        case INVOKE_PROPERTYPUTREF:
            return "propputref";
    }
    return "?";
}

void DumpFunctions(ITypeInfo& type, const TYPEATTR& attributes, bool slots) {
    for (UINT i = 0; i < attributes.cFuncs; ++i) {
        FUNCDESC* function = nullptr;
        if (FAILED(type.GetFuncDesc(i, &function))) {
            std::printf("  function %u can't be read\n", i);
            continue;
        }
        BSTR names[32] = {};
        UINT count = 0;
        type.GetNames(function->memid, names, 32, &count);
        std::string line = "  ";
        if (slots) {
            line += "slot " + std::to_string(function->oVft / static_cast<SHORT>(sizeof(void*))) + " ";
        }
        line += "id " + std::to_string(function->memid) + " " + KindOf(function->invkind) + " " +
                TypeName(type, function->elemdescFunc.tdesc) + " " + Utf8(names[0]) + "(";
        for (SHORT p = 0; p < function->cParams; ++p) {
            const auto place = static_cast<UINT>(p) + 1;
            const ELEMDESC& element = function->lprgelemdescParam[p];
            const bool unnamed =
                place >= count || (function->invkind != INVOKE_FUNC && function->invkind != INVOKE_PROPERTYGET);
            line += (p ? ", " : "") + Parameter(type, element, unnamed ? "" : Utf8(names[place]));
        }
        line += ")";
        if ((function->wFuncFlags & FUNCFLAG_FRESTRICTED) != 0) {
            line += " restricted";
        }
        for (UINT n = 0; n < count; ++n) {
            SysFreeString(names[n]);
        }
        BSTR help = nullptr;
        // By member, so that a property has the text of its first function.
        type.GetDocumentation(function->memid, nullptr, &help, nullptr, nullptr);
        std::puts(WithHelp(line, Taken(help)).c_str());
        type.ReleaseFuncDesc(function);
    }
}

void DumpVariables(ITypeInfo& type, const TYPEATTR& attributes) {
    for (UINT i = 0; i < attributes.cVars; ++i) {
        VARDESC* variable = nullptr;
        if (FAILED(type.GetVarDesc(i, &variable))) {
            continue;
        }
        const std::string name = DocumentationOf(type, variable->memid).name;
        if (variable->varkind == VAR_CONST) {
            std::printf("  %s = %s\n", name.c_str(), DefaultOf(*variable->lpvarValue).c_str());
        } else {
            std::printf("  %s %s\n", TypeName(type, variable->elemdescVar.tdesc).c_str(), name.c_str());
        }
        type.ReleaseVarDesc(variable);
    }
}

void DumpInterfacesOfClass(ITypeInfo& type, const TYPEATTR& attributes) {
    for (UINT i = 0; i < attributes.cImplTypes; ++i) {
        HREFTYPE reference = 0;
        INT flags = 0;
        Ptr<ITypeInfo> implemented;
        if (FAILED(type.GetRefTypeOfImplType(i, &reference)) || FAILED(type.GetImplTypeFlags(i, &flags)) ||
            FAILED(type.GetRefTypeInfo(reference, implemented.Out()))) {
            continue;
        }
        std::printf("  %s%s%s\n", (flags & IMPLTYPEFLAG_FDEFAULT) != 0 ? "default " : "",
                    (flags & IMPLTYPEFLAG_FSOURCE) != 0 ? "source " : "",
                    DocumentationOf(*implemented.operator->(), MEMBERID_NIL).name.c_str());
    }
}

void DumpType(ITypeInfo& type) {
    TYPEATTR* attributes = nullptr;
    if (FAILED(type.GetTypeAttr(&attributes))) {
        return;
    }
    const Documentation about = DocumentationOf(type, MEMBERID_NIL);
    const std::string tail = about.name + " " + Text(attributes->guid);
    std::string line;
    switch (attributes->typekind) {
        case TKIND_ENUM:
            line = "enum " + tail;
            break;
        case TKIND_RECORD:
            line = "record " + tail;
            break;
        case TKIND_COCLASS:
            line = "class " + tail + ((attributes->wTypeFlags & TYPEFLAG_FCANCREATE) != 0 ? " creatable" : "");
            break;
        case TKIND_DISPATCH:
            line = ((attributes->wTypeFlags & TYPEFLAG_FDUAL) != 0 ? "dual " : "events ") + tail;
            break;
        case TKIND_INTERFACE:
            line = "interface " + tail;
            break;
        default:
            line = "kind" + std::to_string(attributes->typekind) + " " + tail;
    }
    std::puts(WithHelp(line, about.help).c_str());
    if (attributes->typekind == TKIND_COCLASS) {
        DumpInterfacesOfClass(type, *attributes);
    } else if (attributes->typekind == TKIND_DISPATCH && (attributes->wTypeFlags & TYPEFLAG_FDUAL) != 0) {
        // The other face of a dual interface: what early binding calls.
        HREFTYPE reference = 0;
        Ptr<ITypeInfo> early;
        TYPEATTR* earlyAttributes = nullptr;
        if (SUCCEEDED(type.GetRefTypeOfImplType(static_cast<UINT>(-1), &reference)) &&
            SUCCEEDED(type.GetRefTypeInfo(reference, early.Out())) && SUCCEEDED(early->GetTypeAttr(&earlyAttributes))) {
            DumpFunctions(*early.operator->(), *earlyAttributes, true);
            early->ReleaseTypeAttr(earlyAttributes);
        } else {
            std::puts("  no early binding");
        }
    } else {
        DumpVariables(type, *attributes);
        DumpFunctions(type, *attributes, attributes->typekind == TKIND_INTERFACE);
    }
    type.ReleaseTypeAttr(attributes);
}

bool Dump(const wchar_t* path) {
    Ptr<ITypeLib> library;
    const HRESULT loaded = LoadTypeLibEx(path, REGKIND_NONE, library.Out());
    if (FAILED(loaded)) {
        std::fprintf(stderr, "tlbdump: %s has no type library: 0x%08lx\n", Utf8(path).c_str(),
                     static_cast<unsigned long>(loaded));
        return false;
    }
    TLIBATTR* attributes = nullptr;
    BSTR name = nullptr;
    BSTR help = nullptr;
    if (SUCCEEDED(library->GetLibAttr(&attributes))) {
        library->GetDocumentation(-1, &name, &help, nullptr, nullptr);
        const std::string line = "library " + Taken(name) + " " + std::to_string(attributes->wMajorVerNum) + "." +
                                 std::to_string(attributes->wMinorVerNum) + " " + Text(attributes->guid);
        std::puts(WithHelp(line, Taken(help)).c_str());
        library->ReleaseTLibAttr(attributes);
    }
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        Ptr<ITypeInfo> type;
        if (SUCCEEDED(library->GetTypeInfo(i, type.Out()))) {
            DumpType(*type.operator->());
        }
    }
    return true;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    if (count != 2) {
        std::fputs("usage: tlbdump FILE\n", stderr);
        return 64;
    }
    return SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)) && Dump(arguments[1]) ? 0 : 1;
}
