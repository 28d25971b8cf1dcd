// Cleans that must not begin: nobody to ask, a machine in use, asleep or not to be written.
#include <gmock/gmock.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <fstream>

#include "../CapturedStream.h"
#include "../PseudoTerminal.h"
#include "CleanRun.h"
#include "HostCalls.h"
#include "frontend/CommandLine.h"
#include "frontend/ExitCodes.h"
#include "frontend/Interrupt.h"
#include "frontend/Question.h"
#include "support/StandInWineServer.h"

namespace kel::test {
namespace {

using frontend::ExitClean;
using frontend::ExitNoInput;
using frontend::ExitThreats;
using frontend::ExitUsage;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

class RefusedClean : public CleanRun {
protected:
    /// A scan that asks, with the answer typed beforehand.
    Outcome Asked(const std::string& answer, const std::vector<std::string>& more = {}) const {
        const PseudoTerminal screen(120);
        screen.Type(answer);
        const CapturedStream out;
        std::vector<std::string> arguments{"scan",          "--machine",   Machine().string(),  "--data",
                                           Data().string(), "--user-data", UserData().string(), "--quarantine"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const int code = frontend::Run(arguments, {out.File(), screen.File(), screen.File()});
        return {code, out.Text(), screen.Read()};
    }
};

TEST_F(RefusedClean, WithoutATerminalAndWithoutYesNothingBegins) {
    const auto before = Snapshot(Machine());
    for (const char* how : {"--quarantine", "--destroy"}) {
        const Outcome outcome = Scan({how});
        EXPECT_EQ(outcome.code, ExitUsage);
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.err, HasSubstr(std::string(how) + " removes threats from the machine, and there is no "
                                                              "terminal to ask on; say --yes"));
        EXPECT_FALSE(std::filesystem::exists(UserData()));
    }
    EXPECT_EQ(Snapshot(Machine()), before);
}

TEST_F(RefusedClean, OnATerminalItIsShownAndAsked) {
    const Outcome outcome = Asked("y\n", {"--threat", "1", "--no-progress"});
    EXPECT_EQ(outcome.code, ExitThreats);
    EXPECT_EQ(outcome.err,
              "These threats will be removed from the machine into the quarantine:\n  Example.Path  (threat 1)\n"
              "    file  C:\\users\\ada\\Desktop\\pic.exe\n    file  C:\\windows\\system32\\TIN.DLL\nGo on? [y/N] ");
    EXPECT_THAT(outcome.out, HasSubstr("1 threat removed, 2 locations in all\n"));
    EXPECT_THAT(Records(), SizeIs(1));
}

TEST_F(RefusedClean, AnythingButYesLeavesEverything) {
    const auto before = Snapshot(Machine());
    for (const char* answer : {"n\n", "\n", "yes please\n", "y e\n"}) {
        const Outcome outcome = Asked(answer);
        EXPECT_EQ(outcome.code, ExitThreats) << answer;
        EXPECT_THAT(outcome.out, HasSubstr("(threat 2): left alone: not wanted by the user\n")) << answer;
        EXPECT_THAT(outcome.out, HasSubstr("Nothing was removed\n")) << answer;
    }
    EXPECT_EQ(Snapshot(Machine()), before);
    EXPECT_THAT(Records(), IsEmpty());
}

TEST_F(RefusedClean, AnInterruptionAtTheQuestionIsNoAnswer) {
    const auto before = Snapshot(Machine());
    const PseudoTerminal screen(120);
    screen.Type("y");
    const CapturedStream out;
    HostCalls calls;
    // The question is asked behind the scan's own words, with which its results end.
    calls.onWrite = [&](std::string_view text) {
        if (text.find("clean_start") != std::string_view::npos) {
            std::raise(SIGINT);
        }
    };
    Outcome outcome;
    outcome.code = frontend::Run({"scan", "--machine", Machine().string(), "--data", Data().string(), "--user-data",
                                  UserData().string(), "--quarantine", "--no-progress", "--format", "jsonl"},
                                 {out.File(), screen.File(), screen.File()});
    outcome.out = out.Text();
    EXPECT_EQ(outcome.code, frontend::ExitIncomplete);
    EXPECT_EQ(Objects(outcome, "clean").at(0).at("result"), "skipped");
    EXPECT_EQ(Objects(outcome, "clean").at(0).at("reason"), "interrupted by the user");
    EXPECT_EQ(Objects(outcome, "clean_summary").at(0).at("interrupted"), true);
    EXPECT_EQ(Snapshot(Machine()), before);
}

TEST_F(RefusedClean, AnAnswerThatWasNotSentOffIsNone) {
    const frontend::Interrupt none;
    for (const bool sent : {false, true}) {
        const CapturedStream answer;
        std::fputs(sent ? "Yes\n" : "Yes", answer.File());
        std::rewind(answer.File());
        const CapturedStream question;
        EXPECT_EQ(frontend::Ask({nullptr, question.File(), answer.File()}, "Go on? "), sent);
        EXPECT_EQ(question.Text(), "Go on? ");
    }
}

TEST_F(RefusedClean, TheProgressNamesStagesAndItems) {
    const Outcome outcome = Asked("YES\n");
    EXPECT_EQ(outcome.code, ExitThreats);
    EXPECT_THAT(outcome.err, HasSubstr("\r\x1b[KExample.Path: Removing application memory files..."));
    EXPECT_THAT(outcome.err, HasSubstr("\r\x1b[KExample.Path: Removing file C:\\windows\\system32\\TIN.DLL..."));
    EXPECT_THAT(outcome.err, testing::EndsWith("\r\x1b[K"));
    EXPECT_THAT(outcome.out, Not(HasSubstr("\x1b")));
}

TEST_F(RefusedClean, ASleepingWindowsAndADriveThatSleepsAreRefusedByName) {
    Write("disk/WINDOWS/system32/config/x", "");
    Write("disk/hiberfil.sys", "hibr");
    const std::string disk = (Root() / "disk").string();
    const Outcome machine = Run({"scan", "--machine", disk, "--data", Data().string(), "--user-data",
                                 UserData().string(), "--quarantine", "--yes"});
    EXPECT_EQ(machine.code, ExitNoInput);
    EXPECT_THAT(machine.err, HasSubstr(disk + " is hibernated"));
    const Outcome drive = Scan({"--drive", "D=" + disk, "--quarantine", "--yes"});
    EXPECT_EQ(drive.code, ExitNoInput);
    EXPECT_THAT(drive.err, HasSubstr(disk + " is hibernated"));
    EXPECT_FALSE(std::filesystem::exists(UserData()));
    EXPECT_EQ(Scan({"--drive", "D=" + disk}).code, ExitThreats) << "looking is allowed";
}

// What a process of its own may be given: mounts that nobody else sees, another user.
class UnwritableClean : public RefusedClean {
protected:
    UnwritableClean() {
        std::filesystem::permissions(Root(), std::filesystem::perms(0755));
        Folder("user");
        std::filesystem::permissions(UserData(), std::filesystem::perms(0777));
    }
    ~UnwritableClean() override { std::filesystem::permissions(Machine(), std::filesystem::perms(0755)); }

    static constexpr int CannotBeHad = 77;
    /// Scans and cleans in such a process, which `prepare` makes; false when it can't be had.
    template <class Prepare>
    bool Refused(const std::string& expected, const Prepare& prepare) const {
        const auto before = Snapshot(Machine());
        const pid_t child = ::fork();
        if (child == 0) {
            if (!prepare()) {
                ::_exit(CannotBeHad);
            }
            const Outcome clean = Clean();
            const bool named = clean.err.find(expected) != std::string::npos;
            if (!named) {
                std::fprintf(stderr, "%s\n", clean.err.c_str());
            }
            ::_exit(named && Scan().code == ExitThreats ? clean.code : -1);
        }
        int status = 0;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(Snapshot(Machine()), before);
        if (WIFEXITED(status) && WEXITSTATUS(status) == CannotBeHad) {
            return false;
        }
        EXPECT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), ExitNoInput);
        EXPECT_FALSE(std::filesystem::exists(UserData() / "Quarantine"));
        return true;
    }
};

TEST_F(UnwritableClean, AMachineThatIsMountedReadOnlyIsRefusedByName) {
    const std::string machine = Machine().string();
    const auto mounts = [&] {
        const char* path = machine.c_str();
        return ::unshare(CLONE_NEWNS) == 0 && ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
               ::mount(path, path, nullptr, MS_BIND, nullptr) == 0 &&
               ::mount(nullptr, path, nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) == 0;
    };
    if (!Refused(machine + " is mounted read-only", mounts)) {
        GTEST_SKIP() << "no mounts of one's own on this host";
    }
}

TEST_F(UnwritableClean, AFolderThatTheUserMayNotChangeIsRefusedByName) {
    std::filesystem::permissions(Machine(), std::filesystem::perms(0555));
    const auto nobody = [] {
        constexpr uid_t Nobody = 65534;
        return ::geteuid() != 0 || ::seteuid(Nobody) == 0;
    };
    EXPECT_TRUE(Refused(Machine().string() + " can't be written by this user", nobody));
}

// A Wine prefix whose server runs.
class LiveWine : public RefusedClean {
protected:
    LiveWine() : server(Machine()) { server.Hold(); }

    StandInWineServer server;
};

TEST_F(LiveWine, APrefixInUseIsRefusedByNameBeforeAnythingIsTouched) {
    const auto before = Snapshot(Root());
    const Outcome clean = Clean();
    EXPECT_EQ(clean.code, ExitNoInput);
    EXPECT_THAT(clean.err,
                HasSubstr(Machine().string() + " is in use: its Wine server holds " + server.Lock().string()));
    EXPECT_EQ(Snapshot(Root()), before);
    EXPECT_EQ(Scan().code, ExitThreats) << "looking is allowed";
    EXPECT_EQ(Scan({"--quarantine", "--dry-run"}).code, ExitThreats) << "and so is a dry run";
    const Outcome restore = Quarantine({"restore", "x"});
    EXPECT_EQ(restore.code, ExitNoInput);
    EXPECT_THAT(restore.err, HasSubstr("is in use"));
}

}  // namespace
}  // namespace kel::test
