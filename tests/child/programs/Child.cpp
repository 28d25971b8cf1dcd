// The child process of a test. It ends when it is ended, when its parent is gone, or after two minutes.
//
//   child run READY PARENT THREADS [MODULE]   sets the event READY when MODULE is loaded and THREADS more threads run
//   child service NAME                        runs as that service
#include <windows.h>

#include <cstdlib>
#include <cstring>

namespace {

constexpr DWORD LongestLife = 120000;

DWORD WINAPI Idle(LPVOID /*unused*/) {
    ::Sleep(LongestLife);
    return 0;
}

int Run(int count, char** arguments) {
    if (count > 5 && ::LoadLibraryA(arguments[5]) == nullptr) {
        return 2;
    }
    for (int started = std::atoi(arguments[4]); started > 0; --started) {
        const HANDLE thread = ::CreateThread(nullptr, 0, Idle, nullptr, 0, nullptr);
        if (thread == nullptr) {
            return 3;
        }
        ::CloseHandle(thread);
    }
    const HANDLE parent =
        ::OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(std::strtoul(arguments[3], nullptr, 10)));
    const HANDLE ready = ::OpenEventA(EVENT_MODIFY_STATE, FALSE, arguments[2]);
    if (parent == nullptr || ready == nullptr || ::SetEvent(ready) == FALSE) {
        return 4;
    }
    ::WaitForSingleObject(parent, LongestLife);
    return 0;
}

struct ServiceState {
    char name[128] = {};
    HANDLE stop = nullptr;
    SERVICE_STATUS_HANDLE handle = nullptr;
};
ServiceState state;

void Tell(DWORD current, DWORD controls) {
    SERVICE_STATUS status{};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = current;
    status.dwControlsAccepted = controls;
    ::SetServiceStatus(state.handle, &status);
}

void WINAPI Handle(DWORD control) {
    if (control == SERVICE_CONTROL_STOP) {
        Tell(SERVICE_STOP_PENDING, 0);
        ::SetEvent(state.stop);
    }
}

void WINAPI ServiceMain(DWORD /*count*/, LPSTR* /*arguments*/) {
    state.stop = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
    state.handle = ::RegisterServiceCtrlHandlerA(state.name, Handle);
    Tell(SERVICE_RUNNING, SERVICE_ACCEPT_STOP);
    ::WaitForSingleObject(state.stop, LongestLife);
    Tell(SERVICE_STOPPED, 0);
}

int RunAsService(const char* name) {
    std::strncpy(state.name, name, sizeof(state.name) - 1);
    SERVICE_TABLE_ENTRYA table[] = {{state.name, ServiceMain}, {nullptr, nullptr}};
    return ::StartServiceCtrlDispatcherA(table) != FALSE ? 0 : 5;
}

}  // namespace

int main(int count, char** arguments) {
    if (count >= 5 && std::strcmp(arguments[1], "run") == 0) {
        return Run(count, arguments);
    }
    if (count == 3 && std::strcmp(arguments[1], "service") == 0) {
        return RunAsService(arguments[2]);
    }
    return 64;
}
