// A subscriber to events, as a script host makes one: an object without type information.
#pragma once

#include <functional>
#include <vector>

#include "Late.h"

namespace kel::test {

/// One event as it came.
struct Event {
    DISPID id = 0;
    std::vector<Variant> arguments;  ///< in their order; references are read

    [[nodiscard]] std::string Text(std::size_t place) const {
        return automation::FromBstr(arguments.at(place).Get().bstrVal);
    }
    [[nodiscard]] LONG Number(std::size_t place) const { return arguments.at(place).Get().lVal; }
};

/// Keeps the events, and calls a function for each if one is set. It counts its references and never frees itself.
class Sink final : public IDispatch {
public:
    std::vector<Event> events;
    std::function<HRESULT(DISPPARAMS&, DISPID)> handler;
    ULONG references = 0;

    STDMETHODIMP QueryInterface(REFIID id, void** out) override {
        *out = id == IID_IUnknown || id == IID_IDispatch ? this : nullptr;
        if (*out == nullptr) {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
    STDMETHODIMP_(ULONG) Release() override { return --references; }
    STDMETHODIMP GetTypeInfoCount(UINT* count) override {
        *count = 0;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return DISP_E_UNKNOWNNAME; }
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* parameters, VARIANT*, EXCEPINFO*, UINT*) override {
        Event event{id, {}};
        for (UINT place = parameters->cArgs; place > 0; --place) {
            event.arguments.emplace_back(parameters->rgvarg[place - 1]);
        }
        events.push_back(std::move(event));
        return handler ? handler(*parameters, id) : S_OK;
    }

    /// The events of one number.
    [[nodiscard]] std::vector<Event> Of(DISPID id) const {
        std::vector<Event> found;
        for (const Event& event : events) {
            if (event.id == id) {
                found.push_back(event);
            }
        }
        return found;
    }
};

/// The way to the events of a source; empty when it has none of that interface.
inline ComPtr<IConnectionPoint> EventsOf(const ComPtr<IDispatch>& source, const IID& events) {
    ComPtr<IConnectionPoint> point;
    if (const auto container = source.As<IConnectionPointContainer>()) {
        container->FindConnectionPoint(events, point.Out());
    }
    return point;
}

/// A subscription for its lifetime.
class Subscription {
public:
    Subscription(const ComPtr<IDispatch>& source, const IID& events, IUnknown* sink)
        : point_(EventsOf(source, events)) {
        if (point_) {
            outcome = point_->Advise(sink, &cookie_);
        }
    }
    ~Subscription() { End(); }
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;

    void End() {
        if (point_ && cookie_ != 0) {
            point_->Unadvise(cookie_);
            cookie_ = 0;
        }
    }

    HRESULT outcome = E_NOINTERFACE;

private:
    ComPtr<IConnectionPoint> point_;
    DWORD cookie_ = 0;
};

}  // namespace kel::test
