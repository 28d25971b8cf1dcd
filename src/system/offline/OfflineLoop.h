// The message loop where there are no messages.
#pragma once

#include <functional>
#include <utility>

#include "platform/MessageLoop.h"

namespace kel::offline {

class OfflineLoop : public platform::MessageLoop {
public:
    void DoEvents() override {
        if (function_) {
            function_();
        }
    }
    void OnYield(std::function<void()> function) { function_ = std::move(function); }

private:
    std::function<void()> function_;
};

}  // namespace kel::offline
