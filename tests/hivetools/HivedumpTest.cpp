// What hivedump shows of a hive, and how it ends.
#include <gmock/gmock.h>

#include "HiveToolsTest.h"
#include "Logs.h"

namespace kel::test {
namespace {

using offline::KeyId;
using offline::regf::Store16;
using offline::regf::Store32;
using platform::SysError;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using namespace std::string_literals;
namespace nk = offline::regf::nk;
namespace vk = offline::regf::vk;

std::u16string Digits(std::size_t number) {
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

constexpr const char* Time = "2006-01-02T03:04:05Z";

class Hivedump : public HiveToolsTest {
protected:
    /// The bytes of a record's field in a hive that was written.
    static std::byte* Field(const offline::Hive& hive, Bytes& bytes, std::uint32_t cell, std::size_t field) {
        return bytes.data() + 4096 + hive.Reader().FieldAt(cell, field);
    }
    static std::uint32_t ValueCell(const offline::Hive& hive, KeyId key, std::size_t index) {
        std::vector<std::uint32_t> values;
        hive.Reader().Values(key, values);
        return values.at(index);
    }
    static void Set(offline::Hive& hive, KeyId key, std::u16string_view name, std::uint32_t type, const Bytes& data) {
        ASSERT_EQ(hive.SetValue(key, name, type, data), SysError::Success);
    }
    /// A hive whose value `A\two` has data that lie nowhere.
    Bytes DamagedHive(std::uint64_t& offset) const {
        const auto hive = New();
        const KeyId key = Make(*hive, u"A");
        Set(*hive, key, u"one", 3, Pattern(8));
        Set(*hive, key, u"two", 1, Text(u"lost"));
        Bytes bytes = Written(*hive);
        const std::uint32_t value = ValueCell(*hive, key, 1);
        Store32(Field(*hive, bytes, value, vk::DataAt), 0x7FFFFFF8);
        offset = 4096 + hive->Reader().FieldAt(value, vk::DataAt);
        return bytes;
    }
    std::string WriteSmall() const {
        const auto hive = New();
        Set(*hive, Make(*hive, u"Software\\Sample"), u"Version", 1, Text(u"1.0"));
        Set(*hive, Make(*hive, u"Software"), u"", 4, {std::byte{1}, std::byte{2}, std::byte{0}, std::byte{0}});
        return Write("hive", Written(*hive));
    }
};

TEST_F(Hivedump, TextHasALineForEachKeyAndValueAndTheCountsAtTheEnd) {
    const Outcome run = RunDump({WriteSmall()});
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out,
              "[\\] 2006-01-02T03:04:05Z\n"
              "[\\Software] 2006-01-02T03:04:05Z\n"
              "  \"\" REG_DWORD(4) 01020000\n"
              "[\\Software\\Sample] 2006-01-02T03:04:05Z\n"
              "  \"Version\" REG_SZ(1) 31002e0030000000 \"1.0\"\n"
              "keys 3 values 2\n");
    EXPECT_EQ(RunDump({Path("hive"), "--format", "text"}).out, run.out);
}

TEST_F(Hivedump, JsonLinesHaveAnObjectForEachKeyAndValueAndASummary) {
    const Outcome run = RunDump({WriteSmall(), "--format", "jsonl"});
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(
        run.out,
        R"({"type":"key","path":[],"written":"2006-01-02T03:04:05Z","filetime":127806446450000000})"
        "\n"
        R"({"type":"key","path":["Software"],"written":"2006-01-02T03:04:05Z","filetime":127806446450000000})"
        "\n"
        R"({"type":"value","path":["Software"],"name":"","valueType":4,"data":"01020000"})"
        "\n"
        R"({"type":"key","path":["Software","Sample"],"written":"2006-01-02T03:04:05Z",)"
        R"("filetime":127806446450000000})"
        "\n"
        R"({"type":"value","path":["Software","Sample"],"name":"Version","valueType":1,)"
        R"("data":"31002e0030000000"})"
        "\n"
        R"({"type":"summary","keys":3,"values":2,"damaged":0,"dirty":false,"replayed":false,"tooDeep":0,"version":"1.3"})"
        "\n");
}

TEST_F(Hivedump, EveryTypeIsShownByNameAndNumber) {
    const auto hive = New();
    const Bytes data = Text(u"ab");
    for (const std::uint32_t type : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 10U, 11U, 12U, 0xFFFFFFFFU})
        Set(*hive, hive->Root(), Digits(type), type, data);
    const Outcome run = RunDump({Write("hive", Written(*hive))});
    EXPECT_THAT(Lines(run.out), ElementsAre("[\\] "s + Time,                                              //
                                            R"(  "0" REG_NONE(0) 610062000000)",                          //
                                            R"(  "1" REG_SZ(1) 610062000000 "ab")",                       //
                                            R"(  "2" REG_EXPAND_SZ(2) 610062000000 "ab")",                //
                                            R"(  "3" REG_BINARY(3) 610062000000)",                        //
                                            R"(  "4" REG_DWORD(4) 610062000000)",                         //
                                            R"(  "5" REG_DWORD_BIG_ENDIAN(5) 610062000000)",              //
                                            R"(  "6" REG_LINK(6) 610062000000 "ab")",                     //
                                            R"(  "7" REG_MULTI_SZ(7) 610062000000 "ab")",                 //
                                            R"(  "8" REG_RESOURCE_LIST(8) 610062000000)",                 //
                                            R"(  "9" REG_FULL_RESOURCE_DESCRIPTOR(9) 610062000000)",      //
                                            R"(  "10" REG_RESOURCE_REQUIREMENTS_LIST(10) 610062000000)",  //
                                            R"(  "11" REG_QWORD(11) 610062000000)",                       //
                                            R"(  "12" type(12) 610062000000)",                            //
                                            R"(  "4294967295" type(4294967295) 610062000000)",            //
                                            "keys 1 values 14"));
}

TEST_F(Hivedump, TextsEndBeforeTheirTerminatorsAndKeepThoseBetween) {
    const auto hive = New();
    const KeyId root = hive->Root();
    Set(*hive, root, u"none", 1, {});
    Set(*hive, root, u"open", 1, {std::byte{'a'}, std::byte{0}, std::byte{'b'}});
    Set(*hive, root, u"list", 7, Text(std::u16string_view(u"a\0b\0", 4)));
    const Outcome run = RunDump({Write("hive", Written(*hive))});
    EXPECT_THAT(Lines(run.out),
                ElementsAre("[\\] "s + Time, R"(  "none" REG_SZ(1) "")", R"(  "open" REG_SZ(1) 610062 "a")",
                            R"(  "list" REG_MULTI_SZ(7) 61000000620000000000 "a\u0000b")", "keys 1 values 3"));
}

TEST_F(Hivedump, NothingInANameOrTextActsOnATerminal) {
    const auto hive = New();
    const KeyId key = Make(*hive, u"tab\tquote\"\u007F\u0085");
    Set(*hive, key, u"\u001B[31m\u202Ered", 1, Text(u"line\r\nend\uFEFF"));
    const Outcome text = RunDump({Write("hive", Written(*hive))});
    EXPECT_THAT(Lines(text.out),
                ElementsAre("[\\] "s + Time, R"([\tab\u0009quote\"\u007f\u0085] )"s + Time,
                            R"(  "\u001b[31m\u202ered" REG_SZ(1) 6c0069006e0065000d000a0065006e006400fffe0000 )"
                            R"("line\u000d\u000aend\ufeff")",
                            "keys 2 values 1"));
    const Outcome json = RunDump({Path("hive"), "--format", "jsonl"});
    EXPECT_THAT(json.out, HasSubstr(R"("path":["tab\u0009quote\"\u007f\u0085"],"name":"\u001b[31m\u202ered")"));
    for (const std::string& out : {text.out, json.out})
        for (const char c : out)
            EXPECT_TRUE(c == '\n' || static_cast<unsigned char>(c) >= 0x20) << static_cast<int>(c);
}

TEST_F(Hivedump, LettersOfAllAlphabetsAreWrittenAsUtf8) {
    const auto hive = New();
    Set(*hive, Make(*hive, u"\u00C4rger"), u"\u03A9\u4E2D\U0001F600", 1, Text(u"\u00DF"));
    const Outcome run = RunDump({Write("hive", Written(*hive))});
    EXPECT_THAT(run.out, HasSubstr("[\\\xC3\x84rger] "));
    EXPECT_THAT(run.out, HasSubstr("  \"\xCE\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80\" REG_SZ(1) df000000 \"\xC3\x9F\"\n"));
}

TEST_F(Hivedump, LoneSurrogatesAndNulsOfNamesAreEscapes) {
    const auto hive = New();
    const KeyId key = Make(*hive, std::u16string_view(u"a\0b", 3));
    Set(*hive, key, u"\xD800x\xDC00", 3, {});
    Set(*hive, key, std::u16string_view(u"\0", 1), 3, {});
    const Outcome text = RunDump({Write("hive", Written(*hive))});
    EXPECT_THAT(Lines(text.out),
                ElementsAre("[\\] "s + Time, R"([\a\u0000b] )"s + Time, R"(  "\ud800x\udc00" REG_BINARY(3) )",
                            R"(  "\u0000" REG_BINARY(3) )", "keys 2 values 2"));
    const Outcome json = RunDump({Path("hive"), "--format", "jsonl"});
    EXPECT_THAT(json.out, HasSubstr(R"("path":["a\u0000b"],"name":"\ud800x\udc00","valueType":3,"data":""})"));
    EXPECT_THAT(json.out, HasSubstr(R"("path":["a\u0000b"],"name":"\u0000","valueType":3,"data":""})"));
}

TEST_F(Hivedump, AKeyWithoutANameIsListed) {
    const auto hive = New();
    const KeyId key = Make(*hive, u"gone");
    Bytes bytes = Written(*hive);
    Store16(Field(*hive, bytes, key, nk::NameLengthAt), 0);
    const Outcome run = RunDump({Write("hive", bytes), "--format", "jsonl"});
    EXPECT_EQ(run.code, 0);
    EXPECT_THAT(run.out, HasSubstr(R"({"type":"key","path":[""],)"));
    EXPECT_EQ(LastLine(RunDump({Path("hive")}).out), "keys 2 values 0");
}

TEST_F(Hivedump, ClassNamesAreShownWithTheirKeys) {
    const auto hive = New();
    const KeyId key = Make(*hive, u"A");
    // The cell with a value's data is given to the key as its class.
    Set(*hive, key, u"v", 3, Text(u"Shell\u00E9"));
    Bytes bytes = Written(*hive);
    const std::uint32_t value = ValueCell(*hive, key, 0);
    Store32(Field(*hive, bytes, key, nk::ClassAt), offline::regf::Load32(Field(*hive, bytes, value, vk::DataAt)));
    Store16(Field(*hive, bytes, key, nk::ClassLengthAt), 12);
    Store32(Field(*hive, bytes, key, nk::ValueCountAt), 0);
    const Outcome text = RunDump({Write("hive", bytes)});
    EXPECT_EQ(text.code, 0) << text.err;
    EXPECT_THAT(text.out, HasSubstr("[\\A] "s + Time + " class \"Shell\xC3\xA9\"\n"));
    EXPECT_THAT(RunDump({Path("hive"), "--format", "jsonl"}).out,
                HasSubstr("\"filetime\":127806446450000000,\"class\":\"Shell\xC3\xA9\"}\n"));
}

TEST_F(Hivedump, TimesThatAreNoneAreADash) {
    const auto hive = New();
    hive->SetClock([] { return std::uint64_t{0}; });
    Make(*hive, u"never");
    hive->SetClock([] { return std::uint64_t{1}; });
    Make(*hive, u"first");
    hive->SetClock([] { return ~std::uint64_t{0}; });
    Make(*hive, u"late");
    const Outcome run = RunDump({Write("hive", Written(*hive))});
    EXPECT_THAT(Lines(run.out), ElementsAre("[\\] -", "[\\first] 1601-01-01T00:00:00Z", "[\\late] -", "[\\never] -",
                                            "keys 4 values 0"));
    EXPECT_THAT(RunDump({Path("hive"), "--format", "jsonl"}).out,
                HasSubstr(R"("path":["late"],"written":"-","filetime":18446744073709551615})"));
}

TEST_F(Hivedump, DataOfSeveralSegmentsAreWhole) {
    for (const std::uint32_t minor : {3U, 5U}) {
        const auto hive = New(minor);
        const Bytes large = Pattern(100'000);
        Set(*hive, hive->Root(), u"large", 3, large);
        const Outcome run = RunDump({Write("hive", Written(*hive))});
        EXPECT_EQ(run.code, 0) << run.err;
        EXPECT_THAT(run.out, HasSubstr("  \"large\" REG_BINARY(3) " + Hex(large) + "\n")) << minor;
    }
}

TEST_F(Hivedump, EveryVersionIsNamedInTheSummary) {
    for (std::uint32_t minor = 1; minor <= 6; ++minor) {
        const auto hive = New(minor);
        Set(*hive, Make(*hive, u"A"), u"v", 1, Text(u"x"));
        const std::string file = Write("hive", Written(*hive));
        EXPECT_THAT(LastLine(RunDump({file, "--format", "jsonl"}).out),
                    EndsWith(",\"version\":\"1." + std::to_string(minor) + "\"}"));
        EXPECT_EQ(LastLine(RunDump({file}).out), "keys 2 values 1");
    }
}

TEST_F(Hivedump, WhatIsDamagedIsToldAndTheRestIsShown) {
    std::uint64_t offset = 0;
    const std::string file = Write("hive", DamagedHive(offset));
    const std::string reason = "the reference to data leads to no cell";
    const Outcome text = RunDump({file});
    EXPECT_EQ(text.code, 2);
    EXPECT_EQ(text.err, file + ": offset " + std::to_string(offset) + ": " + reason + "\n");
    EXPECT_THAT(Lines(text.out),
                ElementsAre("[\\] "s + Time, "[\\A] "s + Time, "  \"one\" REG_BINARY(3) " + Hex(Pattern(8)),
                            "  \"two\" REG_SZ(1) \"\" (not whole)", "keys 2 values 2"));
    const Outcome json = RunDump({file, "--format", "jsonl"});
    EXPECT_EQ(json.code, 2);
    EXPECT_EQ(json.err, text.err);
    EXPECT_THAT(json.out, HasSubstr(R"("name":"two","valueType":1,"data":"","whole":false})"));
    EXPECT_THAT(json.out, HasSubstr("{\"type\":\"damage\",\"offset\":" + std::to_string(offset) + ",\"reason\":\"" +
                                    reason + "\"}\n{\"type\":\"summary\",\"keys\":2,\"values\":2,\"damaged\":1,"));
}

// Windows makes no more; the path of each would be longer than that of the one before.
TEST_F(Hivedump, KeysDeeperThan512LevelsAreLeftOutAndTold) {
    const auto hive = New();
    offline::KeyId key = hive->Root();
    for (int level = 0; level < 514; ++level)
        key = hive->CreateKey(key, u"k").Value();
    const Outcome outcome = RunDump({Write("deep", hive->Render())});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.out, EndsWith("keys 513 values 0\n"));
    EXPECT_THAT(outcome.err, HasSubstr("deep: 2 keys lie deeper than 512 levels and were left out\n"));
}

TEST_F(Hivedump, DamageThatIsTooMuchToTellIsCounted) {
    const auto hive = New();
    constexpr std::size_t Values = 10'050;
    Bytes data = Pattern(8);
    for (std::size_t i = 0; i < Values; ++i)
        Set(*hive, hive->Root(), Digits(i), 3, data);
    Bytes bytes = Written(*hive);
    std::vector<std::uint32_t> cells;
    hive->Reader().Values(hive->Root(), cells);
    for (const std::uint32_t cell : cells)
        Store32(Field(*hive, bytes, cell, vk::DataAt), 0x7FFFFFF8);
    const Outcome run = RunDump({Write("hive", bytes)});
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(Lines(run.err).size(), 10'001U);
    EXPECT_EQ(LastLine(run.err), Path("hive") + ": 50 more places could not be read");
    EXPECT_EQ(LastLine(run.out), "keys 1 values 10050");
}

/// Three states of a hive of which the first lies on the disk, and the logs that lead to the others.
class HivedumpLogs : public Hivedump {
protected:
    HivedumpLogs() {
        const auto hive = New(5);
        Make(*hive, u"A");
        EXPECT_EQ(hive->Commit(), SysError::Success);
        const Bytes first = Written(*hive);
        Make(*hive, u"A\\B");
        const Bytes second = Written(*hive);
        Make(*hive, u"C");
        const Bytes third = Written(*hive);
        NewLog log1(first, 1);
        log1.Add(first, second, 1);
        NewLog log2(second, 2);
        log2.Add(second, third, 2);
        Write("hive", Dirty(first));
        Write("log1", log1.Get());
        Write("log2", log2.Get());
        hive->SetClock([] { return When + 1; });
        Write("other", OldLog(Written(*hive), third));
    }
};

TEST_F(HivedumpLogs, LogsThatAreNotNamedAreNotApplied) {
    const Outcome run = RunDump({Path("hive")});
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(LastLine(run.out), "keys 2 values 0");
    EXPECT_EQ(run.err, Path("hive") + ": was not written to its end; name its logs with --log to see its last state\n");
    EXPECT_THAT(RunDump({Path("hive"), "--format", "jsonl"}).out, HasSubstr(R"("dirty":true,"replayed":false,)"));
}

TEST_F(HivedumpLogs, ANamedLogIsAppliedInMemory) {
    const std::string before = Read("hive");
    const Outcome run = RunDump({Path("hive"), "--log", Path("log1")});
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.err, Path("log1") + ": 1 entries applied\n");
    EXPECT_THAT(Lines(run.out),
                ElementsAre(StartsWith("[\\] "), StartsWith("[\\A] "), StartsWith("[\\A\\B] "), "keys 3 values 0"));
    EXPECT_EQ(Read("hive"), before);
    EXPECT_THAT(RunDump({"--log", Path("log1"), Path("hive"), "--format", "jsonl"}).out,
                HasSubstr(R"("dirty":true,"replayed":true,)"));
}

TEST_F(HivedumpLogs, SeveralLogsAreNamedOneByOneInAnyOrder) {
    for (const bool swapped : {false, true}) {
        const Outcome run = RunDump(
            {"--log", Path(swapped ? "log2" : "log1"), "--log=" + Path(swapped ? "log1" : "log2"), Path("hive")});
        EXPECT_EQ(run.code, 0);
        EXPECT_EQ(run.err, Path("log1") + ": 1 entries applied\n" + Path("log2") + ": 1 entries applied\n");
        EXPECT_EQ(LastLine(run.out), "keys 4 values 0");
    }
}

TEST_F(HivedumpLogs, ALogOfAnotherStateIsTold) {
    const Outcome run = RunDump({Path("hive"), "--log", Path("other")});
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(LastLine(run.out), "keys 2 values 0");
    EXPECT_THAT(Lines(run.err),
                ElementsAre(StartsWith(Path("other") + ": "),
                            Path("hive") + ": was not written to its end; no log fits to see its last state"));
}

TEST_F(HivedumpLogs, OneOptionTakesOneLog) {
    const Outcome run = RunDump({"--log", Path("log1"), Path("log2"), Path("hive")});
    EXPECT_EQ(run.code, 64);
    EXPECT_EQ(run.out, "");
}

TEST_F(HivedumpLogs, ALogThatIsNotThereIsNotPassedOver) {
    const Outcome run = RunDump({Path("hive"), "--log", Path("log9")});
    EXPECT_EQ(run.code, 66);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "hivedump: " + Path("log9") + " is not there\n");
}

TEST_F(Hivedump, WhatCannotBeUnderstoodIs64) {
    const std::string file = WriteSmall();
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {}, {file, "--wrong"}, {file, "--format", "xml"}, {file, file}, {file, "--log"}}) {
        const Outcome run = RunDump(arguments);
        EXPECT_EQ(run.code, 64) << testing::PrintToString(arguments);
        EXPECT_EQ(run.out, "");
        EXPECT_NE(run.err, "");
    }
}

TEST_F(Hivedump, HelpAndVersionAreNoFailure) {
    const Outcome help = RunDump({"--help"});
    EXPECT_EQ(help.code, 0);
    for (const char* word : {"FILE", "--log", "--format", "jsonl", "Exit codes"})
        EXPECT_THAT(help.out, HasSubstr(word));
    const Outcome version = RunDump({"--version"});
    EXPECT_EQ(version.code, 0);
    EXPECT_THAT(version.out, StartsWith("hivedump "));
}

TEST_F(Hivedump, WhatCannotBeReadIs66) {
    Write("empty", "");
    Write("text", "hello");
    std::string creg(5000, '\0');
    creg.replace(0, 4, "CREG");
    Write("creg", creg);
    const auto hive = New();
    const Bytes bytes = Written(*hive);
    Write("log", NewLog(bytes, 1).Get());
    Write("cut", std::span(bytes).first(4000));
    const std::vector<std::pair<std::string, std::string>> reasons{
        {"missing", "is not there"},
        {"empty", "is not a registry hive"},
        {"text", "is not a registry hive"},
        {"cut", "is too short for a registry hive"},
        {"creg", "is a registry of Windows 95, 98 or Me (CREG); only hives of Windows NT and its successors are read"},
        {"", "may not be read, or is no file"},
    };
    for (const auto& [name, reason] : reasons) {
        const Outcome run = RunDump({Path(name)});
        EXPECT_EQ(run.code, 66) << name;
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "hivedump: " + Path(name) + " " + reason + "\n");
    }
    const Outcome log = RunDump({Path("log")});
    EXPECT_EQ(log.code, 66);
    EXPECT_THAT(log.err, StartsWith("hivedump: " + Path("log") + " is "));
}

TEST_F(Hivedump, AnOutputThatTakesNothingIs74) {
    const Outcome run = RunDump({WriteSmall()}, "/dev/full");
    EXPECT_EQ(run.code, 74);
    EXPECT_EQ(run.err, "hivedump: the output can't be written\n");
}

#define REAL(variable, name)                 \
    const std::string variable = Real(name); \
    if (variable.empty())                    \
    GTEST_SKIP() << "no real hive " << (name)

TEST_F(Hivedump, ADirtyHiveOfAMachineIsShownWithAndWithoutItsLogs) {
    REAL(file, "dirty_NTUSER.DAT");
    REAL(log1, "dirty_NTUSER.DAT.LOG1");
    REAL(log2, "dirty_NTUSER.DAT.LOG2");
    const Outcome without = RunDump({file});
    EXPECT_EQ(LastLine(without.out), "keys 2590 values 4119");
    const Outcome with = RunDump({file, "--log", log1, "--log", log2});
    EXPECT_EQ(with.code, 0) << with.err;
    EXPECT_EQ(LastLine(with.out), "keys 3105 values 4695");
}

TEST_F(Hivedump, ADamagedHiveOfAMachineIs2) {
    REAL(file, "corrupt_sub_key_list.hiv");
    const Outcome run = RunDump({file});
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(LastLine(run.out), "keys 100 values 99");
    EXPECT_THAT(Lines(run.err), ElementsAre(StartsWith(file + ": offset ")));
}

TEST_F(Hivedump, TheRegistryOfWindows9xIsRefusedByName) {
    REAL(file, "win9x_SYSTEM.DAT");
    const Outcome run = RunDump({file});
    EXPECT_EQ(run.code, 66);
    EXPECT_THAT(run.err, HasSubstr("is a registry of Windows 95, 98 or Me (CREG)"));
}

}  // namespace
}  // namespace kel::test
