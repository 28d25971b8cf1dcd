#include "core/Paths.h"

#include "ErrorNumber.h"
#include "support/EngineTest.h"

namespace kel {
namespace {

class Paths : public test::EngineTest {};

TEST_F(Paths, AFolderIsAnExistingPathToo) {
    WriteFile(Folder() + "a.txt", "x");
    EXPECT_TRUE(paths::FileExists(Folder() + "a.txt"));
    EXPECT_TRUE(paths::FileExists(Folder() + "app"));
    EXPECT_FALSE(paths::FileExists(Folder() + "b.txt"));
}

TEST_F(Paths, AFolderIsFoundWithBlanksAroundItAndOneBackslashBehindIt) {
    EXPECT_TRUE(paths::FolderExists(Folder() + "app"));
    EXPECT_TRUE(paths::FolderExists("  " + Folder() + "app\\ "));
    EXPECT_FALSE(paths::FolderExists(Folder() + "none"));
    EXPECT_FALSE(paths::FolderExists(""));
}

TEST_F(Paths, AFileIsNoFolder) {
    WriteFile(Folder() + "a.txt", "x");
    EXPECT_FALSE(paths::FolderExists(Folder() + "a.txt"));
}

TEST_F(Paths, ABareDriveIsAFolderWithoutALook) {
    EXPECT_TRUE(paths::FolderExists("Q:"));
    EXPECT_TRUE(paths::FolderExists("Q:\\"));
}

TEST_F(Paths, CreateFolderMakesOneLevel) {
    EXPECT_TRUE(paths::CreateFolder(Folder() + "new\\"));
    EXPECT_TRUE(Exists(Folder() + "new"));
    EXPECT_FALSE(paths::CreateFolder(Folder() + "new"));
    EXPECT_FALSE(paths::CreateFolder(Folder() + "x\\y"));
    EXPECT_FALSE(paths::CreateFolder("x"));
}

TEST_F(Paths, CreateFolderPathMakesAllLevels) {
    EXPECT_EQ(paths::CreateFolderPath(Folder() + "a\\b\\c\\"), paths::FolderPathMade);
    EXPECT_TRUE(Exists(Folder() + "a\\b\\c"));
    EXPECT_EQ(paths::CreateFolderPath(Folder() + "a\\b\\c"), paths::FolderPathMade);
}

TEST_F(Paths, CreateFolderPathAnswers33WhenAFileIsInItsWay) {
    WriteFile(Folder() + "a", "x");
    EXPECT_EQ(paths::CreateFolderPath(Folder() + "a\\b"), paths::FolderPathFailed);
    EXPECT_EQ(paths::FolderPathFailed, 33);
}

TEST_F(Paths, CreateFolderPathIsContentWithTooShortAPath) {
    EXPECT_EQ(paths::CreateFolderPath(""), paths::FolderPathMade);
    EXPECT_EQ(paths::CreateFolderPath("x\\"), paths::FolderPathMade);
}

TEST_F(Paths, EachFailureHasItsNumberAndNamesThePath) {
    using platform::SysError;
    const struct {
        SysError error;
        int number;
    } cases[] = {
        {SysError::FileNotFound, ErrFileNotFound},
        {SysError::PathNotFound, ErrPathNotFound},
        {SysError::FileExists, ErrFileExists},
        {SysError::DiskFull, ErrDiskFull},
        {SysError::AccessDenied, ErrPermissionDenied},
        {SysError::WriteProtect, ErrPermissionDenied},
        {SysError::SharingViolation, ErrPermissionDenied},
        {SysError::IoFailed, ErrDeviceIo},
    };
    for (const auto& entry : cases) {
        EXPECT_EQ(test::ErrorNumber([&] { paths::RaiseFileError(entry.error, "C:\\x"); }), entry.number);
        EXPECT_TRUE(test::ErrorText([&] { paths::RaiseFileError(entry.error, "C:\\x"); }).ends_with(": C:\\x"));
    }
}

}  // namespace
}  // namespace kel
