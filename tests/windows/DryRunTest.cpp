// A dry run over a machine that runs: its processes and services go on.
#include <gmock/gmock.h>

#include "child/ChildProcess.h"
#include "child/ChildService.h"
#include "decorators/DryRunPlatform.h"
#include "support/ScratchMachine.h"

namespace kel::test {
namespace {

using decorators::SwallowedWrite;
using platform::SysError;
using ::testing::ElementsAre;

class LiveDryRun : public ::testing::Test {
protected:
    ScratchMachine machine_;
    std::vector<std::string> texts_;
    decorators::DryRunPlatform dryRun_{machine_.View(),
                                       [this](const SwallowedWrite& write) { texts_.push_back(write.text); }};
    platform::Platform view_{dryRun_.View()};
};

TEST_F(LiveDryRun, AServiceThatIsStoppedRunsOn) {
    const ChildService service(machine_.View(), machine_.Folder() + "kelservice.exe");
    const auto manager = view_.services->OpenManager("", "ServicesActive", 0xF003F);
    ASSERT_TRUE(manager.Ok());
    const auto open = (*manager)->Open(service.Name(), 0xF01FF);
    ASSERT_TRUE(open.Ok());
    EXPECT_EQ((*open)->Control(1), SysError::Success);
    EXPECT_EQ((*open)->Control(1), static_cast<SysError>(1062)) << "seen as stopped";
    EXPECT_TRUE(service.IsRunning());
    EXPECT_THAT(texts_, ElementsAre("control service " + service.Name() + " with 1"));
}

TEST_F(LiveDryRun, AProcessThatIsEndedRunsOn) {
    const ChildProcess child(machine_.View(), machine_.Folder() + "kelchild.exe");
    const auto process = view_.processes->Open(child.Id(), 1025);
    ASSERT_TRUE(process.Ok());
    EXPECT_EQ((*process)->End(1), SysError::Success);
    EXPECT_FALSE(view_.processes->Open(child.Id(), 1025).Ok()) << "seen as ended";
    EXPECT_TRUE(child.Runs());
    EXPECT_THAT(texts_, ElementsAre(::testing::EndsWith("kelchild.exe")));
}

TEST_F(LiveDryRun, RightsToAKeyAreThoseOfTheMachine) {
    const auto key = view_.registry->Open(platform::HiveCurrentUser, machine_.Key(), 1);
    ASSERT_TRUE(key.Ok());
    EXPECT_EQ((*key)->Set("v", platform::ValueType::Sz, "x"), SysError::AccessDenied);
    EXPECT_TRUE(texts_.empty());
}

}  // namespace
}  // namespace kel::test
