#include "system/modFiles.h"

#include "Fakes.h"
#include "decorators/FaultInjectingPlatform.h"
#include "support/EngineTest.h"

namespace kel {
namespace {

using platform::SysError;

class Files : public test::EngineTest {
protected:
    Files() : scripted_(*Machine().files), shell_(*Machine().shell), faults_(Machine()) {}

    void InstallScripted() {
        auto machine = Machine();
        machine.files = &scripted_;
        machine.shell = &shell_;
        Install(machine);
    }
    void SetAttributes(const std::string& path, std::uint32_t attributes) {
        ASSERT_EQ(Machine().files->SetAttributes(path, attributes), SysError::Success) << path;
    }

    test::ScriptedFiles scripted_;
    test::FakeShell shell_;
    decorators::FaultInjectingPlatform faults_;
};

// A machine whose enumerations must not be asked for.
class BlindFiles : public decorators::ForwardingFiles {
public:
    using ForwardingFiles::ForwardingFiles;
    platform::Result<std::unique_ptr<platform::Find>> FindFirst(std::string_view path, platform::FindData&) override {
        ADD_FAILURE() << "looked at " << path;
        return SysError::FileNotFound;
    }
};

TEST_F(Files, ABareDriveExistsWithoutALookAtTheDisk) {
    BlindFiles blind(*Machine().files);
    auto machine = Machine();
    machine.files = &blind;
    Install(machine);
    EXPECT_TRUE(modFiles::FolderExists("C:"));
    EXPECT_TRUE(modFiles::FolderExists("C:\\"));
    EXPECT_TRUE(modFiles::FolderExists(" Q:\\ "));
}

TEST_F(Files, AFolderExistsAsAFileToo) {
    EXPECT_TRUE(modFiles::FileExists(Folder() + "app"));
    EXPECT_TRUE(modFiles::FolderExists(Folder() + "app"));
    EXPECT_TRUE(modFiles::FolderExists("  " + AppFolder() + " "));
}

TEST_F(Files, AFileIsNoFolder) {
    WriteFile(Folder() + "x.txt", "x");
    EXPECT_TRUE(modFiles::FileExists(Folder() + "x.txt"));
    EXPECT_FALSE(modFiles::FolderExists(Folder() + "x.txt"));
    EXPECT_FALSE(modFiles::FileExists(Folder() + "y.txt"));
    EXPECT_FALSE(modFiles::FolderExists(Folder() + "y"));
}

TEST_F(Files, LengthIsZeroForWhatIsNotThere) {
    WriteFile(Folder() + "five", "12345");
    EXPECT_EQ(modFiles::FileLength(Folder() + "five"), 5);
    EXPECT_EQ(modFiles::FileLength(Folder() + "six"), 0);
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].module, "modFiles");
    EXPECT_EQ(Reported()[0].procedure, "FileLength");
    EXPECT_EQ(Reported()[0].number, "53");
}

TEST_F(Files, ReadOnlyIsSeenAndCleared) {
    const std::string path = Folder() + "locked.txt";
    WriteFile(path, "x");
    EXPECT_FALSE(modFiles::FileIsReadOnlyAtt(path));
    SetAttributes(path, platform::AttributeReadOnly);
    EXPECT_TRUE(modFiles::FileIsReadOnlyAtt(path));
    modFiles::FileClearAttributes(path);
    EXPECT_FALSE(modFiles::FileIsReadOnlyAtt(path));
    EXPECT_TRUE(Reported().empty());
}

TEST_F(Files, AttributesOfAMissingFileAreClearedInSilenceButNotReadSo) {
    modFiles::FileClearAttributes(Folder() + "missing");
    EXPECT_TRUE(Reported().empty());
    EXPECT_FALSE(modFiles::FileIsReadOnlyAtt(Folder() + "missing"));
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].module, "modFiles");
    EXPECT_EQ(Reported()[0].procedure, "FileIsReadOnlyAtt");
    EXPECT_EQ(Reported()[0].number, "53");
}

TEST_F(Files, ASearchGivesThePatternsFolderAndTheNameFound) {
    WriteFile(Folder() + "abc.dll", "x");
    SetAttributes(Folder() + "abc.dll", platform::AttributeArchive);
    EXPECT_EQ(modFiles::FilePathFromFileSearch(Folder() + "a*.d?l"), Folder() + "abc.dll");
    EXPECT_EQ(modFiles::FilePathFromFileSearch(Folder() + "b*.dll"), "");
    EXPECT_EQ(modFiles::FilePathFromFileSearch("abc.dll"), "");
    EXPECT_EQ(modFiles::FilePathFromFileSearch("\\"), "");
}

TEST_F(Files, ASearchDoesNotGiveABareFolder) {
    EXPECT_EQ(modFiles::FilePathFromFileSearch(Folder() + "ap*"), "");
}

TEST_F(Files, CreateFolderIsTrueOnlyWhenItMadeOne) {
    EXPECT_TRUE(modFiles::CreateFolder(Folder() + "new"));
    EXPECT_FALSE(modFiles::CreateFolder(Folder() + "new"));
    EXPECT_FALSE(modFiles::CreateFolder("x"));
    EXPECT_TRUE(Reported().empty());
}

TEST_F(Files, AFolderThatCannotBeMadeIsReported) {
    EXPECT_FALSE(modFiles::CreateFolder(Folder() + "no\\parent"));
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].module, "modFiles");
    EXPECT_EQ(Reported()[0].procedure, "CreateFolder");
    EXPECT_EQ(Reported()[0].number, "76");
}

TEST_F(Files, CreateFolderPathMakesAllLevels) {
    EXPECT_EQ(modFiles::CreateFolderPath(Folder() + "a\\b\\c\\"), modFiles::Done);
    EXPECT_TRUE(Exists(Folder() + "a\\b\\c"));
    EXPECT_EQ(modFiles::CreateFolderPath(Folder() + "a\\b\\c"), modFiles::Done);
    EXPECT_EQ(modFiles::CreateFolderPath("x"), modFiles::Done);
}

TEST_F(Files, CreateFolderPathOverAFileFails) {
    WriteFile(Folder() + "file", "x");
    EXPECT_EQ(modFiles::CreateFolderPath(Folder() + "file\\below"), modFiles::FolderPathNotMade);
    EXPECT_TRUE(Reported().empty());
}

TEST_F(Files, AReadOnlyFileIsDeleted) {
    WriteFile(Folder() + "ro.txt", "x");
    SetAttributes(Folder() + "ro.txt", platform::AttributeReadOnly | platform::AttributeHidden);
    EXPECT_EQ(modFiles::FileDelete(Folder() + "ro.txt"), modFiles::Done);
    EXPECT_FALSE(Exists(Folder() + "ro.txt"));
}

TEST_F(Files, DeletingAMissingFileSaysSo) {
    EXPECT_EQ(modFiles::FileDelete(Folder() + "none"), modFiles::FileNotFound);
}

TEST_F(Files, DeletingAFolderFails) {
    EXPECT_EQ(modFiles::FileDelete(Folder() + "app"), modFiles::DeleteFailed);
    EXPECT_TRUE(Exists(Folder() + "app"));
}

TEST_F(Files, DeletingAFileInUseSaysSo) {
    WriteFile(Folder() + "busy", "x");
    faults_.Lock(Folder() + "busy");
    Install(faults_.View());
    EXPECT_EQ(modFiles::FileDelete(Folder() + "busy"), modFiles::DeleteFailedInUse);
    EXPECT_TRUE(Reported().empty());
}

struct DeleteCase {
    std::vector<SysError> errors;
    std::int32_t result;
};

class FileDeleteResults : public Files, public ::testing::WithParamInterface<DeleteCase> {};

TEST_P(FileDeleteResults, FollowThePlatformsErrors) {
    WriteFile(Folder() + "x", "x");
    scripted_.removeErrors.assign(GetParam().errors.begin(), GetParam().errors.end());
    InstallScripted();
    EXPECT_EQ(modFiles::FileDelete(Folder() + "x"), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(
    All, FileDeleteResults,
    ::testing::Values(DeleteCase{{}, 0}, DeleteCase{{SysError::SharingViolation}, 0},
                      DeleteCase{{SysError::AccessDenied, SysError::AccessDenied}, 0},
                      DeleteCase{{SysError::AccessDenied, SysError::AccessDenied, SysError::AccessDenied}, 10},
                      DeleteCase{{SysError::FileNotFound, SysError::FileNotFound}, 1},
                      DeleteCase{{SysError::SharingViolation, SysError::SharingViolation}, 11},
                      DeleteCase{{SysError::LockViolation, SysError::LockViolation}, 11},
                      DeleteCase{{SysError::PathNotFound, SysError::PathNotFound}, 10}));

TEST_F(Files, AReadOnlyFolderIsRemoved) {
    MakeFolder(Folder() + "old");
    SetAttributes(Folder() + "old", platform::AttributeReadOnly);
    EXPECT_EQ(modFiles::FolderRemove(Folder() + "old\\", false), modFiles::Done);
    EXPECT_FALSE(Exists(Folder() + "old"));
}

TEST_F(Files, RemovingAFolderThatIsNotThereSaysSo) {
    EXPECT_EQ(modFiles::FolderRemove(Folder() + "none", false), modFiles::FolderNotUsable);
    EXPECT_EQ(modFiles::FolderRemove(Folder() + "none", true), modFiles::FolderNotUsable);
    EXPECT_EQ(modFiles::FolderRemove("x", true), modFiles::FolderNotUsable);
    EXPECT_EQ(modFiles::FolderRemove("", false), modFiles::FolderNotUsable);
}

TEST_F(Files, AFolderGoesWithAllItsContents) {
    MakeFolder(Folder() + "tree\\a\\b");
    MakeFolder(Folder() + "tree\\empty");
    WriteFile(Folder() + "tree\\1.txt", "1");
    WriteFile(Folder() + "tree\\a\\b\\2.txt", "2");
    WriteFile(Folder() + "tree\\a\\.hidden", "3");
    SetAttributes(Folder() + "tree\\a\\b\\2.txt", platform::AttributeReadOnly);
    SetAttributes(Folder() + "tree\\a", platform::AttributeReadOnly);
    EXPECT_EQ(modFiles::FolderRemove(Folder() + "tree\\", true), modFiles::Done);
    EXPECT_FALSE(Exists(Folder() + "tree"));
    EXPECT_TRUE(Exists(Folder() + "app"));
    EXPECT_TRUE(Reported().empty());
}

TEST_F(Files, AFileInUseDoesNotKeepTheRestOfATree) {
    MakeFolder(Folder() + "tree\\a");
    WriteFile(Folder() + "tree\\a\\busy", "1");
    WriteFile(Folder() + "tree\\a\\free", "1");
    WriteFile(Folder() + "tree\\z", "1");
    faults_.Lock(Folder() + "tree\\a\\busy");
    Install(faults_.View());
    EXPECT_EQ(modFiles::FolderRemove(Folder() + "tree", true), modFiles::Done);
    EXPECT_TRUE(Exists(Folder() + "tree\\a\\busy"));
    EXPECT_FALSE(Exists(Folder() + "tree\\a\\free"));
    EXPECT_FALSE(Exists(Folder() + "tree\\z"));
}

struct ShellCase {
    int result;
    SysError lastError;
    std::int32_t expected;
};

class ShellsAnswer : public Files, public ::testing::WithParamInterface<ShellCase> {};

// A folder that is not empty can't be removed plainly; what the shell answers is read the other way round.
TEST_P(ShellsAnswer, IsReadTheOtherWayRound) {
    MakeFolder(Folder() + "full");
    WriteFile(Folder() + "full\\x", "x");
    shell_.fakesDelete = true;
    shell_.deleteResult = GetParam().result;
    shell_.deleteLastError = GetParam().lastError;
    InstallScripted();
    EXPECT_EQ(modFiles::FolderRemove(Folder() + "full\\", false), GetParam().expected);
    EXPECT_EQ(shell_.deleted, std::vector<std::string>{Folder() + "full"});
    EXPECT_EQ(shell_.deleteFlags, 20);
}

INSTANTIATE_TEST_SUITE_P(All, ShellsAnswer,
                         ::testing::Values(ShellCase{1, SysError::PathNotFound, 0},
                                           ShellCase{0, SysError::PathNotFound, 30},
                                           ShellCase{0, SysError::AccessDenied, 0}, ShellCase{0, SysError::Success, 32},
                                           ShellCase{0, SysError::DirNotEmpty, 32}));

TEST_F(Files, LongPathsComeFromThePlatformWithinTheBuffer) {
    scripted_.longPaths = {{"C:\\PROGRA~1", "C:\\Program Files"},
                           {"fits", std::string(254, 'a')},
                           {"long", std::string(255, 'a')},
                           {"empty", ""}};
    InstallScripted();
    EXPECT_EQ(modFiles::LongPathFromShortPath("C:\\PROGRA~1"), "C:\\Program Files");
    EXPECT_EQ(modFiles::LongPathFromShortPath("fits"), std::string(254, 'a'));
    EXPECT_EQ(modFiles::LongPathFromShortPath("long"), "long");
    EXPECT_EQ(modFiles::LongPathFromShortPath("empty"), "empty");
    EXPECT_EQ(modFiles::LongPathFromShortPath(Folder() + "NOPE~1"), Folder() + "NOPE~1");
}

TEST_F(Files, ShortPathOfAMissingPathIsEmpty) {
    scripted_.shortPaths = {{"C:\\Program Files", "C:\\PROGRA~1"}, {"long", std::string(255, 'a')}};
    InstallScripted();
    EXPECT_EQ(modFiles::ShortPathFromLongPath("C:\\Program Files"), "C:\\PROGRA~1");
    EXPECT_EQ(modFiles::ShortPathFromLongPath("long"), "");
    EXPECT_EQ(modFiles::ShortPathFromLongPath(Folder() + "missing file.txt"), "");
}

TEST_F(Files, TextIsCutAtItsFirstNul) {
    EXPECT_EQ(modFiles::StringBeforeNul(std::string("ab\0cd\0", 6)), "ab");
    EXPECT_EQ(modFiles::StringBeforeNul("abc"), "abc");
    EXPECT_EQ(modFiles::StringBeforeNul(std::string(1, '\0')), "");
    EXPECT_EQ(modFiles::StringBeforeNul(""), "");
}

}  // namespace
}  // namespace kel
