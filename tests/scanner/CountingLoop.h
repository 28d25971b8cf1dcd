// A message loop for tests of where the scanner yields.
#pragma once

#include <functional>

#include "platform/MessageLoop.h"

namespace kel::test {

/// Counts its turns, and lets a call in at each.
class CountingLoop : public platform::MessageLoop {
public:
    std::function<void()> call = [] {};
    int turns = 0;
    void DoEvents() override {
        ++turns;
        call();
    }
};

}  // namespace kel::test
