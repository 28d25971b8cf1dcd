#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>

#include "Items.h"
#include "ZipBuilder.h"
#include "archive/XceedZip.h"
#include "decorators/FaultInjectingPlatform.h"
#include "support/EngineTest.h"
#include "system/modFiles.h"
#include "system/modKvFileExplorer.h"

namespace kel::archive {
namespace {

using namespace std::string_literals;
using test::Items;
using test::MakeZip;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class Unzipping : public test::EngineTest {
protected:
    Unzipping() {
        EXPECT_TRUE(XceedZipInitDLL());
        MakeFolder(Folder() + "out");
    }

    std::int32_t UnzipBytes(const std::string& archive, std::string_view process = "", std::string_view exclude = "") {
        WriteFile(Folder() + "x.zip", archive);
        const ZipHandle handle = XzCreateXceedZipA("");
        EXPECT_NE(handle, 0);
        XzSetZipFilenameA(handle, Folder() + "x.zip");
        XzSetFilesToProcessA(handle, process);
        XzSetFilesToExcludeA(handle, exclude);
        XzSetUnzipToFolderA(handle, Folder() + "out");
        const std::int32_t result = XzUnzip(handle);
        XzDestroyXceedZip(handle);
        return result;
    }
    // What lies in the target folder, at all depths, by relative path.
    std::vector<std::string> Out() {
        std::vector<std::string> paths;
        for (std::string path : Items(modKvFileExplorer::FilesListDeep(Folder() + "out", true, false))) {
            paths.push_back(path.substr(Folder().size() + 4));
        }
        return paths;
    }
    // What lies beside it.
    std::vector<std::string> Beside() { return Items(modKvFileExplorer::FilesListShallow(Folder(), "*.*")); }
};

TEST_F(Unzipping, BringsOutAllEntriesWithTheirFolders) {
    const std::string big(300'000, 'b');
    EXPECT_EQ(UnzipBytes(MakeZip({{"top.txt", "1"},
                                  {"a/b/deep.txt", "2"},
                                  {"a\\back.txt", "3"},
                                  {"empty/", ""},
                                  {.name = "big.bin", .bytes = big, .deflate = false}})),
              UnzipDone);
    EXPECT_THAT(Out(),
                UnorderedElementsAre("top.txt", "a", "a\\b", "a\\b\\deep.txt", "a\\back.txt", "empty", "big.bin"));
    EXPECT_EQ(ReadFile(Folder() + "out\\top.txt"), "1");
    EXPECT_EQ(ReadFile(Folder() + "out\\a\\b\\deep.txt"), "2");
    EXPECT_EQ(ReadFile(Folder() + "out\\a\\back.txt"), "3");
    EXPECT_EQ(ReadFile(Folder() + "out\\big.bin"), big);
    EXPECT_TRUE(Reported().empty());
}

TEST_F(Unzipping, AnEmptyArchiveIsASuccessWithoutEntries) {
    EXPECT_EQ(UnzipBytes(MakeZip({})), UnzipDone);
    EXPECT_THAT(Out(), IsEmpty());
}

class ZipSlip : public Unzipping, public ::testing::WithParamInterface<std::string> {};

TEST_P(ZipSlip, WritesNothingAtAll) {
    EXPECT_EQ(UnzipBytes(MakeZip({{"good.txt", "1"}, {GetParam(), "evil"}})), UnzipUnsafeName);
    EXPECT_THAT(Out(), IsEmpty());
    EXPECT_THAT(Beside(), UnorderedElementsAre("app", "user", "out", "x.zip"));
}

INSTANTIATE_TEST_SUITE_P(All, ZipSlip,
                         ::testing::Values("../evil.txt"s, "..\\evil.txt"s, "a/../../evil.txt"s, "/evil.txt"s,
                                           "C:\\evil.txt"s, "C:evil.txt"s, "good.txt:stream"s, "nul"s, "evil."s,
                                           "evil\0.txt"s));

TEST_F(Unzipping, AFailedEntryFailsTheArchiveThoughOthersCameOut) {
    EXPECT_EQ(UnzipBytes(MakeZip({{"good.txt", "1"}, {.name = "bad.txt", .bytes = "2", .crc = 7}})), UnzipDamaged);
    EXPECT_TRUE(Exists(Folder() + "out\\good.txt"));
}

TEST_F(Unzipping, AProtectedOrBrokenArchiveFails) {
    EXPECT_EQ(UnzipBytes(MakeZip({{"good.txt", "1"}, {.name = "secret", .bytes = "2", .flags = 1}})), UnzipEncrypted);
    EXPECT_EQ(UnzipBytes("PK\x03\x04 and nothing behind it"), UnzipDamaged);
    EXPECT_EQ(UnzipBytes(""), UnzipDamaged);
    EXPECT_THAT(Out(), IsEmpty());
}

TEST_F(Unzipping, TwoEntriesOfOneNameFail) {
    EXPECT_EQ(UnzipBytes(MakeZip({{"a/x.txt", "1"}, {"A\\X.TXT", "2"}})), UnzipOverlap);
    EXPECT_EQ(UnzipBytes(MakeZip({{"a", "1"}, {"a/b", "2"}})), UnzipOverlap);
    EXPECT_EQ(UnzipBytes(MakeZip({{"a/b", "1"}, {"a", "2"}})), UnzipOverlap);
    EXPECT_EQ(UnzipBytes(MakeZip({{"a?", "1"}, {"a*", "2"}})), UnzipOverlap);
    EXPECT_THAT(Out(), IsEmpty());
}

TEST_F(Unzipping, FoldersMayBeNamedTwice) {
    EXPECT_EQ(UnzipBytes(MakeZip({{"a/", ""}, {"a/b/", ""}, {"A/", ""}, {"a/b/x", "1"}})), UnzipDone);
    EXPECT_THAT(Out(), UnorderedElementsAre("a", "a\\b", "a\\b\\x"));
}

TEST_F(Unzipping, ABombIsRefusedBeforeItGrows) {
    std::string zeros(11 << 20, '\0');
    EXPECT_EQ(UnzipBytes(MakeZip({{"bomb", zeros}})), UnzipTooLarge);
    EXPECT_THAT(Out(), IsEmpty());
}

TEST_F(Unzipping, FoldersThatOnlyNamesImplyCountAsEntries) {
    std::vector<test::ZipItem> items;
    for (int i = 0; i < 30; ++i) {
        std::string name = std::to_string(i);
        for (int depth = 0; depth < 400; ++depth) {
            name += "/d";
        }
        items.push_back({name, ""});
    }
    EXPECT_EQ(UnzipBytes(MakeZip(items)), UnzipTooLarge);
    EXPECT_THAT(Out(), IsEmpty());
}

TEST_F(Unzipping, AnExistingFileIsNotOverwritten) {
    WriteFile(Folder() + "out\\x.txt", "mine");
    EXPECT_EQ(UnzipBytes(MakeZip({{"x.txt", "theirs"}})), UnzipWriteFailed);
    EXPECT_EQ(ReadFile(Folder() + "out\\x.txt"), "mine");
}

TEST_F(Unzipping, AFullDiskFails) {
    WriteFile(Folder() + "x.zip", MakeZip({{"x.txt", std::string(50'000, 'x')}}));
    decorators::FaultInjectingPlatform faults(Machine());
    faults.DiskFullAfter(10'000);
    Install(faults.View());
    const ZipHandle handle = XzCreateXceedZipA("");
    XzSetZipFilenameA(handle, Folder() + "x.zip");
    XzSetUnzipToFolderA(handle, Folder() + "out");
    EXPECT_EQ(XzUnzip(handle), UnzipWriteFailed);
    XzDestroyXceedZip(handle);
}

TEST_F(Unzipping, OnlyWantedEntriesComeOut) {
    const std::string archive = MakeZip({{"a.exe", "1"}, {"b.txt", "2"}, {"c.exe", "3"}, {"d.dll", "4"}});
    EXPECT_EQ(UnzipBytes(archive, "*.exe\r\nd.dll", "c.*\r\n"), UnzipDone);
    EXPECT_THAT(Out(), UnorderedElementsAre("a.exe", "d.dll"));
}

TEST_F(Unzipping, NeedsAnArchiveAFolderAndAnObject) {
    const ZipHandle handle = XzCreateXceedZipA("text");
    EXPECT_EQ(XzUnzip(handle), UnzipNoHandle);
    XzSetZipFilenameA(handle, Folder() + "missing.zip");
    EXPECT_EQ(XzUnzip(handle), UnzipNoHandle);
    XzSetUnzipToFolderA(handle, Folder() + "no such folder");
    EXPECT_EQ(XzUnzip(handle), UnzipWriteFailed);
    XzSetUnzipToFolderA(handle, Folder() + "out");
    EXPECT_EQ(XzUnzip(handle), UnzipUnreadable);
    XzDestroyXceedZip(handle);
    XzDestroyXceedZip(handle);
    EXPECT_EQ(XzUnzip(handle), UnzipNoHandle);
    EXPECT_EQ(XzUnzip(0), UnzipNoHandle);
}

TEST_F(Unzipping, ObjectsAreIndependent) {
    const ZipHandle first = XzCreateXceedZipA("");
    const ZipHandle second = XzCreateXceedZipA("");
    EXPECT_NE(first, second);
    XzDestroyXceedZip(first);
    WriteFile(Folder() + "x.zip", MakeZip({}));
    XzSetZipFilenameA(second, Folder() + "x.zip");
    XzSetUnzipToFolderA(second, Folder() + "out");
    EXPECT_EQ(XzUnzip(second), UnzipDone);
    XzDestroyXceedZip(second);
}

class UnpreparedLibrary : public test::EngineTest {};

TEST_F(UnpreparedLibrary, GivesNoObjects) {
    EXPECT_EQ(XzCreateXceedZipA(""), 0);
}

}  // namespace
}  // namespace kel::archive
