// Arguments of an event while it is raised.
#pragma once

#include <array>
#include <concepts>
#include <cstdint>
#include <span>
#include <string_view>
#include <type_traits>

#include "automation/Connections.h"
#include "automation/Convert.h"

namespace kel::automation {

inline Variant EventArgument(std::string_view text) {
    return Variant(text);
}
inline Variant EventArgument(std::int32_t number) {
    return Variant(number);
}
template <class Enumeration>
requires std::is_enum_v<Enumeration> Variant EventArgument(Enumeration value) {
    return Variant(static_cast<std::int32_t>(value));
}
/// In and out: it must outlive the event.
inline Variant EventArgument(VARIANT_BOOL* flag) {
    Variant argument;
    argument.Ptr()->vt = VT_BYREF | VT_BOOL;
    argument.Ptr()->pboolVal = flag;
    return argument;
}

/// Raises an event with its arguments in their order. Texts are made only when someone hears it.
template <class... Arguments>
void RaiseEvent(const std::shared_ptr<SinkList>& sinks, DISPID id, std::string_view source, std::string_view event,
                Arguments... arguments) {
    if (!sinks->Wanted(id)) {
        return;
    }
    std::array<Variant, sizeof...(Arguments)> owned{EventArgument(arguments)...};
    std::array<VARIANTARG, sizeof...(Arguments)> lastFirst;
    for (std::size_t place = 0; place < owned.size(); ++place) {
        lastFirst[owned.size() - 1 - place] = owned[place].Get();
    }
    sinks->Raise(id, lastFirst, source, event);
}

}  // namespace kel::automation
