// kvASThreatAuditpk.exe with processes that run.
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "LogLines.h"
#include "child/ChildProcess.h"
#include "companions/Names.h"
#include "core/Text.h"
#include "programs/CarriedCompanions.h"
#include "programs/RunningProgram.h"
#include "programs/UserDataValue.h"
#include "support/EngineTest.h"

namespace kel::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class TreeProgram : public EngineTest {
protected:
    TreeProgram() : value_(Machine(), UserFolder()) { WriteFile(Program(), TreeProgramFile()); }

    [[nodiscard]] std::string Program() const { return AppFolder() + "kvASThreatAuditpk.exe"; }
    ProgramEnd Run(const std::string& arguments) { return RunProgram(Program(), arguments); }
    [[nodiscard]] std::vector<std::string> Log() { return LogLines(Machine(), UserFolder(), companions::TreeProgram); }
    [[nodiscard]] static std::string Number(std::uint32_t id) { return Text(static_cast<std::int64_t>(id)); }

private:
    UserDataValue value_;
};

TEST_F(TreeProgram, EndsAProcessWithItsChildFirst) {
    const ChildProcess parent(Machine(), Folder() + "parent.exe", {.childPath = Folder() + "child.exe"});
    const ChildProcess other(Machine(), Folder() + "other.exe");
    const ProgramEnd end = Run(Number(parent.Id()));
    EXPECT_EQ(end.code, 0U);
    EXPECT_EQ(end.said, "");
    EXPECT_TRUE(parent.Ended());
    EXPECT_TRUE(parent.ChildEnded());
    EXPECT_EQ(parent.ExitCode(), 1U);
    EXPECT_EQ(parent.ChildExitCode(), 1U);
    EXPECT_TRUE(other.Runs()) << "a sister of the process is no part of its tree";
    EXPECT_THAT(Log(), ElementsAre(StartsWith("Ended process " + Number(parent.ChildId()) + " ("),
                                   StartsWith("Ended process " + Number(parent.Id()) + " (")));
}

TEST_F(TreeProgram, EndsAChildAloneWithoutItsParent) {
    const ChildProcess parent(Machine(), Folder() + "parent.exe", {.childPath = Folder() + "child.exe"});
    EXPECT_EQ(Run(Number(parent.ChildId())).code, 0U);
    EXPECT_TRUE(parent.ChildEnded());
    EXPECT_TRUE(parent.Runs());
}

TEST_F(TreeProgram, EndsNothingForMinusOne) {
    const ChildProcess child(Machine(), Folder() + "child.exe");
    const ProgramEnd end = Run("-1");
    EXPECT_EQ(end.code, 2U);
    EXPECT_EQ(end.said, "kvASThreatAuditpk: \"-1\" is no process number: nothing is ended\r\n");
    EXPECT_TRUE(child.Runs());
    EXPECT_THAT(Log(), ElementsAre("Failed: \"-1\" is no process number: nothing is ended"));
}

TEST_F(TreeProgram, EndsNothingForWhatIsNoNumber) {
    const ChildProcess child(Machine(), Folder() + "child.exe");
    const std::string id = Number(child.Id());
    for (const std::string& arguments : {std::string(), id + " " + id, "+" + id, id + "x", std::string("child.exe")}) {
        EXPECT_EQ(Run(arguments).code, 2U) << arguments;
    }
    EXPECT_TRUE(child.Runs());
}

TEST_F(TreeProgram, RefusesTheSystem) {
    EXPECT_EQ(Run("0").code, 4U);
    EXPECT_EQ(Run("4").code, 4U);
}

TEST_F(TreeProgram, RefusesTheProcessThatStartedIt) {
    const ChildProcess child(Machine(), Folder() + "child.exe");
    const ProgramEnd end = Run(Number(Machine().processes->CurrentId()));
    EXPECT_EQ(end.code, 4U);
    EXPECT_THAT(end.said, HasSubstr("started this program, or is it"));
    EXPECT_TRUE(child.Runs()) << "nothing of a refused tree is ended";
}

TEST_F(TreeProgram, TellsThatAProcessIsNotThere) {
    EXPECT_EQ(Run("4294967280").code, 3U);
    EXPECT_THAT(Log(), ElementsAre("Failed: There is no process 4294967280"));
}

}  // namespace
}  // namespace kel::test
