#include "server/Server.h"

#include <string>
#include <vector>

#include "automation/Classes.h"
#include "automation/TypeLibrary.h"
#include "core/EngineState.h"
#include "engine/modMain.h"
#include "platform/Platform.h"
#include "server/Access.h"
#include "windows/Win32.h"
#include "windows/WindowsPlatform.h"

namespace kel::automation {

namespace {

constexpr char FormClass[] = "frmHolder";
// A client's request may start a second process while the first is coming up. The system takes an early end of that
// process for a failure of the request, although the first one answers it.
constexpr UINT LingerMilliseconds = 3000;

// Two users of one desktop have a server each.
std::string InstanceName() {
    std::string name = "kelThreatEngine.";
    char user[257] = {};
    DWORD length = sizeof user;
    if (::GetUserNameA(user, &length) != FALSE) {
        name += user;
    }
    return name;
}

LRESULT CALLBACK FormProcedure(HWND window, UINT message, WPARAM first, LPARAM second) {
    // Nothing in the engine closes the form; who closes it from outside ends the process.
    if (message == WM_DESTROY) {
        ::PostQuitMessage(0);
        return 0;
    }
    return ::DefWindowProcA(window, message, first, second);
}

class ServerApplication final : public Application {
public:
    bool PrevInstance() override {
        instance_ = windows::KernelHandle(::CreateMutexA(nullptr, FALSE, InstanceName().c_str()));
        const DWORD error = ::GetLastError();
        return error == ERROR_ALREADY_EXISTS || error == ERROR_ACCESS_DENIED;
    }
    void SetTaskVisible(bool visible) override {
        // The 9x line lists processes. Elsewhere only visible windows are listed, and there is none.
        using RegisterServiceProcess = DWORD(WINAPI*)(DWORD process, DWORD type);
        if (const auto hide = windows::Import<RegisterServiceProcess>("kernel32.dll", "RegisterServiceProcess")) {
            hide(0, visible ? 0 : 1);
        }
    }
    void Load(std::unique_ptr<frmHolder> form) override {
        form_ = std::move(form);
        WNDCLASSA registered{};
        registered.lpfnWndProc = FormProcedure;
        registered.hInstance = ::GetModuleHandleA(nullptr);
        registered.lpszClassName = FormClass;
        ::RegisterClassA(&registered);
        window_ = ::CreateWindowExA(0, FormClass, std::string(frmHolder::Caption).c_str(), WS_OVERLAPPEDWINDOW, 0, 0, 0,
                                    0, nullptr, nullptr, registered.hInstance, nullptr);
    }

    [[nodiscard]] bool Resident() const { return form_ != nullptr; }

private:
    windows::KernelHandle instance_;
    std::unique_ptr<frmHolder> form_;
    HWND window_ = nullptr;
};

// The class objects of all classes. No request gets in before the last one is there.
class ClassObjects {
public:
    ClassObjects() {
        for (const CreatableClass& made : CreatableClasses()) {
            DWORD cookie = 0;
            const ComPtr<IClassFactory> factory = MakeClassFactory(made);
            if (SUCCEEDED(::CoRegisterClassObject(made.id, factory.Get(), CLSCTX_LOCAL_SERVER,
                                                  REGCLS_MULTIPLEUSE | REGCLS_SUSPENDED, &cookie))) {
                cookies_.push_back(cookie);
            }
        }
        ::CoResumeClassObjects();
    }
    ~ClassObjects() {
        for (const DWORD cookie : cookies_) {
            ::CoRevokeClassObject(cookie);
        }
    }
    ClassObjects(const ClassObjects&) = delete;
    ClassObjects& operator=(const ClassObjects&) = delete;

    [[nodiscard]] bool Complete() const { return cookies_.size() == CreatableClasses().size(); }

private:
    std::vector<DWORD> cookies_;
};

int RunMessageLoop() {
    MSG message{};
    while (::GetMessageA(&message, nullptr, 0, 0) > 0) {
        ::TranslateMessage(&message);
        ::DispatchMessageA(&message);
    }
    return static_cast<int>(message.wParam);
}

void Linger() {
    const UINT_PTR timer = ::SetTimer(nullptr, 0, LingerMilliseconds, nullptr);
    MSG message{};
    while (timer != 0 && ::GetMessageA(&message, nullptr, 0, 0) > 0 && message.message != WM_TIMER) {
        ::DispatchMessageA(&message);
    }
}

class Apartment {
public:
    Apartment() : ready_(SUCCEEDED(::OleInitialize(nullptr))) {}
    ~Apartment() {
        if (ready_) {
            ::OleUninitialize();
        }
    }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
    [[nodiscard]] bool Ready() const { return ready_; }

private:
    bool ready_;
};

void NameProgram() {
    const std::string program = windows::Narrow(ProgramPath());
    State().App.Path = program.substr(0, program.rfind('\\'));
}

}  // namespace

int Serve(bool embedding) {
    const Apartment apartment;
    if (!apartment.Ready() || !RestrictCallers()) {
        return 1;
    }
    const EngineScope engine;
    windows::WindowsPlatform machine;
    const platform::PlatformScope installed(machine.View());
    NameProgram();
    ServerApplication application;
    modMain::Main(application);
    if (!application.Resident()) {
        if (embedding) {
            Linger();
        }
        return 0;
    }
    const ClassObjects classes;
    return classes.Complete() ? RunMessageLoop() : 1;
}

}  // namespace kel::automation
