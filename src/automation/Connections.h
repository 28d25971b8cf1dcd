// Events: who subscribed to a thing of the engine, and how they are called.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "automation/Com.h"

namespace kel {
class CleanerCallback;
class ScannerCallback;
}  // namespace kel

namespace kel::automation {

/// The sinks of one source, in the order of subscription. Synchronous: a sink is called inside the engine's own call.
class SinkList {
public:
    /// @param events the event interface
    explicit SinkList(const IID& events) : events_(events) {}

    [[nodiscard]] const IID& Events() const { return events_; }

    /// Subscribes a client's object. @return CONNECT_E_CANNOTCONNECT for one that takes no events.
    HRESULT Advise(IUnknown* sink, DWORD* cookie);
    HRESULT Unadvise(DWORD cookie);

    /// Calls every sink. One that fails or is gone is dropped, with a line in the error log, and the others are called.
    /// A sink that has no such member is not asked for that event again. Sinks may come and go meanwhile.
    /// @param arguments last first; references come back
    /// @param source, event named in the log
    void Raise(DISPID id, std::span<VARIANTARG> arguments, std::string_view source, std::string_view event);

    /// Whether some sink hears that event, as far as is known.
    [[nodiscard]] bool Wanted(DISPID id) const;

    struct Sink {
        DWORD cookie = 0;
        ComPtr<IDispatch> object;
        std::vector<DISPID> leftOut = {};  ///< events that it has no member for

        [[nodiscard]] bool Hears(DISPID id) const {
            return std::find(leftOut.begin(), leftOut.end(), id) == leftOut.end();
        }
    };
    [[nodiscard]] const std::vector<Sink>& Sinks() const { return sinks_; }

private:
    void LeavesOut(DWORD cookie, DISPID id);

    IID events_;
    std::vector<Sink> sinks_;
    DWORD last_ = 0;
};

/// How a thing of the engine is heard: functions are subscribed to it that raise its events at the sinks.
void Listen(ScannerCallback& thing, const std::shared_ptr<SinkList>& sinks);
void Listen(CleanerCallback& thing, const std::shared_ptr<SinkList>& sinks);

/// The list that was kept for a thing, or null.
[[nodiscard]] std::shared_ptr<SinkList> KnownSinks(const std::shared_ptr<void>& thing);
void KeepSinks(const std::shared_ptr<void>& thing, const std::shared_ptr<SinkList>& sinks);

/// The sinks of a thing. They stay with it, not with the object that a client saw it through: a client may let go of
/// that object and still be called.
template <class Engine>
std::shared_ptr<SinkList> SinksOf(const std::shared_ptr<Engine>& thing, const IID& events) {
    std::shared_ptr<SinkList> sinks = KnownSinks(thing);
    if (!sinks) {
        sinks = std::make_shared<SinkList>(events);
        KeepSinks(thing, sinks);
        Listen(*thing, sinks);
    }
    return sinks;
}

// What IConnectionPointContainer answers. `sinks` null: no events.
HRESULT ListConnectionPoints(IEnumConnectionPoints** out, const std::shared_ptr<SinkList>& sinks,
                             IConnectionPointContainer* owner);
HRESULT FindConnections(REFIID id, IConnectionPoint** out, const std::shared_ptr<SinkList>& sinks,
                        IConnectionPointContainer* owner);

}  // namespace kel::automation
