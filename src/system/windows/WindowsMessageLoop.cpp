#include "windows/WindowsMessageLoop.h"

#include <windows.h>

namespace kel::windows {

void WindowsMessageLoop::DoEvents() {
    MSG message;
    while (::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) {
        if (message.message == WM_QUIT) {
            // For the thread's own loop, which runs further out.
            ::PostQuitMessage(static_cast<int>(message.wParam));
            break;
        }
        ::TranslateMessage(&message);
        ::DispatchMessageA(&message);
    }
    if (yield_) {
        yield_();
    }
}

}  // namespace kel::windows
