#include "core/Failures.h"

#include <gmock/gmock.h>

#include <functional>
#include <iterator>

#include "core/Collection.h"
#include "core/Recordset.h"
#include "core/Unnoticed.h"
#include "core/Value.h"
#include "decorators/FaultInjectingPlatform.h"
#include "decorators/ForwardingFiles.h"
#include "support/EngineTest.h"

namespace kel {
namespace {

using decorators::FaultInjectingPlatform;
using testing::ElementsAre;

// A machine on which it is always the same moment.
class ErrorChannel : public test::EngineTest {
protected:
    struct StoppedClock : platform::Clock {
        Date Now() override { return Date{38353.5}; }
        std::uint64_t Ticks() override { return 0; }
        std::string DateText(Date date) override { return date == Now() ? "1/1/2005 12:00:00 PM" : "?"; }
        std::string ShortDateText(Date /*date*/) override { return "1/1/2005"; }
        platform::Guid NewGuid() override { return {}; }
    };

    ErrorChannel() {
        platform::Platform platform = Machine();
        platform.clock = &clock_;
        Install(platform);
        State().App.EXEName = "engine";
        State().App.Major = 2;
        State().App.Minor = 10;
        State().App.Revision = 345;
    }

    [[nodiscard]] std::string LogPath() const { return UserFolder() + "logs\\errors.log"; }
    void FillLog(std::size_t bytes) {
        MakeFolder(UserFolder() + "logs");
        WriteFile(LogPath(), std::string(bytes, 'x'));
    }

private:
    StoppedClock clock_;
};

TEST_F(ErrorChannel, ALineHasNumberTextNamesMomentAndVersion) {
    ReportError("ln 12:Type mismatch", "13", "modMain", "InitializeThreatData", 0);
    EXPECT_EQ(ReadFile(LogPath()),
              "13::ln 12:Type mismatch| Application:engine:modMain:InitializeThreatData::1/1/2005 12:00:00 PM::"
              "2.10.345\r\n");
}

TEST_F(ErrorChannel, NumberZeroWithBlanksAroundItIsInformational) {
    ReportError("a", " 0 ", "m", "p");
    ReportError("b", "00", "m", "p");
    ReportError("c", " 5 ", "m", "p");
    const std::string tail = "| Application:engine:m:p::1/1/2005 12:00:00 PM::2.10.345";
    EXPECT_THAT(ErrorLog(), ElementsAre("Informational only:::a" + tail, "00::b" + tail, " 5 ::c" + tail));
    EXPECT_EQ(Failures().informational, 1);
    EXPECT_EQ(Failures().errors, 2);
}

TEST_F(ErrorChannel, ALogOf20000BytesIsAppendedTo) {
    FillLog(20000);
    ReportError("new", "5", "m", "p");
    const std::string log = ReadFile(LogPath());
    EXPECT_GT(log.size(), 20000U);
    EXPECT_EQ(log.compare(20000, 8, "5::new| "), 0);
}

TEST_F(ErrorChannel, ALogOf20001BytesGivesWayToTheNewLine) {
    FillLog(20001);
    ReportError("new", "5", "m", "p");
    EXPECT_EQ(ReadFile(LogPath()), "5::new| Application:engine:m:p::1/1/2005 12:00:00 PM::2.10.345\r\n");
}

TEST_F(ErrorChannel, CallsGetInAfterAFullLogWasDeletedAndOnlyThen) {
    struct Loop : platform::MessageLoop {
        std::vector<bool> logWasThere;
        std::string log;
        void DoEvents() override { logWasThere.push_back(platform::Current().files->PathExists(log)); }
    } loop;
    loop.log = LogPath();
    platform::Platform platform = platform::Current();
    platform.loop = &loop;
    Install(platform);
    ReportError("a", "5", "m", "p");
    EXPECT_TRUE(loop.logWasThere.empty());
    FillLog(20001);
    ReportError("b", "5", "m", "p");
    EXPECT_THAT(loop.logWasThere, ElementsAre(false));
}

TEST_F(ErrorChannel, TheUserDataFolderGetsItsBackslash) {
    State().UserDataFolder = Folder() + "other";
    ReportError("a", "5", "m", "p");
    EXPECT_EQ(State().UserDataFolder, Folder() + "other\\");
    EXPECT_TRUE(Exists(Folder() + "other\\logs\\errors.log"));
}

// Notes where something is to be made, and makes nothing: a real machine's drive stays as it is.
class NotingFiles : public decorators::ForwardingFiles {
public:
    using ForwardingFiles::ForwardingFiles;
    std::vector<std::string> made;

    platform::SysError MakeFolder(std::string_view path) override {
        made.emplace_back(path);
        return platform::SysError::AccessDenied;
    }
    platform::Result<std::unique_ptr<platform::OpenFile>> Open(std::string_view path,
                                                               platform::OpenMode /*mode*/) override {
        made.emplace_back(path);
        return platform::SysError::AccessDenied;
    }
};

TEST_F(ErrorChannel, WithoutAUserDataFolderTheLogGoesToTheRootOfTheDrive) {
    State().UserDataFolder = "";
    platform::Platform platform = platform::Current();
    NotingFiles files(*platform.files);
    platform.files = &files;
    Install(platform);
    ReportError("a", "5", "m", "p");
    Install(Machine());
    EXPECT_EQ(State().UserDataFolder, "\\");
    ASSERT_FALSE(files.made.empty());
    EXPECT_EQ(files.made.back(), "\\logs\\errors.log");
}

TEST_F(ErrorChannel, AFailureToReportReachesNobodyAndLosesOnlyTheLine) {
    ReportError("first", "5", "m", "p");
    FaultInjectingPlatform faults(platform::Current());
    Install(faults.View());
    faults.DiskFullAfter(0);
    ReportError("second", "5", "m", "p");
    faults.Clear();
    faults.Lock(LogPath());
    ReportError("third", "5", "m", "p");
    faults.Clear();
    ReportError("fourth", "5", "m", "p");
    const std::string tail = "| Application:engine:m:p::1/1/2005 12:00:00 PM::2.10.345";
    EXPECT_THAT(ErrorLog(), ElementsAre("5::first" + tail, "5::fourth" + tail));
    EXPECT_EQ(Failures().errors, 4);
}

TEST_F(ErrorChannel, AFullLogThatCanNotBeDeletedLosesTheLine) {
    FillLog(20001);
    FaultInjectingPlatform faults(platform::Current());
    Install(faults.View());
    faults.FailWrite(1, platform::SysError::AccessDenied);
    ReportError("new", "5", "m", "p");
    EXPECT_EQ(ReadFile(LogPath()), std::string(20001, 'x'));
}

TEST_F(ErrorChannel, EveryLineIsOneWriteToAFileOpenedForIt) {
    ReportError("a", "5", "m", "p");
    FaultInjectingPlatform faults(platform::Current());
    Install(faults.View());
    ReportError("b", "5", "m", "p");
    EXPECT_EQ(faults.Writes(), 2U);  // the open and the write
}

TEST_F(ErrorChannel, TrapReportsLineTextAndNumberAndGoesOn) {
    int line = 0;
    std::string result = "default";
    const bool done = Trap("modX", "Procedure", [&] {
        line = __LINE__ + 1;
        Raise(ErrPathNotFound, "C:\\x");
        result = "done";
    });
    EXPECT_FALSE(done);
    EXPECT_EQ(result, "default");
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].description, "ln " + std::to_string(line) + ":Path not found: C:\\x");
    EXPECT_EQ(Reported()[0].number, "76");
    EXPECT_EQ(Reported()[0].module, "modX");
    EXPECT_EQ(Reported()[0].procedure, "Procedure");
}

// What a statement asks of a collection, a table or a conversion fails on the statement's own line, whichever line of
// theirs noticed it.
TEST_F(ErrorChannel, AFailureBelowAStatementHasTheStatementsLine) {
    const Value null = Null{};
    const Value word = std::string("word");
    const Value large = 1e300;
    Collection<int> list;
    list.Add(1, "key");
    Recordset table;
    table.AppendField("Number", FieldType::Integer);
    const std::function<void()> statements[] = {
        [&] { static_cast<void>(list.Item(2)); },
        [&] { static_cast<void>(list.Item("none")); },
        [&] { list.Add(2, "Key"); },
        [&] { list.Remove(7); },
        [&] { list.Remove("none"); },
        [&] { static_cast<void>(table.Eof()); },
        [&] { table.MoveFirst(); },
        [&] { table.SetFilter("Number=1"); },
        [&] { table.AppendField("number", FieldType::Integer); },
        [&] { table.Open(Folder() + "none.sdb"); },
        [&] { static_cast<void>(table.Get("Number")); },
        [&] { static_cast<void>(table.ReadColumn(0)); },
        [&] { static_cast<void>(ToText(null)); },
        [&] { static_cast<void>(ToLong(word)); },
        [&] { static_cast<void>(ToInteger(large)); },
        [&] { static_cast<void>(ToBoolean(word)); },
        [&] { static_cast<void>(ToDate(word)); },
        [&] { static_cast<void>(ToDate(large)); },
    };
    const int first = __LINE__ - 19;
    for (const auto& statement : statements) {
        EXPECT_FALSE(Trap("m", "p", statement));
    }
    ASSERT_EQ(Reported().size(), std::size(statements));
    for (std::size_t i = 0; i < std::size(statements); ++i) {
        const std::string line = "ln " + std::to_string(first + static_cast<int>(i)) + ":";
        EXPECT_EQ(Reported()[i].description.substr(0, line.size()), line) << i;
    }
}

TEST_F(ErrorChannel, AnOpenTablesFailuresHaveTheStatementsLineToo) {
    Recordset table;
    table.AppendField("Number", FieldType::Integer);
    table.Open();
    const std::function<void()> statements[] = {
        [&] { table.Open(); },
        [&] { table.MoveFirst(); },
        [&] { table.SetFilter("None=1"); },
        [&] { table.SetFilter("Number~1"); },
        [&] { static_cast<void>(table.Get("None")); },
        [&] { static_cast<void>(table.Field(1)); },
        [&] { table.Delete(); },
        [&] { table.Save(); },
        [&] { table.AddNew(), table.Set(0, std::string("word")); },
    };
    const int first = __LINE__ - 10;
    for (const auto& statement : statements) {
        EXPECT_FALSE(Trap("m", "p", statement));
    }
    ASSERT_EQ(Reported().size(), std::size(statements));
    for (std::size_t i = 0; i < std::size(statements); ++i) {
        const std::string line = "ln " + std::to_string(first + static_cast<int>(i)) + ":";
        EXPECT_EQ(Reported()[i].description.substr(0, line.size()), line) << i;
    }
}

TEST_F(ErrorChannel, TrapStopsFailuresOfTheLibraryToo) {
    EXPECT_FALSE(Trap("m", "p", [] { throw std::bad_alloc(); }));
    EXPECT_EQ(Failures().errors, 1);
    EXPECT_TRUE(Trap("m", "p", [] {}));
    EXPECT_EQ(Failures().errors, 1);
}

TEST_F(ErrorChannel, AResumedStatementIsNotReported) {
    EXPECT_FALSE(ResumeNext([] { Raise(ErrObjectNotSet); }));
    EXPECT_TRUE(ResumeNext([] {}));
    EXPECT_TRUE(Reported().empty());
    EXPECT_TRUE(ErrorLog().empty());
}

TEST_F(ErrorChannel, AnObserverThatFailsOrReportsDoesNotMatter) {
    int seen = 0;
    ObserveFailures([&](const FailureRecord&) {
        ++seen;
        ReportError("from inside", "5", "m", "p");
        Raise(ErrOverflow);
    });
    ReportError("a", "5", "m", "p");
    EXPECT_EQ(seen, 1);
    EXPECT_EQ(ErrorLog().size(), 2U);
    EXPECT_EQ(Failures().errors, 2);
}

TEST_F(ErrorChannel, AnObserverMayTakeItselfAway) {
    int seen = 0;
    ObserveFailures([&](const FailureRecord&) {
        ObserveFailures({});
        ++seen;
    });
    ReportError("a", "5", "m", "p");
    ReportError("b", "5", "m", "p");
    EXPECT_EQ(seen, 1);
}

TEST_F(ErrorChannel, EachEngineStateCountsItsOwnFailures) {
    ReportError("a", "5", "m", "p");
    {
        EngineScope other;
        State().UserDataFolder = UserFolder();
        EXPECT_EQ(Failures().errors, 0);
        ReportError(RuntimeError(5, "x"), "m", "p");
        EXPECT_EQ(Failures().errors, 1);
    }
    EXPECT_EQ(Failures().errors, 1);
    EXPECT_EQ(Reported().size(), 1U);
}

TEST_F(ErrorChannel, NothingIsReportedDuringALookAhead) {
    {
        const Unnoticed unnoticed;
        const Unnoticed within;
        EXPECT_FALSE(Trap("m", "p", [] { Raise(ErrPermissionDenied); }));
    }
    EXPECT_EQ(Failures().errors, 0);
    EXPECT_TRUE(Reported().empty());
    EXPECT_FALSE(Exists(LogPath()));
    ReportError("a", "5", "m", "p");
    EXPECT_EQ(Reported().size(), 1U);
}

TEST_F(ErrorChannel, AnEventIsCodeMessageAndMoment) {
    EventLog(-3, "Restored");
    EventLog(7, "");
    EXPECT_EQ(ReadFile(UserFolder() + "Events.log"),
              "-3::Restored::1/1/2005 12:00:00 PM\r\n7::::1/1/2005 12:00:00 PM\r\n");
}

TEST_F(ErrorChannel, AppendLineToFileAnswersWhetherItWasWritten) {
    EXPECT_TRUE(AppendLineToFile("one", Folder() + "a.log"));
    EXPECT_TRUE(AppendLineToFile("two", Folder() + "a.log"));
    EXPECT_EQ(ReadFile(Folder() + "a.log"), "one\r\ntwo\r\n");
    EXPECT_FALSE(AppendLineToFile("three", Folder() + "none\\a.log"));
    EXPECT_FALSE(AppendLineToFile("three", Folder() + "app"));
}

}  // namespace
}  // namespace kel
