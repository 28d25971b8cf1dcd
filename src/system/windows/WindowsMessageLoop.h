// The message queue of the calling thread.
#pragma once

#include <functional>
#include <utility>

#include "platform/MessageLoop.h"

namespace kel::windows {

class WindowsMessageLoop final : public platform::MessageLoop {
public:
    void DoEvents() override;
    void OnYield(std::function<void()> function) { yield_ = std::move(function); }

private:
    std::function<void()> yield_;
};

}  // namespace kel::windows
