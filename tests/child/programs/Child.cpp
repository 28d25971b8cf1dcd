// The child process of a test. It ends when it is ended, when its parent is gone, or after two minutes.
//
//   child run READY PARENT THREADS [MODULE [CHILD]]
//                        sets the event READY when MODULE is loaded ("-": none), THREADS more threads run and CHILD,
//                        another copy of this program, runs as a child of this one
//   child service NAME   runs as that service
//   child TEXT           writes TEXT into the file of its own name with ".txt" behind it
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr DWORD LongestLife = 120000;

DWORD WINAPI Idle(LPVOID /*unused*/) {
    ::Sleep(LongestLife);
    return 0;
}

// Whether another copy of this program got ready as a child of this process.
bool StartChild(const char* program, const char* ready, const char* parent) {
    char event[128] = {};
    std::snprintf(event, sizeof(event), "%s-child", ready);
    char command[512] = {};
    std::snprintf(command, sizeof(command), "\"%s\" run %s %s 0", program, event, parent);
    const HANDLE childReady = ::CreateEventA(nullptr, TRUE, FALSE, event);
    STARTUPINFOA startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION child{};
    if (::CreateProcessA(program, command, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &child) == FALSE) {
        return false;
    }
    const HANDLE either[] = {childReady, child.hProcess};
    const bool isReady = ::WaitForMultipleObjects(2, either, FALSE, LongestLife) == WAIT_OBJECT_0;
    ::CloseHandle(child.hThread);
    ::CloseHandle(child.hProcess);
    ::CloseHandle(childReady);
    return isReady;
}

int Write(const char* text) {
    char path[MAX_PATH + 8] = {};
    const DWORD length = ::GetModuleFileNameA(nullptr, path, MAX_PATH);
    std::memcpy(path + length, ".txt", sizeof(".txt"));
    const HANDLE file = ::CreateFileA(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD written = 0;
    const BOOL done = ::WriteFile(file, text, static_cast<DWORD>(std::strlen(text)), &written, nullptr);
    ::CloseHandle(file);
    return done != FALSE ? 0 : 6;
}

int Run(int count, char** arguments) {
    if (count > 5 && std::strcmp(arguments[5], "-") != 0 && ::LoadLibraryA(arguments[5]) == nullptr) {
        return 2;
    }
    for (int started = std::atoi(arguments[4]); started > 0; --started) {
        const HANDLE thread = ::CreateThread(nullptr, 0, Idle, nullptr, 0, nullptr);
        if (thread == nullptr) {
            return 3;
        }
        ::CloseHandle(thread);
    }
    if (count > 6 && !StartChild(arguments[6], arguments[2], arguments[3])) {
        return 7;
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
    return count == 2 ? Write(arguments[1]) : 64;
}
