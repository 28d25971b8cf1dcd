// The base of every object that clients see. It does IUnknown, IDispatch through the type library, error objects, class
// information and, for a source of events, connection points. A class adds its methods, in the slot order of the IDL,
// and each is a line: take, call, put back.
//
//     class SettingsObject final : public Object<kel::Settings, _Settings, ::Settings> {
//     public:
//         using Object::Object;
//         STDMETHODIMP Save(BSTR Name, BSTR Value) override {
//             return Do([&] { It().Save(FromBstr(Name), FromBstr(Value)); });
//         }
//         STDMETHODIMP View(BSTR Name, BSTR* Result) override {
//             return Answer(Result, [&] { return It().View(FromBstr(Name)); });
//         }
//         STDMETHODIMP Delete(BSTR Name) override { return Do([&] { It().Delete(FromBstr(Name)); }); }
//     };
//     KEL_WRAPS(SettingsObject, kel::Settings)
//
// A public field of the engine's class is one line more: KEL_FIELD(BSTR, ScanID) for texts, numbers, dates, Booleans
// and enumerations, KEL_OBJECT_FIELD(_ThreatLite, Threat) for what is handed out by reference.
#pragma once

#include <memory>
#include <typeindex>
#include <utility>

#include "automation/Com.h"
#include "automation/Connections.h"
#include "automation/Convert.h"
#include "automation/Counted.h"
#include "automation/Dispatch.h"
#include "automation/Guard.h"
#include "automation/Identity.h"

namespace kel::automation {

/// What an object without events has in place of an event interface.
struct NoEvents {};

/// @tparam Engine the engine's class behind the object
/// @tparam DualInterface its interface of the type library
/// @tparam Coclass the class of the type library
/// @tparam Events its event interface of the type library
template <class Engine, class DualInterface, class Coclass, class Events = NoEvents>
class Object
    : public Counted<DualInterface, ISupportErrorInfo, IProvideClassInfo2, IEngineObject, IConnectionPointContainer> {
    static constexpr bool HasEvents = !std::is_same_v<Events, NoEvents>;

public:
    explicit Object(std::shared_ptr<Engine> thing) : thing_(std::move(thing)) {
        EnterObject(thing_.get(), __uuidof(DualInterface), static_cast<DualInterface*>(this));
        if constexpr (HasEvents) {
            sinks_ = SinksOf(thing_, __uuidof(Events));
        }
    }

    STDMETHODIMP QueryInterface(REFIID id, void** out) override {
        if (out == nullptr) {
            return E_POINTER;
        }
        *out = nullptr;
        if (id == IID_IUnknown || id == IID_IDispatch || id == __uuidof(DualInterface)) {
            *out = static_cast<DualInterface*>(this);
        } else if (id == IID_ISupportErrorInfo) {
            *out = static_cast<ISupportErrorInfo*>(this);
        } else if (id == IID_IProvideClassInfo || id == IID_IProvideClassInfo2) {
            *out = static_cast<IProvideClassInfo2*>(this);
        } else if (id == IEngineObject::Id) {
            *out = static_cast<IEngineObject*>(this);
        } else if (HasEvents && id == IID_IConnectionPointContainer) {
            *out = static_cast<IConnectionPointContainer*>(this);
        } else {
            return E_NOINTERFACE;
        }
        this->AddRef();
        return S_OK;
    }

    STDMETHODIMP GetTypeInfoCount(UINT* count) override { return Answered(count, UINT{1}); }
    STDMETHODIMP GetTypeInfo(UINT index, LCID, ITypeInfo** info) override {
        if (info == nullptr) {
            return E_POINTER;
        }
        *info = nullptr;
        if (index != 0) {
            return DISP_E_BADINDEX;
        }
        return Guard(__uuidof(DualInterface), [&] { *info = ComPtr<ITypeInfo>(Type().Info()).Detach(); });
    }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
        HRESULT outcome = S_OK;
        const HRESULT read =
            Guard(__uuidof(DualInterface), [&] { outcome = ::DispGetIDsOfNames(Type().Info(), names, count, ids); });
        return FAILED(read) ? read : outcome;
    }
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID locale, WORD kinds, DISPPARAMS* arguments, VARIANT* result,
                        EXCEPINFO* exception, UINT* wrongArgument) override {
        const InterfaceType* type = nullptr;
        const HRESULT read = Guard(__uuidof(DualInterface), [&] { type = &Type(); });
        return FAILED(read) ? read
                            : InvokeLate(*type, static_cast<DualInterface*>(this),
                                         {id, locale, kinds, arguments, result, exception, wrongArgument});
    }

    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID id) override {
        return id == __uuidof(DualInterface) ? S_OK : S_FALSE;
    }

    STDMETHODIMP GetClassInfo(ITypeInfo** info) override {
        if (info == nullptr) {
            return E_POINTER;
        }
        *info = nullptr;
        return Guard(__uuidof(DualInterface), [&] { *info = ClassTypeInfo(__uuidof(Coclass)).Detach(); });
    }
    STDMETHODIMP GetGUID(DWORD kind, GUID* id) override {
        if (id == nullptr) {
            return E_POINTER;
        }
        *id = GUID{};
        if (kind != GUIDKIND_DEFAULT_SOURCE_DISP_IID) {
            return E_INVALIDARG;
        }
        if constexpr (HasEvents) {
            *id = __uuidof(Events);
            return S_OK;
        } else {
            return E_INVALIDARG;
        }
    }

    STDMETHODIMP EnumConnectionPoints(IEnumConnectionPoints** out) override {
        return ListConnectionPoints(out, sinks_, static_cast<IConnectionPointContainer*>(this));
    }
    STDMETHODIMP FindConnectionPoint(REFIID id, IConnectionPoint** out) override {
        return FindConnections(id, out, sinks_, static_cast<IConnectionPointContainer*>(this));
    }

    std::shared_ptr<void> STDMETHODCALLTYPE EngineThing(std::type_index type) override {
        return type == typeid(Engine) ? std::shared_ptr<void>(thing_) : nullptr;
    }

protected:
    ~Object() override { LeaveObject(thing_.get(), __uuidof(DualInterface)); }

    /// The engine's object.
    [[nodiscard]] Engine& It() const { return *thing_; }
    [[nodiscard]] const std::shared_ptr<Engine>& Thing() const { return thing_; }

    /// A method without a result. The object stays while it runs: others may be let in, and let go of it.
    template <class Body>
    HRESULT Do(Body&& body) noexcept {
        const ComPtr<IUnknown> self(static_cast<DualInterface*>(this));
        return Guard(__uuidof(DualInterface), std::forward<Body>(body));
    }
    /// A method with a result: what the body answers is put into `out` as its type wants it.
    template <class Out, class Body>
    HRESULT Answer(Out* out, Body&& body) noexcept {
        if (out == nullptr) {
            return E_POINTER;
        }
        return Do([&] {
            if constexpr (std::is_same_v<Out, VARIANT>) {
                ::VariantInit(out);
            } else {
                *out = Out{};
            }
            Put(out, std::forward<Body>(body)());
        });
    }

private:
    static const InterfaceType& Type() {
        static const InterfaceType& type = TypeOf(__uuidof(DualInterface));
        return type;
    }
    template <class T>
    static HRESULT Answered(T* out, T value) {
        if (out == nullptr) {
            return E_POINTER;
        }
        *out = value;
        return S_OK;
    }

    std::shared_ptr<Engine> thing_;
    std::shared_ptr<SinkList> sinks_;
};

}  // namespace kel::automation

/// A readable and writable field of the engine's class that bears the property's name.
#define KEL_FIELD(TYPE, NAME)                             \
    STDMETHODIMP get_##NAME(TYPE* Result) override {      \
        return Answer(Result, [&] { return It().NAME; }); \
    }                                                     \
    STDMETHODIMP put_##NAME(TYPE Value) override {        \
        return Do([&] { Take(It().NAME, Value); });       \
    }
/// The same for a field that holds another object by a shared pointer.
#define KEL_OBJECT_FIELD(INTERFACE, NAME)                   \
    STDMETHODIMP get_##NAME(INTERFACE** Result) override {  \
        return Answer(Result, [&] { return It().NAME; });   \
    }                                                       \
    STDMETHODIMP putref_##NAME(INTERFACE* Value) override { \
        return Do([&] { Take(It().NAME, Value); });         \
    }
/// A property or a function without arguments that the engine's class has as a function of the same name.
#define KEL_READ(TYPE, NAME)                                \
    STDMETHODIMP get_##NAME(TYPE* Result) override {        \
        return Answer(Result, [&] { return It().NAME(); }); \
    }
#define KEL_CALL(TYPE, NAME)                                \
    STDMETHODIMP NAME(TYPE* Result) override {              \
        return Answer(Result, [&] { return It().NAME(); }); \
    }
/// The same for one without a result.
#define KEL_DO(NAME)                     \
    STDMETHODIMP NAME() override {       \
        return Do([&] { It().NAME(); }); \
    }
/// A readable and writable property that the engine's class has as the functions NAME and SetNAME.
#define KEL_PROPERTY(TYPE, NAME)                                \
    KEL_READ(TYPE, NAME)                                        \
    STDMETHODIMP put_##NAME(TYPE Value) override {              \
        return Do([&] {                                         \
            std::remove_cvref_t<decltype(It().NAME())> value{}; \
            Take(value, Value);                                 \
            It().Set##NAME(value);                              \
        });                                                     \
    }
