// A script host with events, which Wine's own lacks: scripthost SCRIPT.vbs|SCRIPT.js [ARGUMENT...]
//
// Scripts see WScript with Echo, Quit, Arguments, CreateObject, ConnectObject(object, prefix) and DisconnectObject. A
// connected object's events call the script's procedures of the name prefix + event. Exit code: that of Quit, 70 when
// the script failed or never came to it, 64 wrong arguments.
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "automation/Com.h"
// After windows.h.
#include <activscp.h>

using kel::automation::ComPtr;

namespace {

template <class Interface>
void** Raw(ComPtr<Interface>& pointer) {
    return reinterpret_cast<void**>(pointer.Out());
}

constexpr CLSID VbScript{0xB54F3741, 0x5B07, 0x11CF, {0xA4, 0xB0, 0x00, 0xAA, 0x00, 0x4A, 0x55, 0xE8}};
constexpr CLSID JScript{0xF414C260, 0x6AC0, 0x11CF, {0xB6, 0xD1, 0x00, 0xAA, 0x00, 0xBB, 0xBB, 0x58}};
#ifdef _WIN64
constexpr IID ParseInterface{0xC7EF7658, 0xE1EE, 0x480E, {0x97, 0xEA, 0xD5, 0x2C, 0xB4, 0xD7, 0x6D, 0x17}};
#else
constexpr IID ParseInterface{0xBB1A2AE2, 0xA4F9, 0x11CF, {0x8F, 0x20, 0x00, 0x80, 0x5F, 0x2C, 0xD0, 0x64}};
#endif

int g_exitCode = 70;

void Print(const wchar_t* text) {
    std::string bytes(
        static_cast<std::size_t>(::WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr)), 0);
    ::WideCharToMultiByte(CP_UTF8, 0, text, -1, bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr);
    std::puts(bytes.c_str());
    std::fflush(stdout);
}

/// What every object here has: one interface beside IUnknown, and no type information. Counted, and never freed: there
/// are few, and the process is short.
template <class Interface>
class Plain : public Interface {
public:
    explicit Plain(const IID& own) : own_(own) {}
    STDMETHODIMP QueryInterface(REFIID id, void** out) override {
        *out = id == IID_IUnknown || id == own_ ? this : nullptr;
        return *out == nullptr ? E_NOINTERFACE : (AddRef(), S_OK);
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override { return --references_; }

private:
    const IID own_;
    ULONG references_ = 1;
};

class LateBound : public Plain<IDispatch> {
public:
    LateBound() : Plain(IID_IDispatch) {}
    STDMETHODIMP GetTypeInfoCount(UINT* count) override { return *count = 0, S_OK; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return DISP_E_UNKNOWNNAME; }
};

/// Hands the events of a source to the script's procedures.
class Subscriber final : public LateBound {
public:
    Subscriber(IID events, std::map<DISPID, std::wstring> names, std::wstring prefix, ComPtr<IDispatch> script)
        : events_(events), names_(std::move(names)), prefix_(std::move(prefix)), script_(std::move(script)) {}

    STDMETHODIMP QueryInterface(REFIID id, void** out) override {
        return LateBound::QueryInterface(id == events_ ? IID_IDispatch : id, out);
    }
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID locale, WORD, DISPPARAMS* given, VARIANT* result, EXCEPINFO* exception,
                        UINT* argument) override {
        std::wstring name = prefix_ + names_[id];
        LPOLESTR names[] = {name.data()};
        DISPID procedure = DISPID_UNKNOWN;
        if (FAILED(script_->GetIDsOfNames(IID_NULL, names, 1, locale, &procedure))) {
            return S_OK;
        }
        // A script's own variables are variants: what refers to a Boolean gets one for the call.
        std::vector<VARIANT> values(given->rgvarg, given->rgvarg + given->cArgs);
        std::vector<VARIANT> variables(values.size());
        for (std::size_t i = 0; i < values.size(); ++i) {
            if (values[i].vt == (VT_BYREF | VT_BOOL)) {
                variables[i].vt = VT_BOOL;
                variables[i].boolVal = *values[i].pboolVal;
                values[i].vt = VT_BYREF | VT_VARIANT;
                values[i].pvarVal = &variables[i];
            }
        }
        DISPPARAMS parameters{values.data(), nullptr, given->cArgs, 0};
        const HRESULT outcome =
            script_->Invoke(procedure, IID_NULL, locale, DISPATCH_METHOD, &parameters, result, exception, argument);
        for (std::size_t i = 0; i < values.size(); ++i) {
            if (given->rgvarg[i].vt == (VT_BYREF | VT_BOOL) &&
                SUCCEEDED(::VariantChangeType(&variables[i], &variables[i], 0, VT_BOOL))) {
                *given->rgvarg[i].pboolVal = variables[i].boolVal;
            }
        }
        return outcome;
    }

private:
    const IID events_;
    std::map<DISPID, std::wstring> names_;
    const std::wstring prefix_;
    const ComPtr<IDispatch> script_;
};

struct Connection {
    ComPtr<IUnknown> source;
    ComPtr<IConnectionPoint> point;
    DWORD cookie;
};

/// The default event interface of an object: its identity and the names of its events.
HRESULT FindEvents(IDispatch* object, IID& id, std::map<DISPID, std::wstring>& names) {
    ComPtr<IProvideClassInfo2> provider;
    ComPtr<ITypeInfo> type;
    HRESULT outcome = object->QueryInterface(IID_IProvideClassInfo2, Raw(provider));
    if (SUCCEEDED(outcome)) {
        outcome = provider->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &id);
    }
    if (SUCCEEDED(outcome)) {
        outcome = provider->GetClassInfo(type.Out());
    }
    ComPtr<ITypeLib> library;
    ComPtr<ITypeInfo> events;
    UINT place = 0;
    if (FAILED(outcome) || FAILED(outcome = type->GetContainingTypeLib(library.Out(), &place)) ||
        FAILED(outcome = library->GetTypeInfoOfGuid(id, events.Out()))) {
        return outcome;
    }
    FUNCDESC* function = nullptr;
    for (UINT i = 0; SUCCEEDED(events->GetFuncDesc(i, &function)); ++i) {
        BSTR name = nullptr;
        UINT count = 0;
        if (SUCCEEDED(events->GetNames(function->memid, &name, 1, &count)) && count == 1) {
            names[function->memid] = name;
            ::SysFreeString(name);
        }
        events->ReleaseFuncDesc(function);
    }
    return S_OK;
}

class Host final : public LateBound {
public:
    std::vector<std::wstring> arguments;
    ComPtr<IActiveScript> engine;

    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
        constexpr const wchar_t* known[] = {L"Echo",         L"Quit",          L"Arguments",
                                            L"CreateObject", L"ConnectObject", L"DisconnectObject"};
        for (DISPID id = 0; count == 1 && id < 6; ++id) {
            if (::lstrcmpiW(names[0], known[id]) == 0) {
                *ids = id + 1;
                return S_OK;
            }
        }
        return DISP_E_UNKNOWNNAME;
    }

    STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* given, VARIANT* result, EXCEPINFO*, UINT*) override {
        // By their place in the call; they come in reverse.
        std::vector<VARIANT> values(given->cArgs);
        HRESULT outcome = S_OK;
        for (UINT i = 0; i < given->cArgs && SUCCEEDED(outcome); ++i) {
            ::VariantInit(&values[i]);
            outcome = ::VariantCopyInd(&values[i], &given->rgvarg[given->cArgs - 1 - i]);
        }
        if (SUCCEEDED(outcome)) {
            outcome = Do(id, values, result);
        }
        for (VARIANT& value : values) {
            ::VariantClear(&value);
        }
        return outcome;
    }

private:
    std::vector<Connection> connections_;

    HRESULT Do(DISPID id, std::vector<VARIANT>& values, VARIANT* result) {
        if (id == 5 && values.size() == 2 && values[0].vt == VT_DISPATCH && values[1].vt == VT_BSTR) {
            return Connect(values[0].pdispVal, values[1].bstrVal);
        }
        if (values.size() != 1) {
            return DISP_E_BADPARAMCOUNT;
        }
        VARIANT& value = values[0];
        switch (id) {
            case 1:
                return Echo(value);
            case 2:
                if (FAILED(::VariantChangeType(&value, &value, 0, VT_I4))) {
                    return DISP_E_TYPEMISMATCH;
                }
                g_exitCode = value.lVal;
                return S_OK;
            case 3:
                return Argument(value, result);
            case 4:
                return value.vt == VT_BSTR ? Create(value.bstrVal, result) : DISP_E_TYPEMISMATCH;
            case 6:
                return value.vt == VT_DISPATCH ? Disconnect(value.pdispVal) : DISP_E_TYPEMISMATCH;
            default:
                return DISP_E_MEMBERNOTFOUND;
        }
    }

    static HRESULT Echo(VARIANT& value) {
        const HRESULT outcome = ::VariantChangeType(&value, &value, VARIANT_ALPHABOOL, VT_BSTR);
        if (SUCCEEDED(outcome)) {
            Print(value.bstrVal == nullptr ? L"" : value.bstrVal);
        }
        return outcome;
    }

    HRESULT Argument(VARIANT& place, VARIANT* result) const {
        if (FAILED(::VariantChangeType(&place, &place, 0, VT_UI4)) || place.ulVal >= arguments.size()) {
            return DISP_E_BADINDEX;
        }
        if (result != nullptr) {
            result->vt = VT_BSTR;
            result->bstrVal = ::SysAllocString(arguments[place.ulVal].c_str());
        }
        return S_OK;
    }

    static HRESULT Create(const wchar_t* name, VARIANT* result) {
        CLSID id{};
        IDispatch* object = nullptr;
        HRESULT outcome = ::CLSIDFromProgID(name, &id);
        if (SUCCEEDED(outcome)) {
            outcome = ::CoCreateInstance(id, nullptr, CLSCTX_SERVER, IID_IDispatch, reinterpret_cast<void**>(&object));
        }
        if (FAILED(outcome)) {
            return outcome;
        }
        if (result == nullptr) {
            object->Release();
            return S_OK;
        }
        result->vt = VT_DISPATCH;
        result->pdispVal = object;
        return S_OK;
    }

    HRESULT Connect(IDispatch* source, const wchar_t* prefix) {
        IID id{};
        std::map<DISPID, std::wstring> names;
        HRESULT outcome = FindEvents(source, id, names);
        ComPtr<IDispatch> script;
        ComPtr<IConnectionPointContainer> container;
        Connection connection{ComPtr<IUnknown>(source), {}, 0};
        if (FAILED(outcome) || FAILED(outcome = engine->GetScriptDispatch(nullptr, script.Out())) ||
            FAILED(outcome = source->QueryInterface(IID_IConnectionPointContainer, Raw(container))) ||
            FAILED(outcome = container->FindConnectionPoint(id, connection.point.Out()))) {
            return outcome;
        }
        auto* subscriber = new Subscriber(id, std::move(names), prefix, script);
        outcome = connection.point->Advise(subscriber, &connection.cookie);
        if (SUCCEEDED(outcome)) {
            connections_.push_back(connection);
        }
        return outcome;
    }

    HRESULT Disconnect(IUnknown* source) {
        for (Connection& connection : connections_) {
            if (connection.cookie != 0 && connection.source.Get() == source) {
                const DWORD cookie = std::exchange(connection.cookie, 0);
                return connection.point->Unadvise(cookie);
            }
        }
        return S_FALSE;
    }
};

class Site final : public Plain<IActiveScriptSite> {
public:
    explicit Site(IDispatch* host) : Plain(IID_IActiveScriptSite), host_(host) {}
    STDMETHODIMP GetLCID(LCID*) override { return E_NOTIMPL; }
    STDMETHODIMP GetItemInfo(LPCOLESTR, DWORD, IUnknown** item, ITypeInfo**) override {
        host_->AddRef();
        *item = host_;
        return S_OK;
    }
    STDMETHODIMP GetDocVersionString(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP OnScriptTerminate(const VARIANT*, const EXCEPINFO*) override { return S_OK; }
    STDMETHODIMP OnStateChange(SCRIPTSTATE) override { return S_OK; }
    STDMETHODIMP OnScriptError(IActiveScriptError* error) override {
        EXCEPINFO exception{};
        DWORD context = 0;
        ULONG line = 0;
        LONG column = 0;
        error->GetExceptionInfo(&exception);
        error->GetSourcePosition(&context, &line, &column);
        const std::wstring about = L"error " + std::to_wstring(static_cast<unsigned long>(exception.scode)) +
                                   L" in line " + std::to_wstring(line + 1) + L": " +
                                   (exception.bstrDescription == nullptr ? L"" : exception.bstrDescription);
        Print(about.c_str());
        return S_OK;
    }
    STDMETHODIMP OnEnterScript() override { return S_OK; }
    STDMETHODIMP OnLeaveScript() override { return S_OK; }

private:
    IDispatch* host_;
};

bool Read(const wchar_t* path, std::wstring& text) {
    std::FILE* const file = ::_wfopen(path, L"rb");
    if (file == nullptr) {
        return false;
    }
    for (int byte = std::fgetc(file); byte != EOF; byte = std::fgetc(file)) {
        text += static_cast<wchar_t>(byte);
    }
    std::fclose(file);
    return true;
}

HRESULT Run(const std::wstring& path, const std::wstring& text, Host& host) {
    const bool visualBasic = path.ends_with(L".vbs");
    HRESULT outcome = ::CoCreateInstance(visualBasic ? VbScript : JScript, nullptr, CLSCTX_INPROC_SERVER,
                                         IID_IActiveScript, Raw(host.engine));
    ComPtr<IActiveScriptParse> parser;
    Site site(&host);
    if (FAILED(outcome) || FAILED(outcome = host.engine->QueryInterface(ParseInterface, Raw(parser))) ||
        FAILED(outcome = host.engine->SetScriptSite(&site)) || FAILED(outcome = parser->InitNew()) ||
        FAILED(outcome = host.engine->AddNamedItem(L"WScript", SCRIPTITEM_ISVISIBLE)) ||
        FAILED(outcome = host.engine->SetScriptState(SCRIPTSTATE_STARTED))) {
        return outcome;
    }
    outcome =
        parser->ParseScriptText(text.c_str(), nullptr, nullptr, nullptr, 0, 1, SCRIPTTEXT_ISVISIBLE, nullptr, nullptr);
    host.engine->Close();
    return outcome;
}

}  // namespace

int wmain(int count, wchar_t** given) {
    std::wstring text;
    if (count < 2 || !Read(given[1], text)) {
        std::puts("usage: scripthost SCRIPT.vbs|SCRIPT.js [ARGUMENT...]");
        return 64;
    }
    if (FAILED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {
        return 70;
    }
    Host host;
    host.arguments.assign(given + 2, given + count);
    const HRESULT outcome = Run(given[1], text, host);
    if (FAILED(outcome)) {
        std::printf("failed: %08lx\n", static_cast<unsigned long>(outcome));
        g_exitCode = 70;
    }
    std::fflush(stdout);
    // What the engine still holds goes with the process.
    ::ExitProcess(static_cast<UINT>(g_exitCode));
}
