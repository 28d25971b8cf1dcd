#include "decorators/FaultInjectingPlatform.h"
#include "support/EngineTest.h"
#include "system/modFiles.h"

namespace kel {
namespace {

using namespace std::string_literals;

class TextFiles : public test::EngineTest {
protected:
    [[nodiscard]] std::string Path() const { return Folder() + "text.txt"; }
};

TEST_F(TextFiles, WritingReplacesTheWholeFile) {
    WriteFile(Path(), "something much longer than what follows");
    EXPECT_TRUE(modFiles::TextFileWrite("line", Path()));
    EXPECT_EQ(ReadFile(Path()), "line\r\n");
}

TEST_F(TextFiles, AppendingAddsALineAndMakesTheFile) {
    EXPECT_TRUE(modFiles::TextFileAppend("one", Path()));
    EXPECT_TRUE(modFiles::TextFileAppend("two", Path()));
    EXPECT_EQ(ReadFile(Path()), "one\r\ntwo\r\n");
}

TEST_F(TextFiles, AFailedWriteIsFalseAndReported) {
    EXPECT_FALSE(modFiles::TextFileWrite("x", Folder() + "no\\such\\folder.txt"));
    EXPECT_FALSE(modFiles::TextFileAppend("x", Folder() + "no\\such\\folder.txt"));
    ASSERT_EQ(Reported().size(), 2U);
    EXPECT_EQ(Reported()[0].module, "modFiles");
    EXPECT_EQ(Reported()[0].procedure, "TextFileWrite");
    EXPECT_EQ(Reported()[0].number, "76");
    EXPECT_EQ(Reported()[1].procedure, "TextFileAppend");
}

TEST_F(TextFiles, ReadingJoinsTheLines) {
    WriteFile(Path(), "one\r\ntwo\rthree\n4\r\n\r\nlast");
    EXPECT_EQ(modFiles::TextFileRead(Path(), false), "onetwothree\n4last");
    EXPECT_EQ(modFiles::TextFileRead(Path(), true), "one\r\ntwo\r\nthree\n4\r\n\r\nlast\r\n");
}

TEST_F(TextFiles, WhatWasWrittenReadsBackWithItsLineEnds) {
    modFiles::TextFileWrite("one\r\ntwo", Path());
    EXPECT_EQ(modFiles::TextFileRead(Path(), true), "one\r\ntwo\r\n");
}

TEST_F(TextFiles, AMissingFileReadsAsEmptyWithoutAReport) {
    EXPECT_EQ(modFiles::TextFileRead(Path(), true), "");
    WriteFile(Path(), "");
    EXPECT_EQ(modFiles::TextFileRead(Path(), true), "");
    EXPECT_TRUE(Reported().empty());
}

TEST_F(TextFiles, AFileThatCannotBeReadIsReported) {
    WriteFile(Path(), "x");
    decorators::FaultInjectingPlatform faults(Machine());
    faults.Lock(Path());
    Install(faults.View());
    EXPECT_EQ(modFiles::TextFileRead(Path(), true), "");
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].procedure, "TextFileRead");
}

// A link to a file on a local disk: the fixed part, an item list of `listBytes`, the part that says where the target
// is, with the volume's label and the path.
std::string Link(std::size_t listBytes, std::string_view label, std::string_view target) {
    std::string bytes(76, '\x01');
    bytes += static_cast<char>(listBytes & 0xffU);
    bytes += static_cast<char>(listBytes >> 8);
    bytes += std::string(listBytes, 'L');
    bytes += std::string(44, '\x02');
    bytes.append(label).append(1, '\0').append(target).append(1, '\0');
    bytes += "more behind it";
    return bytes;
}

TEST_F(TextFiles, AShortcutGivesItsTarget) {
    WriteFile(Path(), Link(60, "DISK", R"(C:\Program Files\a, b\x.exe)"));
    EXPECT_EQ(modFiles::ShortcutTargetPath(Path()), R"(C:\Program Files\a, b\x.exe)");
}

TEST_F(TextFiles, AShortcutOnAVolumeWithoutLabelGivesItsTarget) {
    WriteFile(Path(), Link(300, "", R"(D:\x.exe)"));
    EXPECT_EQ(modFiles::ShortcutTargetPath(Path()), R"(D:\x.exe)");
}

TEST_F(TextFiles, AShortcutWhoseTargetReachesTheFilesEndGivesIt) {
    std::string bytes = Link(60, "DISK", R"(C:\x.exe)");
    bytes.resize(bytes.find("x.exe") + 5);
    WriteFile(Path(), bytes);
    EXPECT_EQ(modFiles::ShortcutTargetPath(Path()), R"(C:\x.exe)");
}

TEST_F(TextFiles, AShortcutWithAZeroAtTheProbeGivesNothing) {
    std::string bytes = Link(60, "DISK", R"(C:\x.exe)");
    bytes[101] = '\0';
    WriteFile(Path(), bytes);
    EXPECT_EQ(modFiles::ShortcutTargetPath(Path()), "");
}

TEST_F(TextFiles, AShortcutWithFieldsBehindItsEndGivesThreeCharacters) {
    std::string bytes(120, '\x01');
    bytes[76] = '\xff';
    bytes[77] = '\x7f';
    bytes.replace(101, 5, "D:\\yz");
    WriteFile(Path(), bytes);
    EXPECT_EQ(modFiles::ShortcutTargetPath(Path()), "D:\\");
}

TEST_F(TextFiles, AShortOrMissingShortcutGivesNothing) {
    EXPECT_EQ(modFiles::ShortcutTargetPath(Path()), "");
    for (const std::size_t size : {0U, 1U, 77U, 101U}) {
        WriteFile(Path(), std::string(size, 'x'));
        EXPECT_EQ(modFiles::ShortcutTargetPath(Path()), "") << size;
    }
    WriteFile(Path(), std::string(102, '\x01'));
    EXPECT_EQ(modFiles::ShortcutTargetPath(Path()), "\x01");
    EXPECT_TRUE(Reported().empty());
}

}  // namespace
}  // namespace kel
