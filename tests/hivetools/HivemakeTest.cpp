// What hivemake makes of lines, what it refuses, and what it leaves behind.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "HiveToolsTest.h"
#include "Oracles.h"

namespace kel::test {
namespace {

namespace fs = std::filesystem;
using offline::Hive;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* SmallHive = R"({"type":"value","path":["A"],"name":"v","text":"x"})";

class Hivemake : public HiveToolsTest {
protected:
    /// The hive that was made at `hive`.
    [[nodiscard]] std::unique_ptr<Hive> Made() const {
        auto hive = ReadHive(ReadFileBytes(Path("hive")));
        hive->Reader().ReadAll();
        EXPECT_EQ(hive->Damage().Count(), 0U);
        return hive;
    }
    /// Makes `hive` of these lines; fails the test when that fails.
    [[nodiscard]] std::unique_ptr<Hive> MakeOf(const std::string& lines, std::vector<std::string> options = {}) const {
        options.insert(options.end(), {"-o", Path("hive")});
        const Outcome run = RunMake(options, lines);
        EXPECT_EQ(run.code, 0) << run.err;
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "");
        return Made();
    }
    static std::string Value(const std::string& path, const std::string& name, std::uint32_t type, const Bytes& data) {
        return path + "\\ value " + name + " type " + std::to_string(type) + " data " + Hex(data);
    }
};

TEST_F(Hivemake, AnEmptyInputGivesAHiveWithItsRoot) {
    EXPECT_THAT(Content(*MakeOf("")), ElementsAre("\\ class "));
    EXPECT_THAT(Names(), ElementsAre("hive"));
}

TEST_F(Hivemake, KeysAreMadeWithThoseAboveThem) {
    const auto hive = MakeOf(R"({"type":"key","path":["Software","Sample"]})"
                             "\n"
                             R"({"type":"value","path":["A","B"],"name":"v","data":"00ff"})"
                             "\n"
                             R"({"type":"key","path":[]})"
                             "\n");
    EXPECT_THAT(Content(*hive), ElementsAre("\\ class ", "\\A\\ class ", "\\A\\B\\ class ",
                                            Value("\\A\\B", "v", 3, {std::byte{0}, std::byte{0xFF}}),
                                            "\\Software\\ class ", "\\Software\\Sample\\ class "));
}

TEST_F(Hivemake, DataAreDigitsTextTextsOrANumber) {
    const auto hive = MakeOf(R"({"type":"value","path":[],"name":"data","valueType":11,"data":"0aBc"})"
                             "\n"
                             R"({"type":"value","path":[],"name":"none","valueType":0,"data":""})"
                             "\n"
                             R"({"type":"value","path":[],"name":"text","text":"Äb"})"
                             "\n"
                             R"({"type":"value","path":[],"name":"long","valueType":2,"text":"%a%"})"
                             "\n"
                             R"({"type":"value","path":[],"name":"texts","texts":["a","bc"]})"
                             "\n"
                             R"({"type":"value","path":[],"name":"notexts","texts":[]})"
                             "\n"
                             R"({"type":"value","path":[],"name":"number","number":4294967295})"
                             "\n"
                             R"({"type":"value","path":[],"name":"odd","valueType":4294967295,"number":258})"
                             "\n");
    const std::byte zero{0};
    const std::byte full{0xFF};
    Bytes texts = Text(std::u16string_view(u"a\0bc", 4));
    texts.insert(texts.end(), 2, zero);
    EXPECT_THAT(Content(*hive),
                testing::UnorderedElementsAre("\\ class ", Value("", "data", 11, {std::byte{0x0A}, std::byte{0xBC}}),
                                              Value("", "none", 0, {}), Value("", "text", 1, Text(u"\u00C4b")),
                                              Value("", "long", 2, Text(u"%a%")), Value("", "texts", 7, texts),
                                              Value("", "notexts", 7, {zero, zero}),
                                              Value("", "number", 4, {full, full, full, full}),
                                              Value("", "odd", 0xFFFFFFFF, {std::byte{2}, std::byte{1}, zero, zero})));
}

TEST_F(Hivemake, AValueWithoutANameIsTheDefaultOne) {
    const auto hive = MakeOf(R"({"type":"value","path":["A"],"text":"x"})"
                             "\n"
                             R"({"type":"value","path":["B"],"name":"","text":"y"})");
    EXPECT_TRUE(hive->FindValue(At(*hive, u"A"), u"").Ok());
    EXPECT_TRUE(hive->FindValue(At(*hive, u"B"), u"").Ok());
}

TEST_F(Hivemake, TheLastOfSeveralValuesOfOneNameStays) {
    const auto hive = MakeOf(R"({"type":"value","path":["A"],"name":"v","text":"one"})"
                             "\n"
                             R"({"type":"value","path":["a"],"name":"V","text":"two"})");
    EXPECT_THAT(Content(*hive), ElementsAre("\\ class ", "\\A\\ class ", Value("\\A", "v", 1, Text(u"two"))));
}

TEST_F(Hivemake, BlankLinesAndLinesOfOtherTypesAreLeftOut) {
    const auto hive = MakeOf("\n  \r\n\t\n" + std::string(SmallHive) +
                             "\r\n{\"type\":\"summary\",\"keys\":9}\n{\"type\":\"damage\",\"offset\":1}\n");
    EXPECT_THAT(Content(*hive), ElementsAre("\\ class ", "\\A\\ class ", Value("\\A", "v", 1, Text(u"x"))));
}

TEST_F(Hivemake, EveryCharacterOfANameComes) {
    const auto hive = MakeOf(R"({"type":"value","path":["\ud800","\u0000"],"name":"a\udc00\ud83d\ude00\udc01b\ud801",)"
                             R"("text":"\udbff\udfff0041\ud800\\udc00"})");
    const auto key = At(*hive, std::u16string_view(u"\xD800\\\0", 3));
    ASSERT_NE(key, offline::NoKey);
    const auto value = hive->ValueAt(key, 0);
    ASSERT_TRUE(value.Ok());
    EXPECT_EQ(value->name,
              u"a\xDC00\U0001F600\xDC01"
              u"b\xD801");
    EXPECT_EQ(value->data, Text(u"\U0010FFFF"
                                u"0041\xD800\\udc00"));
}

TEST_F(Hivemake, TheLastOfAllCharactersIsNoEscapeOfItsOwn) {
    const auto hive = MakeOf(
        "{\"type\":\"key\",\"path\":[\"\xF4\x8F\xBF\xBF"
        "0041\",\"\xF4\x8F\xBF\xBF\"]}");
    EXPECT_NE(At(*hive,
                 u"\U0010FFFF"
                 u"0041\\\U0010FFFF"),
              offline::NoKey);
}

TEST_F(Hivemake, LargeDataAreKeptByEveryVersion) {
    const Bytes large = Pattern(70'000);
    const std::string line = R"({"type":"value","path":["A"],"name":"v","data":")" + Hex(large) + "\"}";
    for (std::uint32_t minor = 1; minor <= 6; ++minor) {
        const auto hive = MakeOf(line, {"--minor", std::to_string(minor)});
        EXPECT_EQ(hive->Minor(), minor);
        EXPECT_THAT(Content(*hive), ElementsAre("\\ class ", "\\A\\ class ", Value("\\A", "v", 3, large)));
    }
}

TEST_F(Hivemake, TheVersionIs13UnlessSaidOtherwise) {
    EXPECT_EQ(MakeOf("")->Minor(), 3U);
}

TEST_F(Hivemake, TheRootIsNamedAsAsked) {
    EXPECT_EQ(MakeOf("")->KeyName(MakeOf("")->Root()), u"ROOT");
    const auto hive = MakeOf("", {"--root", "\xC3\x84$\xE4\xB8\xAD"});
    EXPECT_EQ(hive->KeyName(hive->Root()), u"\u00C4$\u4E2D");
    const auto latin = MakeOf("", {"--root", "\xC3\x84"});
    EXPECT_EQ(latin->KeyName(latin->Root()), u"\u00C4");
}

TEST_F(Hivemake, TheLinesComeFromAFileOrFromStandardInput) {
    const std::string lines = Write("lines", SmallHive);
    EXPECT_EQ(RunMake({lines, "-o", Path("a")}, "not read").code, 0);
    EXPECT_EQ(RunMake({"-", "--output", Path("b")}, SmallHive).code, 0);
    EXPECT_EQ(RunMake({"-o", Path("c")}, SmallHive).code, 0);
    for (const char* name : {"a", "b", "c"})
        EXPECT_EQ(LastLine(RunDump({Path(name)}).out), "keys 2 values 1") << name;
}

TEST_F(Hivemake, WhatCannotBeUnderstoodIs64) {
    const std::vector<std::vector<std::string>> wrong{
        {},
        {Path("lines")},
        {"-o"},
        {"-o", Path("hive"), "--wrong"},
        {"-o", Path("hive"), "a", "b"},
        {"-o", Path("hive"), "--minor", "0"},
        {"-o", Path("hive"), "--minor", "7"},
        {"-o", Path("hive"), "--minor", "x"},
        {"-o", Path("hive"), "--root", ""},
        {"-o", Path("hive"), "--root", std::string(256, 'x')},
    };
    for (const auto& arguments : wrong) {
        const Outcome run = RunMake(arguments, SmallHive);
        EXPECT_EQ(run.code, 64) << testing::PrintToString(arguments);
        EXPECT_NE(run.err, "");
    }
    EXPECT_THAT(Names(), ElementsAre());
}

TEST_F(Hivemake, HelpAndVersionAreNoFailure) {
    const Outcome help = RunMake({"--help"});
    EXPECT_EQ(help.code, 0);
    for (const char* word : {"JSONL", "--output", "--minor", "--root", "Exit codes"})
        EXPECT_THAT(help.out, HasSubstr(word));
    EXPECT_THAT(RunMake({"--version"}).out, StartsWith("hivemake "));
}

TEST_F(Hivemake, ALineThatIsNoKeyOrValueIs65AndNothingIsWritten) {
    Write("hive", "what was there");
    const std::string name256(256, 'x');
    const std::vector<std::string> wrong{
        "nonsense",
        "5",
        "[]",
        "{}",
        R"({"type":5})",
        R"({"type":"key"})",
        R"({"type":"key","path":"A"})",
        R"({"type":"key","path":{"a":"A"}})",
        R"({"type":"key","path":null})",
        R"({"type":"key","path":[5]})",
        R"({"type":"key","path":[""]})",
        R"({"type":"key","path":["a\\b"]})",
        R"({"type":"key","path":[")" + name256 + "\"]}",
        R"({"type":"value","path":[],"name":"v"})",
        R"({"type":"value","path":[],"name":5,"text":"x"})",
        R"({"type":"value","path":[],"name":"v","data":"0"})",
        R"({"type":"value","path":[],"name":"v","data":"0g"})",
        R"({"type":"value","path":[],"name":"v","data":[]})",
        R"({"type":"value","path":[],"name":"v","text":5})",
        R"({"type":"value","path":[],"name":"v","texts":"x"})",
        R"({"type":"value","path":[],"name":"v","texts":[5]})",
        R"({"type":"value","path":[],"name":"v","number":4294967296})",
        R"({"type":"value","path":[],"name":"v","number":-1})",
        R"({"type":"value","path":[],"name":"v","number":1.5})",
        R"({"type":"value","path":[],"name":"v","number":"1"})",
        R"({"type":"value","path":[],"name":"v","valueType":-1,"data":""})",
        R"({"type":"value","path":[],"name":"v","valueType":4294967296,"data":""})",
        R"({"type":"value","path":[],"name":"v","valueType":"REG_SZ","data":""})",
        "{\"type\":\"key\",\"path\":[\"\xFF\"]}",
        R"({"type":"key","path":["A"]} x)",
        R"({"type":"key","path":["A"])",
        R"({"type":"key","path":["\ud80"]})",
        R"({"type":"key","path":["\)",
    };
    for (const std::string& line : wrong) {
        const Outcome run = RunMake({"-o", Path("hive")}, std::string(SmallHive) + "\n\n" + line + "\n");
        EXPECT_EQ(run.code, 65) << line;
        EXPECT_EQ(run.out, "");
        EXPECT_THAT(run.err, StartsWith("hivemake: -: line 3: ")) << line;
        EXPECT_EQ(Lines(run.err).size(), 1U) << run.err;
    }
    EXPECT_EQ(Read("hive"), "what was there");
    EXPECT_THAT(Names(), ElementsAre("hive"));
}

TEST_F(Hivemake, AWrongLineOfAFileIsToldWithTheFile) {
    const std::string lines = Write("lines", "{}\n");
    const Outcome run = RunMake({lines, "-o", Path("hive")});
    EXPECT_EQ(run.code, 65);
    EXPECT_THAT(run.err, StartsWith("hivemake: " + lines + ": line 1: "));
}

TEST_F(Hivemake, AnInputThatCannotBeReadIs66AndNothingIsWritten) {
    fs::create_directory(Folder() / "folder");
    for (const char* name : {"missing", "folder"}) {
        const Outcome run = RunMake({Path(name), "-o", Path("hive")});
        EXPECT_EQ(run.code, 66) << name;
        EXPECT_EQ(run.err, "hivemake: " + Path(name) + " can't be read\n");
    }
    EXPECT_THAT(Names(), ElementsAre("folder"));
}

TEST_F(Hivemake, AnOutputThatCannotBeWrittenIs73AndLeavesNothingBehind) {
    fs::create_directory(Folder() / "folder");
    Write("file", "stays");
    fs::create_symlink("/dev/full", Folder() / "device");
    for (const std::string name : {"missing/hive", "file/hive", "folder", "device"}) {
        const Outcome run = RunMake({"-o", Path(name)}, SmallHive);
        EXPECT_EQ(run.code, 73) << name;
        EXPECT_THAT(run.err, StartsWith("hivemake: " + Path(name) + " can't be written: "));
    }
    EXPECT_THAT(Names(), ElementsAre("device", "file", "folder"));
    EXPECT_TRUE(fs::is_empty(Folder() / "folder"));
    EXPECT_EQ(Read("file"), "stays");
}

TEST_F(Hivemake, AFullDiskIs73AndTheOldFileStays) {
    Write("hive", "what was there");
    const Outcome run =
        Run("/bin/sh", {"-c", "trap '' XFSZ; ulimit -f 8; exec \"$@\"", "sh", KEL_HIVEMAKE, "-o", Path("hive")},
            R"({"type":"value","path":[],"name":"v","data":")" + Hex(Pattern(30'000)) + "\"}");
    EXPECT_EQ(run.code, 73);
    EXPECT_THAT(run.err, StartsWith("hivemake: " + Path("hive") + " can't be written: "));
    EXPECT_EQ(Read("hive"), "what was there");
    EXPECT_THAT(Names(), ElementsAre("hive"));
}

TEST_F(Hivemake, AnOldFileIsReplacedWhereItLiesAndKeepsItsMode) {
    const std::string real = Write("real", "old");
    ASSERT_EQ(::chmod(real.c_str(), 0640), 0);
    fs::create_symlink("real", Folder() / "link");
    EXPECT_EQ(RunMake({"-o", Path("link")}, SmallHive).code, 0);
    EXPECT_TRUE(fs::is_symlink(Folder() / "link"));
    EXPECT_EQ(LastLine(RunDump({real}).out), "keys 2 values 1");
    EXPECT_EQ(static_cast<unsigned>(fs::status(real).permissions()), 0640U);
    EXPECT_THAT(Names(), ElementsAre("link", "real"));
}

TEST_F(Hivemake, FilesOfOtherNamesAreLeftAlone) {
    Write("hive.new", "of somebody else");
    EXPECT_EQ(RunMake({"-o", Path("hive")}, SmallHive).code, 0);
    EXPECT_EQ(RunMake({"-o", Path("folder/hive")}, SmallHive).code, 73);
    EXPECT_EQ(Read("hive.new"), "of somebody else");
    EXPECT_THAT(Names(), ElementsAre("hive", "hive.new"));
}

TEST_F(Hivemake, WhatItMakesIsReadByThePrograms) {
    SKIP_WITHOUT_ORACLES();
    std::string lines;
    for (int key = 0; key < 600; ++key)
        lines += R"({"type":"value","path":["Keys","k)" + std::to_string(key) + R"("],"name":"v","number":)" +
                 std::to_string(key) + "}\n";
    // Type 5, whose bytes have another order, they show as a number of the usual one.
    for (const int type : {0, 1, 2, 3, 4, 6, 7, 8, 9, 10, 11})
        lines += R"({"type":"value","path":["Types"],"name":"t)" + std::to_string(type) + R"(","valueType":)" +
                 std::to_string(type) + R"(,"data":"6100620000000000"})" + "\n";
    lines += R"({"type":"value","path":["Types"],"text":"default"})";
    for (const char* minor : {"3", "5"}) {
        const auto hive = MakeOf(lines, {"--minor", minor});
        ExpectOraclesAgree(*hive, minor);
    }
}

TEST_F(Hivemake, WhatItMakesIsBrowsedWithHivexsh) {
    if (Run("/bin/sh", {"-c", "command -v hivexsh"}).code != 0)
        GTEST_SKIP() << "hivexsh (libhivex-bin) is not installed";
    static_cast<void>(MakeOf(R"({"type":"value","path":["Software","Sample"],"name":"Version","text":"1.0"})"
                             "\n"
                             R"({"type":"value","path":["Software","Sample"],"name":"Count","number":7})",
                             {"--root", "$$$PROTO.HIV"}));
    const Outcome run =
        Run("/usr/bin/env", {"hivexsh", Path("hive")}, "cd \\Software\nls\ncd Sample\nlsval Version\nlsval Count\n");
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(run.out, "Sample\n1.0\n7\n");
}

}  // namespace
}  // namespace kel::test
