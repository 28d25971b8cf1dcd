// Services of the machine, with a service of the test's own.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "child/ChildService.h"
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
    const std::string& Name() const { return service_.Name(); }

    ChildService service_{Machine(), Folder() + "kelservice.exe"};
};

TEST_F(RunningService, StopsWhenItIsToldTo) {
    modServices::ServiceStop("", Name());
    EXPECT_TRUE(service_.Stops());
    EXPECT_TRUE(Reported().empty());
}

TEST_F(RunningService, StoppingItTwiceIsNoFailure) {
    modServices::ServiceStop("", Name());
    EXPECT_TRUE(service_.Stops());
    modServices::ServiceStop("", Name());
    EXPECT_TRUE(Reported().empty());
}

TEST_F(RunningService, StaysWhenAnotherOneIsStopped) {
    modServices::ServiceStop("", Name() + "x");
    EXPECT_TRUE(service_.IsRunning());
    EXPECT_TRUE(Reported().empty());
}

TEST_F(RunningService, TakesOnlyWhatItsHandleAllows) {
    const auto manager = Machine().services->OpenManager("", "ServicesActive", AllOfManager);
    ASSERT_TRUE(manager.Ok());
    const auto looking = (*manager)->Open(Name(), QueryStatus);
    ASSERT_TRUE(looking.Ok());
    EXPECT_EQ((*looking)->Control(ControlStop), SysError::AccessDenied);
    EXPECT_TRUE(service_.IsRunning());
    const auto whole = (*manager)->Open(Name(), AllOfService);
    ASSERT_TRUE(whole.Ok());
    EXPECT_EQ((*whole)->Control(ControlInterrogate), SysError::Success);
    EXPECT_EQ((*whole)->Control(ControlStop), SysError::Success);
    EXPECT_TRUE(service_.Stops());
    EXPECT_NE((*whole)->Control(ControlStop), SysError::Success) << "it does not run any more";
}

}  // namespace
}  // namespace kel::test
