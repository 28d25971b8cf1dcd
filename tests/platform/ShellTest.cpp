#include "PlatformTest.h"

#ifdef _WIN32
#include <windows.h>

#include "child/CarriedPrograms.h"
#endif

namespace kel::test {
namespace {

using platform::SysError;

class Shell : public PlatformTest {
protected:
    static constexpr std::uint16_t SilentWithoutAsking = 20;

    int Delete(std::string_view name) { return Machine().shell->Delete(Path(name), SilentWithoutAsking, lastError_); }
    SysError lastError_ = SysError::Success;
};

TEST_F(Shell, DeletesAFile) {
    Write("a.txt", "x");
    EXPECT_EQ(Delete("a.txt"), 0);
    EXPECT_FALSE(Files().PathExists(Path("a.txt")));
}

TEST_F(Shell, DeletesAFolderWithItsContents) {
    Folder("dir\\sub\\empty");
    Write("dir\\a.txt", "x");
    Write("dir\\sub\\b.txt", "x");
    Write("beside.txt", "x");
    EXPECT_EQ(Delete("dir"), 0);
    EXPECT_FALSE(Files().PathExists(Path("dir")));
    EXPECT_TRUE(Files().PathExists(Path("beside.txt")));
}

TEST_F(Shell, DeletesHiddenAndSystemFiles) {
    Folder("dir");
    Write("dir\\a.txt", "x");
    Files().SetAttributes(Path("dir\\a.txt"), platform::AttributeHidden | platform::AttributeSystem);
    EXPECT_EQ(Delete("dir"), 0);
    EXPECT_FALSE(Files().PathExists(Path("dir")));
}

TEST_F(Shell, MissingPathIsAnError) {
    EXPECT_NE(Delete("missing"), 0);
    EXPECT_NE(Delete("missing\\a.txt"), 0);
}

#ifndef _WIN32

TEST_F(Shell, OfAMachineThatDoesNotRunStartsNothing) {
    Write("a.exe", "x");
    EXPECT_EQ(Machine().shell->Execute("open", Path("a.exe"), "-1", 0), SysError::NotSupported);
}

#else

TEST_F(Shell, StartsAProgramWithItsArgumentsAndDoesNotWait) {
    // The child writes its only argument into a file.
    Write("child.exe", ChildProgram());
    ASSERT_EQ(Machine().shell->Execute("open", Path("child.exe"), "-17", 0), SysError::Success);
    if (DryRun()) {
        GTEST_SKIP() << "a dry run starts nothing";
    }
    for (int tries = 0; tries < 200 && Files().Length(Path("child.exe.txt")).ValueOr(0) == 0; ++tries) {
        ::Sleep(50);
    }
    EXPECT_EQ(Read("child.exe.txt"), "-17");
}

TEST_F(Shell, AProgramThatCantBeStartedIsItsErrorNumber) {
    EXPECT_EQ(Machine().shell->Execute("open", Path("missing.exe"), "", 0), SysError::FileNotFound);
    EXPECT_NE(Machine().shell->Execute("open", Path("missing\\a.exe"), "", 0), SysError::Success);
}

#endif

struct FolderRow {
    int identifier;
    const char* what;
};

constexpr FolderRow FolderRows[] = {
    {2, "the user's programs menu"}, {7, "the user's startup"}, {16, "the user's desktop"},
    {25, "the common desktop"},      {26, "application data"},  {28, "local application data"},
    {35, "common application data"}, {36, "windows"},           {37, "system"},
    {38, "program files"},
};

TEST_F(Shell, SpecialFoldersExist) {
    for (const FolderRow& row : FolderRows) {
        const auto folder = Machine().shell->SpecialFolder(row.identifier);
        ASSERT_TRUE(folder.Ok()) << row.what << ' ' << platform::Number(folder.Error());
        EXPECT_EQ(folder.Value().find(":\\"), 1U) << row.what << ' ' << folder.Value();
        EXPECT_NE(folder.Value().back(), '\\') << row.what;
    }
}

TEST_F(Shell, UnknownFolderIsAnError) {
    EXPECT_FALSE(Machine().shell->SpecialFolder(52).Ok());
    EXPECT_FALSE(Machine().shell->SpecialFolder(200).Ok());
}

}  // namespace
}  // namespace kel::test
