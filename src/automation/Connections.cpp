#include "automation/Connections.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>

#include "automation/Enumerator.h"
#include "automation/Guard.h"
#include "automation/SingleInterface.h"
#include "core/Failures.h"

namespace kel::automation {

namespace {

std::string Hexadecimal(HRESULT outcome) {
    char text[11];
    std::snprintf(text, sizeof text, "0x%08lX", static_cast<unsigned long>(outcome));
    return text;
}

struct KeptSinks {
    std::weak_ptr<void> thing;
    std::weak_ptr<SinkList> sinks;
};

std::vector<KeptSinks>& Kept() {
    static std::vector<KeptSinks> kept;
    return kept;
}

// The way to the sinks of a source. It keeps the object that it came from.
class ConnectionPoint final : public SingleInterface<IConnectionPoint> {
public:
    ConnectionPoint(std::shared_ptr<SinkList> sinks, IConnectionPointContainer* owner)
        : sinks_(std::move(sinks)), owner_(owner) {}

    STDMETHODIMP GetConnectionInterface(IID* id) override {
        if (id == nullptr) {
            return E_POINTER;
        }
        *id = sinks_->Events();
        return S_OK;
    }
    STDMETHODIMP GetConnectionPointContainer(IConnectionPointContainer** out) override {
        if (out == nullptr) {
            return E_POINTER;
        }
        *out = ComPtr<IConnectionPointContainer>(owner_).Detach();
        return S_OK;
    }
    STDMETHODIMP Advise(IUnknown* sink, DWORD* cookie) override {
        if (sink == nullptr || cookie == nullptr) {
            return E_POINTER;
        }
        HRESULT outcome = S_OK;
        const HRESULT ran = Guard(IID_IConnectionPoint, [&] { outcome = sinks_->Advise(sink, cookie); });
        return FAILED(ran) ? ran : outcome;
    }
    STDMETHODIMP Unadvise(DWORD cookie) override { return sinks_->Unadvise(cookie); }
    STDMETHODIMP EnumConnections(IEnumConnections** out) override {
        if (out == nullptr) {
            return E_POINTER;
        }
        *out = nullptr;
        return Guard(IID_IConnectionPoint, [&] {
            EnumeratedList<CONNECTDATA> list;
            const auto sinks = std::make_shared<std::vector<SinkList::Sink>>(sinks_->Sinks());
            list.count = [sinks] { return static_cast<ULONG>(sinks->size()); };
            list.read = [sinks](ULONG place, CONNECTDATA* into) {
                into->dwCookie = (*sinks)[place].cookie;
                into->pUnk = ComPtr<IUnknown>((*sinks)[place].object.Get()).Detach();
            };
            *out = new Enumerator<IEnumConnections, CONNECTDATA>(std::move(list));
        });
    }

private:
    std::shared_ptr<SinkList> sinks_;
    ComPtr<IConnectionPointContainer> owner_;
};

}  // namespace

HRESULT SinkList::Advise(IUnknown* sink, DWORD* cookie) {
    *cookie = 0;
    // A client's object may have several interfaces: the event interface is the one that is meant.
    ComPtr<IDispatch> object;
    if (FAILED(sink->QueryInterface(events_, reinterpret_cast<void**>(object.Out())))) {
        object = ComPtr<IUnknown>(sink).As<IDispatch>();
    }
    if (!object) {
        return CONNECT_E_CANNOTCONNECT;
    }
    sinks_.push_back({++last_, std::move(object)});
    *cookie = last_;
    return S_OK;
}

HRESULT SinkList::Unadvise(DWORD cookie) {
    const auto found =
        std::find_if(sinks_.begin(), sinks_.end(), [&](const Sink& sink) { return sink.cookie == cookie; });
    if (found == sinks_.end()) {
        return CONNECT_E_NOCONNECTION;
    }
    // Out of the list first: its release may let other calls in.
    const ComPtr<IDispatch> gone = std::move(found->object);
    sinks_.erase(found);
    return S_OK;
}

bool SinkList::Wanted(DISPID id) const {
    return std::any_of(sinks_.begin(), sinks_.end(), [&](const Sink& sink) { return sink.Hears(id); });
}

void SinkList::LeavesOut(DWORD cookie, DISPID id) {
    for (Sink& sink : sinks_) {
        if (sink.cookie == cookie) {
            sink.leftOut.push_back(id);
        }
    }
}

void SinkList::Raise(DISPID id, std::span<VARIANTARG> arguments, std::string_view source, std::string_view event) {
    // By number, because the list may change during a call.
    DWORD done = 0;
    for (;;) {
        const auto next = std::find_if(sinks_.begin(), sinks_.end(),
                                       [&](const Sink& sink) { return sink.cookie > done && sink.Hears(id); });
        if (next == sinks_.end()) {
            return;
        }
        done = next->cookie;
        const ComPtr<IDispatch> sink = next->object;
        DISPPARAMS parameters{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
        const HRESULT outcome =
            sink->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, nullptr, nullptr, nullptr);
        if (outcome == DISP_E_MEMBERNOTFOUND) {
            LeavesOut(done, id);
        } else if (FAILED(outcome) && outcome != E_NOTIMPL) {
            Unadvise(done);
            ReportError("ln 0:A subscriber failed and is not called any more", Hexadecimal(outcome), source, event);
        }
    }
}

std::shared_ptr<SinkList> KnownSinks(const std::shared_ptr<void>& thing) {
    std::erase_if(Kept(), [](const KeptSinks& kept) { return kept.thing.expired(); });
    for (const KeptSinks& kept : Kept()) {
        if (kept.thing.lock() == thing) {
            return kept.sinks.lock();
        }
    }
    return nullptr;
}

void KeepSinks(const std::shared_ptr<void>& thing, const std::shared_ptr<SinkList>& sinks) {
    Kept().push_back({thing, sinks});
}

HRESULT ListConnectionPoints(IEnumConnectionPoints** out, const std::shared_ptr<SinkList>& sinks,
                             IConnectionPointContainer* owner) {
    if (out == nullptr) {
        return E_POINTER;
    }
    *out = nullptr;
    return Guard(IID_IConnectionPointContainer, [&] {
        EnumeratedList<IConnectionPoint*> list;
        list.count = [sinks] { return sinks ? 1UL : 0UL; };
        list.read = [sinks, kept = ComPtr<IConnectionPointContainer>(owner)](ULONG, IConnectionPoint** into) {
            *into = new ConnectionPoint(sinks, kept.Get());
        };
        *out = new Enumerator<IEnumConnectionPoints, IConnectionPoint*>(std::move(list));
    });
}

HRESULT FindConnections(REFIID id, IConnectionPoint** out, const std::shared_ptr<SinkList>& sinks,
                        IConnectionPointContainer* owner) {
    if (out == nullptr) {
        return E_POINTER;
    }
    *out = nullptr;
    if (!sinks || id != sinks->Events()) {
        return CONNECT_E_NOCONNECTION;
    }
    return Guard(IID_IConnectionPointContainer, [&] { *out = new ConnectionPoint(sinks, owner); });
}

}  // namespace kel::automation
