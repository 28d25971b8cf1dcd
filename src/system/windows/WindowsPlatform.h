// The machine that the program runs on, by the system's own calls. See docs/windows.md for what stands behind what.
#pragma once

#include <functional>
#include <memory>

#include "platform/Platform.h"

namespace kel::windows {

/// Owns the parts of the platform record that View() gives. One thread.
class WindowsPlatform {
public:
    /// While it lives, the system shows no message box for a drive without a medium.
    WindowsPlatform();
    ~WindowsPlatform();
    WindowsPlatform(const WindowsPlatform&) = delete;
    WindowsPlatform& operator=(const WindowsPlatform&) = delete;

    /// The parts, valid as long as this object lives.
    [[nodiscard]] platform::Platform View();

    /// Called at every DoEvents, after the waiting messages.
    void OnYield(std::function<void()> function);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace kel::windows
