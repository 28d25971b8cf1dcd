// One object for each thing of the engine that clients hold: who asks twice gets the same.
#pragma once

#include <memory>
#include <typeindex>

#include "automation/Com.h"
#include "core/RuntimeError.h"

namespace kel::automation {

/// What every object here has beside its public interfaces. It never leaves the process: a client's object has none.
class IEngineObject : public IUnknown {
public:
    static constexpr IID Id{0x6c1f3f0a, 0x55f2, 0x4a4e, {0x9c, 0x3b, 0x7d, 0x62, 0xa1, 0xb0, 0xc9, 0xe4}};

    /// The thing of the engine behind the object; null if it is not of that type.
    virtual std::shared_ptr<void> STDMETHODCALLTYPE EngineThing(std::type_index type) = 0;

protected:
    ~IEngineObject() = default;
};

/// The object that stands for a thing, or null. Objects enter themselves when they are made and leave when they go.
[[nodiscard]] IUnknown* FindObject(const void* thing, const IID& interfaceId);
void EnterObject(const void* thing, const IID& interfaceId, IUnknown* object);
void LeaveObject(const void* thing, const IID& interfaceId);

/// Objects that clients hold. The process of a second instance ends with its last one.
[[nodiscard]] LONG LiveObjects();

/// The thing behind a client's argument: null for a null argument. Raises error 13 for an object that is not ours or
/// stands for something else.
template <class Engine>
std::shared_ptr<Engine> Unwrap(IUnknown* argument) {
    if (argument == nullptr) {
        return nullptr;
    }
    IEngineObject* ours = nullptr;
    if (SUCCEEDED(argument->QueryInterface(IEngineObject::Id, reinterpret_cast<void**>(&ours)))) {
        const ComPtr<IEngineObject> object = ComPtr<IEngineObject>::Adopt(ours);
        if (std::shared_ptr<void> thing = object->EngineThing(typeid(Engine))) {
            return std::static_pointer_cast<Engine>(thing);
        }
    }
    Raise(ErrTypeMismatch);
}

/// How an object is made for a thing of the engine. Declared with KEL_WRAPPED for each class that is handed out:
///
///     KEL_WRAPPED(kel::Scan, _Scan);    // in Objects.h, in this namespace
///     KEL_WRAPS(ScanObject, kel::Scan)  // in the class's unit
template <class Engine>
struct Maker;

/// A client's reference to the object for a thing; null for none.
template <class Engine>
auto Wrap(const std::shared_ptr<Engine>& thing) {
    using Interface = typename Maker<Engine>::Interface;
    if (!thing) {
        return ComPtr<Interface>();
    }
    if (IUnknown* known = FindObject(thing.get(), __uuidof(Interface))) {
        return ComPtr<IUnknown>(known).As<Interface>();
    }
    return Maker<Engine>::Make(thing);
}

/// An out argument for an object.
template <class Interface, class Engine>
void Put(Interface** out, const std::shared_ptr<Engine>& thing) {
    *out = Wrap(thing).Detach();
}
/// An in argument for an object.
template <class Engine>
void Take(std::shared_ptr<Engine>& into, IUnknown* argument) {
    into = Unwrap<Engine>(argument);
}

}  // namespace kel::automation

#define KEL_WRAPPED(ENGINE, INTERFACE)                                \
    template <>                                                       \
    struct Maker<ENGINE> {                                            \
        using Interface = INTERFACE;                                  \
        static ComPtr<INTERFACE> Make(std::shared_ptr<ENGINE> thing); \
    }
#define KEL_WRAPS(OBJECT, ENGINE)                                                         \
    ComPtr<Maker<ENGINE>::Interface> Maker<ENGINE>::Make(std::shared_ptr<ENGINE> thing) { \
        return ComPtr<Interface>::Adopt(new OBJECT(std::move(thing)));                    \
    }
