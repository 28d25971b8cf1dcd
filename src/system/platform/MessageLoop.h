// The message loop of the engine's one thread.
#pragma once

namespace kel::platform {

/// Never throws.
class MessageLoop {
public:
    virtual ~MessageLoop() = default;
    /// Lets waiting messages and calls in, then returns. Does nothing where there is no message loop, except that a
    /// front end may install a function of its own here.
    virtual void DoEvents() = 0;
};

}  // namespace kel::platform
