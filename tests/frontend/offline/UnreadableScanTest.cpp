// Files and folders that the program may not look at: each is told, and the machine never counts as clean.
#include <gmock/gmock.h>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

#include "ScanRun.h"
#include "frontend/ExitCodes.h"

namespace kel::test {
namespace {

namespace fs = std::filesystem;
using frontend::ExitClean;
using frontend::ExitIncomplete;
using frontend::ExitThreats;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr uid_t Nobody = 65534;

// Permissions bind the superuser's access to files only while it counts as someone else's.
class OrdinaryUser {
public:
    OrdinaryUser() {
        if (::geteuid() == 0) {
            ::setfsuid(Nobody);
        }
    }
    ~OrdinaryUser() {
        if (::geteuid() == 0) {
            ::setfsuid(0);
        }
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;
};

class UnreadableScan : public ScanRun {
protected:
    UnreadableScan() {
        MakeTables();
        Folder("user");
        if (::geteuid() == 0) {
            fs::permissions(Root(), fs::perms(0755));
            EXPECT_EQ(::chown(UserData().c_str(), Nobody, Nobody), 0);
        }
    }
    void Forbid(const std::string& path, unsigned mode) const { fs::permissions(Root() / path, fs::perms(mode)); }
    Outcome ScanAsUser(const std::vector<std::string>& more = {}) const {
        const OrdinaryUser user;
        return Scan(more);
    }
    /// The error lines of a run with JSON lines.
    std::vector<std::string> Errors(const Outcome& outcome) const {
        std::vector<std::string> errors;
        for (const std::string& line : Lines(outcome.out)) {
            if (line.starts_with(R"({"type":"error",)")) {
                errors.push_back(line);
            }
        }
        return errors;
    }
    static std::string Denied(const std::string& location) {
        return R"~({"type":"error","kind":"unreadable","message":"can't be read (error 5)","location":")~" + location +
               "\"}";
    }
};

TEST_F(UnreadableScan, AFolderThatCanNotBeListedIsToldByItsName) {
    Write("machine/secret/x.exe", Bad());
    Write("machine/open/x.txt", "x");
    Forbid("machine/secret", 0);
    const Outcome outcome = ScanAsUser({"--path", "C:\\", "--format", "jsonl"});
    EXPECT_EQ(outcome.code, ExitIncomplete);
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(Errors(outcome), ElementsAre(Denied("C:\\\\secret")));
    EXPECT_EQ(Lines(outcome.out).back(),
              R"({"type":"summary","complete":true,"threats":0,"locations":0,"files":1,"errors":0,)"
              R"("unreadable":1,"abort_reason":"","seconds":<seconds>,"processes":0,"registry":0,"cookies":0})");
}

TEST_F(UnreadableScan, InTextItGoesToTheDiagnosticsAndIsCounted) {
    Write("machine/secret/x.exe", Bad());
    Forbid("machine/secret", 0);
    const Outcome outcome = ScanAsUser({"--path", "C:\\"});
    EXPECT_EQ(outcome.code, ExitIncomplete);
    EXPECT_EQ(outcome.err, "ombrelane: C:\\secret: can't be read (error 5)\n");
    EXPECT_THAT(
        Lines(outcome.out),
        ElementsAre("Scanning C:\\ of <root>/machine, depth deep, signature data 105", "Stages: drives", "",
                    "No threats found", "0 locations scanned in <seconds> s", "1 file or folder could not be read"));
}

TEST_F(UnreadableScan, AFileThatCanNotBeReadIsToldOnce) {
    Write("machine/a/locked.exe", Bad());
    Forbid("machine/a/locked.exe", 0);
    const Outcome outcome = ScanAsUser({"--format", "jsonl", "--path", "C:\\a", "--path", "C:\\"});
    EXPECT_EQ(outcome.code, ExitIncomplete);
    EXPECT_THAT(Errors(outcome), ElementsAre(Denied("C:\\\\a\\\\locked.exe")));
}

TEST_F(UnreadableScan, ThreatsAreStillFoundAndOutweighIt) {
    Write("machine/a/locked.exe", Bad());
    Write("machine/b/bad.exe", Bad());
    Forbid("machine/a/locked.exe", 0);
    const Outcome outcome = ScanAsUser({"--format", "jsonl"});
    EXPECT_EQ(outcome.code, ExitThreats);
    EXPECT_THAT(Errors(outcome), ElementsAre(Denied("C:\\\\a\\\\locked.exe")));
    EXPECT_THAT(Lines(outcome.out).back(), testing::HasSubstr(R"("threats":1,"locations":1,)"));
}

TEST_F(UnreadableScan, AFolderWhoseNamesCanBeListedAndNothingElseIsTold) {
    Write("machine/half/x.exe", Bad());
    Forbid("machine/half", 0444);
    const Outcome outcome = ScanAsUser({"--format", "jsonl"});
    EXPECT_EQ(outcome.code, ExitIncomplete) << outcome.out;
    EXPECT_THAT(Errors(outcome), ElementsAre(Denied("C:\\\\half")));
}

TEST_F(UnreadableScan, WhatNeedsNoReadingIsNotUnreadable) {
    Write("machine/small/bad.exe", "x");
    Forbid("machine/small/bad.exe", 0);
    const Outcome outcome = ScanAsUser({"--format", "jsonl", "--depth", "shallow"});
    EXPECT_EQ(outcome.code, ExitThreats);
    EXPECT_THAT(Errors(outcome), IsEmpty());
}

TEST_F(UnreadableScan, WhereEverythingCanBeReadTheMachineIsClean) {
    Write("machine/open/x.txt", "x");
    const Outcome outcome = ScanAsUser();
    EXPECT_EQ(outcome.code, ExitClean) << outcome.err;
    EXPECT_EQ(outcome.err, "");
}

TEST_F(UnreadableScan, ATableThatCanNotBeReadMakesTheScanIncomplete) {
    Write("machine/open/x.txt", "x");
    Forbid("data/KelThreatFileMD5.sdb", 0);
    const Outcome outcome = ScanAsUser({"--format", "jsonl"});
    EXPECT_EQ(outcome.code, ExitIncomplete);
    EXPECT_THAT(Lines(outcome.out).back(), testing::HasSubstr(R"("complete":false,)"));
}

}  // namespace
}  // namespace kel::test
