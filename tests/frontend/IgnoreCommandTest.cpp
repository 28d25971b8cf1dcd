// ombrelane ignore, and what the engine makes of the list.
#include <gmock/gmock.h>

#include <cstdio>
#include <thread>

#include "RecordRunTest.h"
#include "frontend/ExitCodes.h"
#include "frontend/IgnoreList.h"
#include "frontend/IgnoreReplay.h"
#include "frontend/Machine.h"
#include "frontend/Session.h"

namespace kel::test {
namespace {

using frontend::ExitClean;
using frontend::ExitIncomplete;
using frontend::ExitNoInput;
using frontend::ExitUsage;
using frontend::IgnoreList;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* Heading = "# Threats that ombrelane leaves alone, one number a line.\n";
constexpr const char* EngineFile = "kelIgnoredThreatData.sdb";

class IgnoreCommand : public RecordRunTest {
protected:
    /// A command without the data folder, where threats have no names.
    int Ignore(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "ignore");
        arguments.insert(arguments.end(), {"--user-data", UserData()});
        return RunAsItStands(arguments);
    }
    [[nodiscard]] std::string ListFile() const { return HostFile(InUserData(IgnoreList::FileName)); }
    void WriteList(std::string_view text) const { WriteHostFile(InUserData(IgnoreList::FileName), text); }
    [[nodiscard]] std::vector<std::string> FilesOfTheUser() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(UserData())) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }
};

TEST_F(IgnoreCommand, AnEmptyListSaysSo) {
    EXPECT_EQ(Ignore({"list"}), ExitClean);
    EXPECT_EQ(out, "The ignore list is empty\n");
    EXPECT_EQ(Ignore({"list", "--format", "jsonl"}), ExitClean);
    EXPECT_EQ(out, "");
    EXPECT_THAT(FilesOfTheUser(), IsEmpty());
}

TEST_F(IgnoreCommand, WhatIsAddedIsListedInThatOrder) {
    EXPECT_EQ(Ignore({"add", "9002"}), ExitClean);
    EXPECT_EQ(out, "Threat 9002 is ignored from now on\n");
    EXPECT_EQ(Ignore({"add", "7", "9001"}), ExitClean);
    EXPECT_EQ(out, "Threat 7 is ignored from now on\nThreat 9001 is ignored from now on\n");
    EXPECT_EQ(Ignore({"list"}), ExitClean);
    EXPECT_EQ(out, "9002\n7\n9001\n");
    EXPECT_EQ(err, "");
    EXPECT_EQ(ListFile(), std::string(Heading) + "9002\n7\n9001\n");
}

TEST_F(IgnoreCommand, WithADataFolderThreatsHaveNames) {
    EXPECT_EQ(Run({"ignore", "add", "9001"}), ExitClean);
    EXPECT_EQ(out, "Threat 9001 (Example.Adware.One) is ignored from now on\n");
    EXPECT_EQ(Ignore({"add", "7"}), ExitClean);
    EXPECT_EQ(Run({"ignore", "list"}), ExitClean);
    EXPECT_EQ(out, "9001  Example.Adware.One\n7\n");
    EXPECT_EQ(Run({"ignore", "remove", "9001"}), ExitClean);
    EXPECT_EQ(out, "Threat 9001 (Example.Adware.One) is no longer ignored\n");
    EXPECT_EQ(err, "");
}

TEST_F(IgnoreCommand, JsonLinesTellTheSame) {
    EXPECT_EQ(Run({"ignore", "add", "9001", "--format", "jsonl"}), ExitClean);
    EXPECT_EQ(out, R"({"type":"ignore","threat":9001,"ignored":true,"name":"Example.Adware.One","changed":true})"
                   "\n");
    EXPECT_EQ(Ignore({"add", "9001", "7", "--format", "jsonl"}), ExitClean);
    EXPECT_EQ(out, R"({"type":"ignore","threat":9001,"ignored":true,"changed":false})"
                   "\n"
                   R"({"type":"ignore","threat":7,"ignored":true,"changed":true})"
                   "\n");
    EXPECT_EQ(Run({"ignore", "list", "--format", "jsonl"}), ExitClean);
    EXPECT_EQ(out, R"({"type":"ignore","threat":9001,"ignored":true,"name":"Example.Adware.One"})"
                   "\n"
                   R"({"type":"ignore","threat":7,"ignored":true})"
                   "\n");
    EXPECT_EQ(Ignore({"remove", "7", "--format", "jsonl"}), ExitClean);
    EXPECT_EQ(out, R"({"type":"ignore","threat":7,"ignored":false,"changed":true})"
                   "\n");
}

TEST_F(IgnoreCommand, AddingTwiceChangesNothing) {
    WriteList("9001\n");
    EXPECT_EQ(Ignore({"add", "9001"}), ExitClean);
    EXPECT_EQ(out, "Threat 9001 is ignored already\n");
    EXPECT_EQ(ListFile(), "9001\n");
}

TEST_F(IgnoreCommand, RemovingWhatIsNotThereIsMissingInputAndRemovesNothing) {
    WriteList("1\n2\n");
    EXPECT_EQ(Ignore({"remove", "1", "3"}), ExitNoInput);
    EXPECT_EQ(out, "");
    EXPECT_EQ(err, "ombrelane ignore remove: threat 3 is not on the ignore list\n");
    EXPECT_EQ(ListFile(), "1\n2\n");
}

TEST_F(IgnoreCommand, RemovingTheLastLeavesAnEmptyList) {
    EXPECT_EQ(Ignore({"add", "5"}), ExitClean);
    EXPECT_EQ(Ignore({"remove", "5"}), ExitClean);
    EXPECT_EQ(out, "Threat 5 is no longer ignored\n");
    EXPECT_EQ(ListFile(), Heading);
    EXPECT_EQ(Ignore({"list"}), ExitClean);
    EXPECT_EQ(out, "The ignore list is empty\n");
}

TEST_F(IgnoreCommand, AThreatThatTheDataFolderDoesNotHaveIsNotAdded) {
    EXPECT_EQ(Run({"ignore", "add", "9001", "7"}), ExitNoInput);
    EXPECT_EQ(err, "ombrelane ignore add: no threat 7 in the data folder <root>/data\n");
    EXPECT_EQ(out, "");
    EXPECT_EQ(ListFile(), "");
}

TEST_F(IgnoreCommand, WhatIsNoNumberOfAThreatIsAUsageError) {
    for (const char* word : {"0", "x", "1x", "2147483648", "+1", " 1", "", "1,2", "1.0"}) {
        EXPECT_EQ(Ignore({"add", word}), ExitUsage) << word;
        EXPECT_EQ(out, "");
    }
    EXPECT_THAT(err, HasSubstr("N: expected the number of a threat from 1 to 2147483647, not '1.0'\n"));
    EXPECT_EQ(Ignore({"add", "-1"}), ExitUsage);
    EXPECT_EQ(Ignore({"add"}), ExitUsage);
    EXPECT_THAT(err, HasSubstr("N is required\n"));
    EXPECT_EQ(Ignore({"remove"}), ExitUsage);
    EXPECT_EQ(Ignore({"list", "1"}), ExitUsage);
    EXPECT_EQ(ListFile(), "");
    EXPECT_EQ(Ignore({"add", "2147483647"}), ExitClean);
}

TEST_F(IgnoreCommand, WhatIsMissingIsAUsageError) {
    EXPECT_EQ(RunAsItStands({"ignore"}), ExitUsage);
    EXPECT_THAT(err, HasSubstr("A subcommand is required\n"));
    EXPECT_EQ(RunAsItStands({"ignore", "list"}), ExitUsage);
    EXPECT_EQ(err, "ombrelane ignore list: --user-data is required\nRun with --help for more information.\n");
    EXPECT_EQ(Ignore({"list", "--format", "xml"}), ExitUsage);
    EXPECT_THAT(err, HasSubstr("--format: expected text or jsonl, not 'xml'\n"));
}

TEST_F(IgnoreCommand, FoldersThatAreNotThereAreMissingInputAndAreNotMade) {
    const std::string none = InUserData("none").string();
    for (const auto& arguments :
         {std::vector<std::string>{"ignore", "add", "1", "--user-data", none},
          std::vector<std::string>{"ignore", "list", "--user-data", UserData(), "--data", none},
          std::vector<std::string>{"ignore", "list", "--user-data", UserData(), "--data", UserData()}}) {
        EXPECT_EQ(RunAsItStands(arguments), ExitNoInput);
        EXPECT_EQ(out, "");
        EXPECT_THAT(err, HasSubstr("ombrelane ignore "));
    }
    EXPECT_THAT(FilesOfTheUser(), IsEmpty());
}

TEST_F(IgnoreCommand, PeopleMayEditTheFile) {
    WriteList("\xEF\xBB\xBF# mine\r\n\r\n  9001\t\r\n7\r\n9001\r\n\n#8\n  # 9\n10");
    EXPECT_EQ(Ignore({"list"}), ExitClean);
    EXPECT_EQ(out, "9001\n7\n10\n");
}

TEST_F(IgnoreCommand, ALineThatIsNoNumberMakesTheWholeListUnreadable) {
    WriteList("# list\n9001\nnine\n");
    for (const std::string command : {"list", "add", "remove"}) {
        std::vector<std::string> arguments{command};
        if (command != "list") {
            arguments.emplace_back("9001");
        }
        EXPECT_EQ(Ignore(arguments), ExitNoInput);
        EXPECT_EQ(err, "ombrelane ignore " + command +
                           ": line 3 of the ignore list <root>/user/ombrelane-ignored.txt is no number of a threat\n");
        EXPECT_EQ(out, "");
    }
    EXPECT_EQ(ListFile(), "# list\n9001\nnine\n");
}

TEST_F(IgnoreCommand, AFolderInPlaceOfTheFileIsUnreadable) {
    std::filesystem::create_directory(InUserData(IgnoreList::FileName));
    EXPECT_EQ(Ignore({"add", "1"}), ExitNoInput);
    EXPECT_THAT(err, HasSubstr("can't read the ignore list <root>/user/ombrelane-ignored.txt: it is no file\n"));
}

TEST_F(IgnoreCommand, WhatCanNotBeWrittenIsToldAndTheOldListStays) {
    WriteList("1\n");
    // In the way of the new file.
    std::filesystem::create_directories(InUserData(std::string(IgnoreList::FileName) + ".new") / "x");
    EXPECT_EQ(Ignore({"add", "2"}), ExitIncomplete);
    EXPECT_EQ(out, "");
    EXPECT_THAT(err, HasSubstr("ombrelane ignore add: can't make <root>/user/ombrelane-ignored.txt.new: "));
    EXPECT_EQ(ListFile(), "1\n");
}

TEST_F(IgnoreCommand, WhatAnEarlierRunLeftHalfWrittenIsInNobodysWay) {
    WriteHostFile(InUserData(std::string(IgnoreList::FileName) + ".new"), "half");
    EXPECT_EQ(Ignore({"add", "2"}), ExitClean);
    EXPECT_THAT(FilesOfTheUser(), ElementsAre(IgnoreList::FileName));
    EXPECT_EQ(ListFile(), std::string(Heading) + "2\n");
}

TEST_F(IgnoreCommand, WhoComesSecondWaitsAndLosesNothing) {
    std::vector<std::thread> runs;
    for (int run = 0; run < 8; ++run) {
        runs.emplace_back([this, run] {
            for (int i = 1; i <= 5; ++i) {
                const frontend::IgnoreListLock lock(UserData());
                IgnoreList list = IgnoreList::Read(UserData());
                list.Add(run * 100 + i);
                EXPECT_EQ(list.Write(UserData()), std::nullopt);
            }
        });
    }
    for (std::thread& run : runs) {
        run.join();
    }
    EXPECT_EQ(IgnoreList::Read(UserData()).Numbers().size(), 40U);
    EXPECT_THAT(FilesOfTheUser(), ElementsAre(IgnoreList::FileName));
}

TEST_F(IgnoreCommand, AFolderThatIsNotThereCanNotBeLocked) {
    EXPECT_THROW(frontend::IgnoreListLock(InUserData("none").string()), frontend::MachineError);
}

TEST_F(IgnoreCommand, HelpShowsTheCommandsAndTheirExitCodes) {
    EXPECT_EQ(RunAsItStands({"ignore", "--help"}), ExitClean);
    for (const char* command : {"list", "add", "remove"}) {
        EXPECT_THAT(out, HasSubstr(std::string("  ") + command + " "));
    }
    EXPECT_EQ(RunAsItStands({"ignore", "add", "--help"}), ExitClean);
    EXPECT_THAT(out, HasSubstr("--user-data DIR"));
    EXPECT_THAT(out, HasSubstr("66 no such folder, scan or threat"));
}

// The engine's side.

class IgnoreReplay : public IgnoreCommand {
protected:
    /// Loads everything as a client does at its start, and gives the engine's list.
    [[nodiscard]] std::vector<std::int32_t> LoadedList() const {
        frontend::RecordOptions options;
        options.data = Data();
        options.userData = UserData();
        frontend::DataSession session(options);
        session.LoadAll();
        std::vector<std::int32_t> numbers;
        if (const auto list = State().IgnoredThreatIDs) {
            for (const std::int32_t number : *list) {
                numbers.push_back(number);
            }
        }
        return numbers;
    }
};

TEST_F(IgnoreReplay, TheEngineHasTheUsersListAfterEachLoad) {
    WriteList("9001\n70000\n9002\n");
    // The second and third time the engine's own file is there, and does not come back as it was saved.
    for (int run = 0; run < 3; ++run) {
        EXPECT_THAT(LoadedList(), testing::UnorderedElementsAre(9001, 70000, 9002));
        EXPECT_EQ(HostFile(InUserData(EngineFile)).size(), 18U);
    }
}

TEST_F(IgnoreReplay, WhatTheUserTookAwayIsGoneFromTheEngineToo) {
    WriteList("9001\n9002\n");
    EXPECT_EQ(LoadedList().size(), 2U);
    WriteList("9002\n");
    EXPECT_THAT(LoadedList(), ElementsAre(9002));
    WriteList("");
    EXPECT_THAT(LoadedList(), IsEmpty());
    EXPECT_THAT(LoadedList(), IsEmpty());
}

TEST_F(IgnoreReplay, NumbersThatNobodyIgnoredAreDropped) {
    WriteHostFile(InUserData(EngineFile), std::string("\x2A\0\0\0\x29\x23\0\0", 8));
    WriteList("9001\n");
    EXPECT_THAT(LoadedList(), ElementsAre(9001));
    WriteHostFile(InUserData(EngineFile), std::string("\x2A\0\0\0", 4));
    std::filesystem::remove(InUserData(IgnoreList::FileName));
    EXPECT_THAT(LoadedList(), IsEmpty());
}

TEST_F(IgnoreReplay, ReplayingAgainWritesNothing) {
    WriteList("9001\n9002\n");
    frontend::RecordOptions options;
    options.data = Data();
    options.userData = UserData();
    frontend::DataSession session(options);
    session.LoadAll();
    std::filesystem::remove(InUserData(EngineFile));
    frontend::ReplayIgnoreList(UserData(), *session.Manager().IgnoredThreats());
    EXPECT_FALSE(std::filesystem::exists(InUserData(EngineFile)));
    EXPECT_EQ(State().IgnoredThreatIDs->Count(), 2U);
}

TEST_F(IgnoreReplay, DataThatChangeBeforeAScanDoNotTakeTheListAway) {
    WriteList("9001\n9002\n");
    frontend::SessionOptions options;
    options.data = Data();
    options.userData = UserData();
    std::FILE* notes = std::tmpfile();
    ASSERT_NE(notes, nullptr);
    frontend::Session session(options, notes);
    session.Load();
    tables.threats.push_back({9003, "Example.Worm.Three", "Worm", 2});
    tables.WriteTo(session.Data());
    session.Manager().Scanner()->InitializeScan();
    EXPECT_FALSE(session.Manager().IgnoredThreats()->IsIgnoredThreatID(9001)) << "the load has lost it";
    session.GiveIgnoreList();
    EXPECT_TRUE(session.Manager().IgnoredThreats()->IsIgnoredThreatID(9001));
    EXPECT_EQ(session.Manager().IgnoredThreats()->GetIgnoredThreatCount(), 2);
    std::fclose(notes);
}

TEST_F(IgnoreReplay, AListThatCanNotBeReadIsNoEmptyOne) {
    WriteList("nine\n");
    EXPECT_THROW(static_cast<void>(LoadedList()), frontend::MachineError);
}

}  // namespace
}  // namespace kel::test
