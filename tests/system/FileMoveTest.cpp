#include "Fakes.h"
#include "core/Value.h"
#include "decorators/FaultInjectingPlatform.h"
#include "support/EngineTest.h"
#include "system/modFiles.h"
#include "system/modRegistry.h"

namespace kel {
namespace {

using namespace std::string_literals;
using platform::SysError;

class FileMove : public test::EngineTest {
protected:
    FileMove() : scripted_(*Machine().files) {}

    [[nodiscard]] std::string From() const { return Folder() + "from.bin"; }
    [[nodiscard]] std::string To() const { return Folder() + "to.bin"; }

    test::ScriptedFiles scripted_;
};

class MarkedMove : public FileMove, public ::testing::WithParamInterface<std::string> {};

TEST_P(MarkedMove, BringsBackTheOriginalBytes) {
    WriteFile(From(), GetParam());
    EXPECT_EQ(modFiles::FileMove(From(), To(), modFiles::MoveAndMark), modFiles::Done);
    EXPECT_FALSE(Exists(From()));
    EXPECT_EQ(ReadFile(To()), GetParam() + "6635\r\n");
    EXPECT_EQ(modFiles::FileMove(To(), From(), modFiles::MoveAndUnmark), modFiles::Done);
    EXPECT_FALSE(Exists(To()));
    EXPECT_EQ(ReadFile(From()), GetParam());
    EXPECT_TRUE(Reported().empty());
}

INSTANTIATE_TEST_SUITE_P(All, MarkedMove,
                         ::testing::Values("x"s, "text\r\n"s, "\0\x1a\xff\r\n\n\r binary \x80\0"s, "already 6635\r\n"s,
                                           std::string(3'000'000, '\x1a')));

TEST_F(FileMove, AnEmptyFileIsNeitherMarkedNorUnmarked) {
    WriteFile(From(), "");
    EXPECT_EQ(modFiles::FileMove(From(), To(), modFiles::MoveAndMark), modFiles::Done);
    EXPECT_EQ(ReadFile(To()), "");
    EXPECT_EQ(modFiles::FileMove(To(), From(), modFiles::MoveAndUnmark), modFiles::Done);
    EXPECT_EQ(ReadFile(From()), "");
    EXPECT_TRUE(Reported().empty());
}

TEST_F(FileMove, UnmarkingAFileWithoutTheMarkLeavesIt) {
    for (const std::string& bytes : {"6635"s, "no mark at all"s, "6635\r\nx"s, "x6636\r\n"s, ""s, "abcde"s}) {
        WriteFile(From(), bytes);
        EXPECT_EQ(modFiles::FileMove(From(), To(), modFiles::MoveAndUnmark), modFiles::Done);
        EXPECT_EQ(ReadFile(To()), bytes);
        ASSERT_EQ(modFiles::FileDelete(To()), modFiles::Done);
    }
}

// Only the four characters of the mark are looked at, not the line end behind them.
TEST_F(FileMove, UnmarkingTakesAnyTwoBytesBehindTheMark) {
    WriteFile(From(), "data6635..");
    EXPECT_EQ(modFiles::FileMove(From(), To(), modFiles::MoveAndUnmark), modFiles::Done);
    EXPECT_EQ(ReadFile(To()), "data");
}

TEST_F(FileMove, WithoutAModeOnlyMoves) {
    WriteFile(From(), "data6635\r\n");
    EXPECT_EQ(modFiles::FileMove(From(), To(), modFiles::MoveOnly), modFiles::Done);
    EXPECT_EQ(ReadFile(To()), "data6635\r\n");
}

TEST_F(FileMove, AReadOnlyFileIsMovedWithClearedAttributes) {
    WriteFile(From(), "x");
    ASSERT_EQ(Machine().files->SetAttributes(From(), platform::AttributeReadOnly), SysError::Success);
    EXPECT_EQ(modFiles::FileMove(From(), To(), modFiles::MoveAndMark), modFiles::Done);
    EXPECT_FALSE(modFiles::FileIsReadOnlyAtt(To()));
    EXPECT_EQ(ReadFile(To()), "x6635\r\n");
}

TEST_F(FileMove, OntoAnExistingFileFails) {
    WriteFile(From(), "new");
    WriteFile(To(), "old");
    EXPECT_EQ(modFiles::FileMove(From(), To(), modFiles::MoveAndMark), modFiles::MoveFailed);
    EXPECT_EQ(ReadFile(From()), "new");
    EXPECT_EQ(ReadFile(To()), "old");
}

struct MoveCase {
    std::vector<SysError> errors;
    std::int32_t result;
};

class FileMoveResults : public FileMove, public ::testing::WithParamInterface<MoveCase> {};

TEST_P(FileMoveResults, FollowThePlatformsErrors) {
    WriteFile(From(), "x");
    scripted_.renameErrors.assign(GetParam().errors.begin(), GetParam().errors.end());
    auto machine = Machine();
    machine.files = &scripted_;
    Install(machine);
    EXPECT_EQ(modFiles::FileMove(From(), To(), modFiles::MoveAndMark), GetParam().result);
    EXPECT_EQ(Exists(To()), GetParam().result == modFiles::Done);
    if (GetParam().result != modFiles::Done) {
        EXPECT_EQ(ReadFile(From()), "x");
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, FileMoveResults,
    ::testing::Values(MoveCase{{}, 0}, MoveCase{{SysError::FileNotFound}, 1}, MoveCase{{SysError::AccessDenied}, 0},
                      MoveCase{{SysError::AccessDenied, SysError::AccessDenied}, 20},
                      MoveCase{{SysError::SharingViolation}, 21}, MoveCase{{SysError::LockViolation}, 21},
                      MoveCase{{SysError::FailedWithoutNumber}, 10}, MoveCase{{SysError::GeneralFailure}, 20},
                      MoveCase{{SysError::AlreadyExists}, 20}));

TEST_F(FileMove, AFailedMarkIsNoFailedMove) {
    WriteFile(From(), "x");
    decorators::FaultInjectingPlatform faults(Machine());
    faults.DiskFullAfter(0);
    Install(faults.View());
    EXPECT_EQ(modFiles::FileMove(From(), To(), modFiles::MoveAndMark), modFiles::Done);
    EXPECT_EQ(ReadFile(To()), "x");
    EXPECT_TRUE(Reported().empty());
}

TEST_F(FileMove, AMarkThatCannotBeTakenOffStaysAndIsReported) {
    WriteFile(From(), "precious6635\r\n");
    decorators::FaultInjectingPlatform faults(Machine());
    // Behind the attributes, the move and the opening.
    faults.FailWritesFrom(4, SysError::IoFailed);
    Install(faults.View());
    EXPECT_EQ(modFiles::FileMove(From(), To(), modFiles::MoveAndUnmark), modFiles::Done);
    EXPECT_EQ(ReadFile(To()), "precious6635\r\n");
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].module, "modFiles");
    EXPECT_EQ(Reported()[0].procedure, "FileMove");
}

TEST_F(FileMove, AMarkedFileThatCannotBeReadStaysAndIsReported) {
    WriteFile(From(), "precious6635\r\n");
    decorators::FaultInjectingPlatform faults(Machine());
    faults.FailReads(To(), SysError::IoFailed);
    Install(faults.View());
    EXPECT_EQ(modFiles::FileMove(From(), To(), modFiles::MoveAndUnmark), modFiles::Done);
    EXPECT_EQ(ReadFile(To()), "precious6635\r\n");
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].number, "57");
}

// A file that is written anew would lose what else belongs to it.
TEST_F(FileMove, UnmarkingNeedsNoRoomAndMakesNoOtherFile) {
    WriteFile(From(), "data6635\r\n");
    WriteFile(Folder() + "6635", "mine");
    decorators::FaultInjectingPlatform faults(Machine());
    faults.DiskFullAfter(0);
    Install(faults.View());
    EXPECT_EQ(modFiles::FileMove(From(), To(), modFiles::MoveAndUnmark), modFiles::Done);
    EXPECT_EQ(ReadFile(To()), "data");
    EXPECT_EQ(ReadFile(Folder() + "6635"), "mine");
    EXPECT_TRUE(Reported().empty());
}

TEST_F(FileMove, WhatAMarkedFileLostComesBack) {
    const std::string bytes = "\0first\r\nsecond 6635 \x1a\xff"s;
    WriteFile(From(), bytes);
    EXPECT_EQ(modFiles::FileMove(From(), To(), modFiles::MoveAndMark), modFiles::Done);
    EXPECT_EQ(ReadFile(To()), bytes + "6635\r\n");
    EXPECT_EQ(modFiles::FileMove(To(), From(), modFiles::MoveAndUnmark), modFiles::Done);
    EXPECT_EQ(ReadFile(From()), bytes);
}

class DeleteOnReboot : public test::EngineTest {
protected:
    DeleteOnReboot()
        : scripted_(*Machine().files),
          system_(*Machine().system),
          shell_(*Machine().shell),
          registry_(*Machine().registry, Key()) {
        scripted_.shortPaths = {{"C:\\some long name.exe", "C:\\SOMELO~1.EXE"}};
        shell_.folders = {{36, Folder() + "app"}};
        auto machine = Machine();
        machine.files = &scripted_;
        machine.system = &system_;
        machine.shell = &shell_;
        machine.registry = &registry_;
        Install(machine);
    }

    std::string Pending() {
        auto key = registry_.Open(platform::HiveLocalMachine, "SYSTEM\\CurrentControlSet\\Control\\Session Manager",
                                  platform::AccessMaximumAllowed);
        if (!key) {
            return {};
        }
        auto value = (*key)->Query("PendingFileRenameOperations");
        EXPECT_TRUE(!value || value->type == platform::ValueType::MultiSz);
        return value ? value->data : std::string();
    }

    test::ScriptedFiles scripted_;
    test::FakeSystem system_;
    test::FakeShell shell_;
    test::RedirectedRegistry registry_;
};

TEST_F(DeleteOnReboot, TwiceOnXPKeepsTheFirstEntry) {
    system_.version = {5, 1, 2600, test::WindowsNt, ""};
    modFiles::FileDeleteOnReboot("C:\\some long name.exe");
    EXPECT_EQ(Pending(), "\\??\\C:\\SOMELO~1.EXE\0\0\0"s);
    modFiles::FileDeleteOnReboot(Folder() + "missing");
    EXPECT_EQ(Pending(), "\\??\\C:\\SOMELO~1.EXE\0\0\0\\??\\\0\0\0"s);
    EXPECT_TRUE(Reported().empty());
}

TEST_F(DeleteOnReboot, OfAMissingFileNamesNoFile) {
    system_.version = {5, 1, 2600, test::WindowsNt, ""};
    modFiles::FileDeleteOnReboot(Folder() + "missing");
    EXPECT_EQ(Pending(), "\\??\\\0\0\0"s);
    EXPECT_TRUE(Reported().empty());
}

TEST_F(DeleteOnReboot, TwiceOn98RepeatsTheSectionHeader) {
    system_.version = {4, 10, 1998, test::Windows9x, ""};
    modFiles::FileDeleteOnReboot("C:\\some long name.exe");
    modFiles::FileDeleteOnReboot("C:\\some long name.exe");
    const std::string entry = "[rename]\r\nNUL=C:\\SOMELO~1.EXE\r\n";
    EXPECT_EQ(ReadFile(AppFolder() + "WININIT.INI"), entry + entry);
    EXPECT_EQ(Pending(), "");
}

TEST_F(DeleteOnReboot, OnlyMEAnd98UseTheFile) {
    for (const auto& [version, usesFile] :
         std::vector<std::pair<platform::OsVersion, bool>>{{{4, 90, 3000, test::Windows9x, ""}, true},
                                                           {{4, 0, 950, test::Windows9x, ""}, false},
                                                           {{10, 0, 19045, test::WindowsNt, ""}, false}}) {
        system_.version = version;
        modFiles::FileDelete(AppFolder() + "WININIT.INI");
        modFiles::FileDeleteOnReboot("C:\\some long name.exe");
        EXPECT_EQ(Exists(AppFolder() + "WININIT.INI"), usesFile) << version.major << "." << version.minor;
    }
    EXPECT_NE(Pending(), "");
}

}  // namespace
}  // namespace kel
