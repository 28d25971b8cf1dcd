// The way out of the quarantine: what comes back, what does not, and where the quarantine lies.
#include <gmock/gmock.h>

#include "CleanRun.h"
#include "frontend/ExitCodes.h"

namespace kel::test {
namespace {

using frontend::ExitClean;
using frontend::ExitIncomplete;
using frontend::ExitNoInput;
using frontend::ExitThreats;
using frontend::ExitUsage;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class RestoreRun : public CleanRun {
protected:
    /// Cleans one threat; its record.
    std::string Removed(const std::string& threat, const std::vector<std::string>& more = {}) const {
        std::vector<std::string> arguments{"--threat", threat};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Outcome outcome = Clean(arguments);
        EXPECT_EQ(outcome.code, ExitThreats) << outcome.out << outcome.err;
        return Objects(outcome, "clean").at(0).at("quarantine");
    }
};

TEST_F(RestoreRun, EachItemSaysWhatBecameOfIt) {
    const Outcome outcome = Quarantine({"restore", Removed("1"), "--format", "jsonl"});
    EXPECT_EQ(outcome.code, ExitClean) << outcome.err;
    const auto items = Objects(outcome, "restored_item");
    ASSERT_THAT(items, SizeIs(2));
    for (const json& item : items) {
        EXPECT_EQ(item.at("kind"), "file");
        EXPECT_EQ(item.at("restored"), true) << item;
        EXPECT_EQ(item.at("reason"), "");
    }
    EXPECT_EQ(items[1].at("note"), "its registration needs a running machine: not available");
    const json whole = Objects(outcome, "restored").at(0);
    EXPECT_EQ(whole.at("complete"), true);
    EXPECT_EQ(whole.at("record_kept"), false);
    EXPECT_EQ(whole.at("threat"), 1);
}

TEST_F(RestoreRun, AFileWhoseNameIsTakenIsNamedAndTheCodeIsTwo) {
    const std::string id = Removed("1");
    Write("machine/drive_c/windows/system32/tin.dll", "another");
    const Outcome outcome = Quarantine({"restore", id});
    EXPECT_EQ(outcome.code, ExitIncomplete);
    EXPECT_THAT(outcome.out, HasSubstr("  file      C:\\windows\\system32\\TIN.DLL: NOT restored: something of that "
                                       "name is there already; its copy went with the folder\n"));
    EXPECT_THAT(outcome.out, HasSubstr("  file      C:\\users\\ada\\Desktop\\pic.exe\n"));
    EXPECT_THAT(outcome.out, HasSubstr("  NOT restored in full: "));
    EXPECT_EQ(Contents(Machine()).at("drive_c/windows/system32/tin.dll"), "another");
    EXPECT_EQ(Contents(Machine()).at("drive_c/users/ada/Desktop/pic.exe"), Bad());
    EXPECT_THAT(Records(), IsEmpty());
}

TEST_F(RestoreRun, WhatTheRulesChangeIsSaidBesideTheItem) {
    const Outcome value = Quarantine({"restore", Removed("2"), "--format", "jsonl"});
    EXPECT_EQ(value.code, ExitClean);
    EXPECT_EQ(Objects(value, "restored_item").at(0).at("note"), "its data are not on record: it came back empty");
    const Outcome cookie = Quarantine({"restore", Removed("3"), "--format", "jsonl"});
    EXPECT_EQ(cookie.code, ExitClean);
    EXPECT_EQ(Objects(cookie, "restored_item").at(0).at("note"), "with the mark of the quarantine at its end");
}

TEST_F(RestoreRun, AnUnknownRecordIsRefusedBeforeAnyOtherIsTouched) {
    const std::string id = Removed("1");
    const auto before = Snapshot(Machine());
    for (const char* other : {"none", "it's"}) {
        for (const char* command : {"restore", "destroy", "show"}) {
            const Outcome outcome = Quarantine({command, id, other});
            EXPECT_EQ(outcome.code, ExitNoInput) << command;
            EXPECT_THAT(outcome.err, HasSubstr(std::string("no record ") + other + " in the quarantine of "))
                << command;
        }
    }
    EXPECT_EQ(Snapshot(Machine()), before);
    EXPECT_THAT(Records(), ElementsAre(id));
}

TEST_F(RestoreRun, TheSecondTimeThereIsNoSuchRecord) {
    const std::string id = Removed("1");
    EXPECT_EQ(Quarantine({"restore", id, id}).code, ExitClean) << "named twice, restored once";
    EXPECT_EQ(Quarantine({"restore", id}).code, ExitNoInput);
}

TEST_F(RestoreRun, DestroyingForgetsTheRecordAndItsCopies) {
    const std::string id = Removed("1");
    const Outcome outcome = Run({"quarantine", "destroy", id, "--user-data", UserData().string(), "--format", "jsonl"});
    EXPECT_EQ(outcome.code, ExitClean) << outcome.err;
    EXPECT_EQ(Objects(outcome, "destroyed").at(0).at("complete"), true);
    EXPECT_THAT(Records(), IsEmpty());
    EXPECT_TRUE(std::filesystem::is_empty(UserData() / "Quarantine"));
    EXPECT_FALSE(std::filesystem::exists(Machine() / "drive_c/windows/system32/TIN.DLL"));
}

TEST_F(RestoreRun, TheQuarantineLiesWhereItsRootIsNamed) {
    const std::string root = (Root() / "vault").string();
    const std::string id = Removed("1", {"--quarantine-root", root});
    EXPECT_FALSE(std::filesystem::is_empty(Root() / "vault" / "Quarantine"));
    const Outcome shown =
        Run({"quarantine", "show", id, "--user-data", UserData().string(), "--quarantine-root", root});
    EXPECT_THAT(shown.out, HasSubstr("  kept in   " + root + "/Quarantine/"));
    EXPECT_EQ(Quarantine({"restore", id, "--quarantine-root", root}).code, ExitClean);
    EXPECT_EQ(Contents(Machine()).at("drive_c/users/ada/Desktop/pic.exe"), Bad());
}

TEST_F(RestoreRun, WithoutItsRootNothingIsRestoredAndNothingForgotten) {
    const std::string root = (Root() / "vault").string();
    const std::string id = Removed("1", {"--quarantine-root", root});
    const Outcome outcome = Quarantine({"restore", id});
    EXPECT_EQ(outcome.code, ExitNoInput);
    EXPECT_THAT(outcome.err, HasSubstr("name the root that it was removed into with --quarantine-root"));
    EXPECT_THAT(Records(), ElementsAre(id));
    EXPECT_EQ(Quarantine({"restore", id, "--quarantine-root", root}).code, ExitClean);
}

TEST_F(RestoreRun, OtherDrivesBesideDoNotHideTheQuarantine) {
    const std::string id = Removed("1");
    Folder("other");
    // The letters of the host's folders change with this.
    const Outcome outcome = Quarantine({"restore", id, "--drive", "Z=" + (Root() / "other").string(), "--drive",
                                        "Y=" + (Root() / "other").string(), "--data", Data().string()});
    EXPECT_EQ(outcome.code, ExitClean) << outcome.err;
    EXPECT_EQ(Contents(Machine()).at("drive_c/users/ada/Desktop/pic.exe"), Bad());
}

TEST_F(RestoreRun, TheUsersFolderMayHaveMoved) {
    const std::string id = Removed("1");
    std::filesystem::rename(UserData(), Root() / "moved");
    EXPECT_EQ(
        Run({"quarantine", "restore", id, "--machine", Machine().string(), "--user-data", (Root() / "moved").string()})
            .code,
        ExitClean);
    EXPECT_EQ(Contents(Machine()).at("drive_c/users/ada/Desktop/pic.exe"), Bad());
}

TEST_F(RestoreRun, AMachineIsNeededToRestoreAndNoneToLookOrDestroy) {
    const std::string user = UserData().string();
    EXPECT_EQ(Run({"quarantine", "restore", "x", "--user-data", user}).code, ExitUsage);
    EXPECT_EQ(Run({"quarantine", "restore", "--user-data", user, "--machine", "/"}).code, ExitUsage);
    EXPECT_EQ(Run({"quarantine", "list"}).code, ExitUsage);
    EXPECT_EQ(Run({"quarantine"}).code, ExitUsage);
    EXPECT_EQ(Run({"quarantine", "list", "--user-data", user}).code, ExitNoInput) << "no folder is made";
    EXPECT_FALSE(std::filesystem::exists(UserData()));
}

}  // namespace
}  // namespace kel::test
