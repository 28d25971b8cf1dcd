#include "windows/TickCount.h"

#include <windows.h>

#include <atomic>

#include "windows/Win32.h"

// The compiler's run time imports three calls that Windows 2000 and XP lack, and a program with an import that the
// system lacks does not start. The names that the linker looks for are therefore defined here, with a way around.
#ifdef _WIN64
#define KEL_CALL(name, bytes) name
#define KEL_IMPORT(name, bytes) "__imp_" name
#else
#define KEL_CALL(name, bytes) "_" name "@" bytes
#define KEL_IMPORT(name, bytes) "__imp__" name "@" bytes
#endif

namespace kel::windows {

std::uint64_t TickCount() {
    // High half: how often the system's counter of 32 bits began again, low half: its last answer.
    static std::atomic<std::uint64_t> last{0};
    std::uint64_t before = last.load();
    for (;;) {
        const std::uint32_t now = ::GetTickCount();
        std::uint64_t after = (before & 0xFFFFFFFF00000000ULL) | now;
        // A small step back is another thread that was faster, a big one is a new beginning.
        const bool begunAgain =
            now < static_cast<std::uint32_t>(before) && static_cast<std::uint32_t>(before) - now > 0x80000000U;
        if (begunAgain) {
            after += 0x100000000ULL;
        } else if (after < before) {
            return before;
        }
        if (last.compare_exchange_weak(before, after)) {
            return after;
        }
    }
}

namespace {

using AddHandler = PVOID(WINAPI*)(ULONG, PVECTORED_EXCEPTION_HANDLER);
using RemoveHandler = ULONG(WINAPI*)(PVOID);

}  // namespace

}  // namespace kel::windows

extern "C" {

ULONGLONG WINAPI KelGetTickCount64() asm(KEL_CALL("GetTickCount64", "0"));
ULONGLONG WINAPI KelGetTickCount64() {
    return kel::windows::TickCount();
}

// Without it the run time gives up on naming threads for debuggers, and on nothing else.
PVOID WINAPI KelAddHandler(ULONG first,
                           PVECTORED_EXCEPTION_HANDLER handler) asm(KEL_CALL("AddVectoredExceptionHandler", "8"));
PVOID WINAPI KelAddHandler(ULONG first, PVECTORED_EXCEPTION_HANDLER handler) {
    const auto add = kel::windows::Import<kel::windows::AddHandler>("kernel32.dll", "AddVectoredExceptionHandler");
    return add == nullptr ? nullptr : add(first, handler);
}

ULONG WINAPI KelRemoveHandler(PVOID handler) asm(KEL_CALL("RemoveVectoredExceptionHandler", "4"));
ULONG WINAPI KelRemoveHandler(PVOID handler) {
    const auto remove =
        kel::windows::Import<kel::windows::RemoveHandler>("kernel32.dll", "RemoveVectoredExceptionHandler");
    return remove == nullptr ? 0 : remove(handler);
}

extern decltype(&KelGetTickCount64) const KelGetTickCount64Import asm(KEL_IMPORT("GetTickCount64", "0"));
decltype(&KelGetTickCount64) const KelGetTickCount64Import = KelGetTickCount64;
extern decltype(&KelAddHandler) const KelAddHandlerImport asm(KEL_IMPORT("AddVectoredExceptionHandler", "8"));
decltype(&KelAddHandler) const KelAddHandlerImport = KelAddHandler;
extern decltype(&KelRemoveHandler) const KelRemoveHandlerImport asm(KEL_IMPORT("RemoveVectoredExceptionHandler", "4"));
decltype(&KelRemoveHandler) const KelRemoveHandlerImport = KelRemoveHandler;

}  // extern "C"
