// The server that only answers: no type library, no engine.
#pragma once

#include "automation/Com.h"

namespace kel::bench {

constexpr CLSID BareServer{0x3a0c56d1, 0x7d6b, 0x4b3a, {0x9d, 0x52, 0x1e, 0x60, 0x7f, 0x0a, 0x44, 0x21}};

/// Its members, each with one argument at most.
enum BareMember : DISPID {
    BareText = 1,       ///< a property that holds a text
    BareSubscribe = 2,  ///< takes the sink
    BareEvent = 3,      ///< raises one event at the sink, with a text and two numbers
    BareEvents = 4,     ///< raises that many pairs of events: one with a text and two numbers, one with a flag
};

}  // namespace kel::bench
