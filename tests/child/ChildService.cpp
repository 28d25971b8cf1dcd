#include "child/ChildService.h"

#include <gtest/gtest.h>
#include <windows.h>
// After windows.h.
#include <winsvc.h>

#include <atomic>
#include <utility>

#include "child/CarriedPrograms.h"
#include "support/ScratchMachine.h"

namespace kel::test {

struct ChildService::Impl {
    platform::Platform platform;
    std::string program;
    std::string name;
    SC_HANDLE manager = nullptr;
    SC_HANDLE service = nullptr;

    [[nodiscard]] DWORD State() const {
        SERVICE_STATUS status{};
        EXPECT_NE(::QueryServiceStatus(service, &status), FALSE);
        return status.dwCurrentState;
    }
    // While many programs come and go, the service manager now and then loses the one that it starts.
    [[nodiscard]] bool Starts() const {
        bool started = ::StartServiceA(service, 0, nullptr) != FALSE;
        for (int turn = 0; turn < 10 && !started; ++turn) {
            ::Sleep(100);
            started = ::StartServiceA(service, 0, nullptr) != FALSE;
        }
        return started;
    }
    // Services have no event to wait for.
    [[nodiscard]] bool Reaches(DWORD state) const {
        for (int turn = 0; turn < 1000 && State() != state; ++turn) {
            ::Sleep(10);
        }
        return State() == state;
    }
};

ChildService::ChildService(const platform::Platform& platform, std::string programPath)
    : impl_(new Impl{platform, std::move(programPath), {}}) {
    static std::atomic<unsigned> serial{0};
    impl_->name = "keltest" + std::to_string(::GetCurrentProcessId()) + "-" + std::to_string(++serial);
    WriteFile(platform, impl_->program, ChildProgram());
    impl_->manager = ::OpenSCManagerA(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    EXPECT_NE(impl_->manager, nullptr);
    const std::string command = "\"" + impl_->program + "\" service " + impl_->name;
    impl_->service = ::CreateServiceA(impl_->manager, impl_->name.c_str(), impl_->name.c_str(), SERVICE_ALL_ACCESS,
                                      SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START, SERVICE_ERROR_IGNORE,
                                      command.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr);
    EXPECT_NE(impl_->service, nullptr) << "error " << ::GetLastError();
    EXPECT_TRUE(impl_->Starts()) << "error " << ::GetLastError();
    EXPECT_TRUE(impl_->Reaches(SERVICE_RUNNING));
}

ChildService::~ChildService() {
    SERVICE_STATUS status{};
    ::ControlService(impl_->service, SERVICE_CONTROL_STOP, &status);
    (void)impl_->Reaches(SERVICE_STOPPED);
    ::DeleteService(impl_->service);
    ::CloseServiceHandle(impl_->service);
    ::CloseServiceHandle(impl_->manager);
    // Its process ends a moment after it has said so, and holds its file until then.
    for (int turn = 0; turn < 1000; ++turn) {
        const platform::SysError error = impl_->platform.files->Remove(impl_->program);
        if (error == platform::SysError::Success || error == platform::SysError::FileNotFound) {
            break;
        }
        ::Sleep(10);
    }
}

const std::string& ChildService::Name() const {
    return impl_->name;
}

bool ChildService::IsRunning() const {
    return impl_->State() == SERVICE_RUNNING;
}

bool ChildService::Stops() const {
    return impl_->Reaches(SERVICE_STOPPED);
}

}  // namespace kel::test
