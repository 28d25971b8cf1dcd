// A machine that does not run has no processes: those of the host are never touched, whatever the tables say of them.
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iterator>

#include "ScanRun.h"
#include "frontend/ExitCodes.h"

namespace kel::test {
namespace {

namespace fs = std::filesystem;
using frontend::ExitThreats;
using testing::HasSubstr;

// A program of the host, with a child of its own, that runs from a file of the machine.
class HostProcess : public ScanRun {
protected:
    HostProcess() {
        fs::create_directories(Program().parent_path());
        fs::copy_file("/bin/sh", Program());
        std::ifstream stream(Program(), std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
        MakeTables({"9001,Example.Adware.One,Adware,2\n", "9001," + HashOf(bytes) + ",0\n",
                    "9001,c:\\small\\kelspy.exe,0\n", "", ".exe\n"});
        MakeResuscitators("1,kelspy.exe,,true,true,\n1,," + HashOf(bytes) + ",true,true,\n1,e,,true,true,\n");
        child_ = ::fork();
        if (child_ == 0) {
            ::setpgid(0, 0);
            ::execl(Program().c_str(), "kelspy.exe", "-c", "sleep 60 & wait", nullptr);
            ::_exit(127);
        }
    }
    ~HostProcess() override {
        if (Runs()) {
            ::kill(-child_, SIGKILL);
            ::waitpid(child_, nullptr, 0);
        }
    }
    [[nodiscard]] fs::path Program() const { return Machine() / "small" / "kelspy.exe"; }
    [[nodiscard]] bool Runs() {
        if (!ended_) {
            ended_ = ::waitpid(child_, nullptr, WNOHANG) != 0;
        }
        return !ended_;
    }

private:
    pid_t child_ = 0;
    bool ended_ = false;
};

TEST_F(HostProcess, IsNotEndedByAnyScanOfAMachineThatDoesNotRun) {
    const auto before = Snapshot(Machine());
    const Outcome swept = Scan({"--full", "--suspend-active"});
    EXPECT_EQ(swept.code, ExitThreats) << swept.err;
    EXPECT_THAT(swept.out, HasSubstr("suspend-active"));
    EXPECT_THAT(swept.out, HasSubstr("kelspy.exe")) << "its file is found all the same";
    EXPECT_TRUE(Runs());
    EXPECT_EQ(Scan({"--threat", "9001"}).code, ExitThreats);
    EXPECT_TRUE(Runs());
    EXPECT_EQ(Snapshot(Machine()), before);
}

}  // namespace
}  // namespace kel::test
