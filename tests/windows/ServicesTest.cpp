// Services of the machine, with a service of the test's own.
#include <gtest/gtest.h>
#include <windows.h>
// After windows.h.
#include <winsvc.h>

#include <string>

#include "child/CarriedPrograms.h"
#include "support/EngineTest.h"
#include "system/modServices.h"

namespace kel::test {
namespace {

using platform::SysError;

constexpr std::uint32_t AllOfManager = 0xF003F;
constexpr std::uint32_t AllOfService = 0xF01FF;
constexpr std::uint32_t QueryStatus = 4;
constexpr std::uint32_t ControlStop = 1;
constexpr std::uint32_t ControlInterrogate = 4;

class RunningService : public EngineTest {
protected:
    RunningService() : name_("keltest" + std::to_string(::GetCurrentProcessId())) {
        WriteFile(program_, ChildProgram());
        manager_ = ::OpenSCManagerA(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
        EXPECT_NE(manager_, nullptr);
        service_ = ::CreateServiceA(manager_, name_.c_str(), name_.c_str(), SERVICE_ALL_ACCESS,
                                    SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START, SERVICE_ERROR_IGNORE,
                                    ("\"" + program_ + "\" service " + name_).c_str(), nullptr, nullptr, nullptr,
                                    nullptr, nullptr);
        EXPECT_NE(service_, nullptr) << "error " << ::GetLastError();
        EXPECT_NE(::StartServiceA(service_, 0, nullptr), FALSE) << "error " << ::GetLastError();
        EXPECT_TRUE(Reaches(SERVICE_RUNNING));
    }
    ~RunningService() override {
        SERVICE_STATUS status{};
        ::ControlService(service_, SERVICE_CONTROL_STOP, &status);
        Reaches(SERVICE_STOPPED);
        ::DeleteService(service_);
        ::CloseServiceHandle(service_);
        ::CloseServiceHandle(manager_);
        // Its process ends a moment after it has said so, and holds its file until then.
        for (int turn = 0; turn < 1000 && Machine().files->Remove(program_) != SysError::Success; ++turn) {
            ::Sleep(10);
        }
    }
    RunningService(const RunningService&) = delete;
    RunningService& operator=(const RunningService&) = delete;

    [[nodiscard]] DWORD State() const {
        SERVICE_STATUS status{};
        EXPECT_NE(::QueryServiceStatus(service_, &status), FALSE);
        return status.dwCurrentState;
    }
    // Services have no event to wait for; ten seconds at most.
    bool Reaches(DWORD state) const {
        for (int turn = 0; turn < 1000 && State() != state; ++turn) {
            ::Sleep(10);
        }
        return State() == state;
    }

    std::string name_;
    std::string program_ = Folder() + "kelservice.exe";
    SC_HANDLE manager_ = nullptr;
    SC_HANDLE service_ = nullptr;
};

TEST_F(RunningService, StopsWhenItIsToldTo) {
    modServices::ServiceStop("", name_);
    EXPECT_TRUE(Reaches(SERVICE_STOPPED));
    EXPECT_TRUE(Reported().empty());
}

TEST_F(RunningService, StoppingItTwiceIsNoFailure) {
    modServices::ServiceStop("", name_);
    EXPECT_TRUE(Reaches(SERVICE_STOPPED));
    modServices::ServiceStop("", name_);
    EXPECT_TRUE(Reported().empty());
}

TEST_F(RunningService, StaysWhenAnotherOneIsStopped) {
    modServices::ServiceStop("", name_ + "x");
    EXPECT_EQ(State(), static_cast<DWORD>(SERVICE_RUNNING));
    EXPECT_TRUE(Reported().empty());
}

TEST_F(RunningService, TakesOnlyWhatItsHandleAllows) {
    const auto manager = Machine().services->OpenManager("", "ServicesActive", AllOfManager);
    ASSERT_TRUE(manager.Ok());
    const auto looking = (*manager)->Open(name_, QueryStatus);
    ASSERT_TRUE(looking.Ok());
    EXPECT_EQ((*looking)->Control(ControlStop), SysError::AccessDenied);
    EXPECT_EQ(State(), static_cast<DWORD>(SERVICE_RUNNING));
    const auto whole = (*manager)->Open(name_, AllOfService);
    ASSERT_TRUE(whole.Ok());
    EXPECT_EQ((*whole)->Control(ControlInterrogate), SysError::Success);
    EXPECT_EQ((*whole)->Control(ControlStop), SysError::Success);
    EXPECT_TRUE(Reaches(SERVICE_STOPPED));
    EXPECT_NE((*whole)->Control(ControlStop), SysError::Success) << "it does not run any more";
}

}  // namespace
}  // namespace kel::test
