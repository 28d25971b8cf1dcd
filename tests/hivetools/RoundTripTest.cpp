// A hive that is shown as JSON lines and made of them again has the keys and values that it had.
#include <gmock/gmock.h>

#include "HiveToolsTest.h"

namespace kel::test {
namespace {

using offline::KeyId;
using platform::SysError;

class RoundTrip : public HiveToolsTest {
protected:
    /// The lines of a dump without what is not taken over: times, class names, and the summary's version.
    static std::vector<std::string> Comparable(const Outcome& dump) {
        auto lines = Lines(dump.out);
        for (std::string& line : lines) {
            const bool key = line.starts_with(R"({"type":"key",)");
            const bool summary = line.starts_with(R"({"type":"summary",)");
            if (key || summary)
                line.resize(line.find(key ? R"(,"written":)" : R"(,"dirty":)"));
        }
        return lines;
    }
    void ExpectSame(const std::string& file, const std::vector<std::string>& logs = {}) const {
        std::vector<std::string> arguments{file, "--format", "jsonl"};
        for (const std::string& log : logs)
            arguments.insert(arguments.end(), {"--log", log});
        const Outcome first = RunDump(arguments);
        ASSERT_EQ(first.code, 0) << first.err;
        for (const char* minor : {"3", "6"}) {
            const Outcome made = RunMake({"-o", Path("again"), "--minor", minor}, first.out);
            ASSERT_EQ(made.code, 0) << made.err;
            const Outcome second = RunDump({Path("again"), "--format", "jsonl"});
            EXPECT_EQ(second.code, 0);
            EXPECT_EQ(second.err, "");
            const auto before = Comparable(first);
            const auto after = Comparable(second);
            EXPECT_TRUE(before == after) << minor << ": " << Difference(before, after);
        }
    }
};

TEST_F(RoundTrip, NamesTypesAndDataOfEveryKindComeBack) {
    const auto hive = New(5);
    unsigned seed = 0;
    for (const std::u16string& name :
         {std::u16string(u"plain"), std::u16string(u"with \"quotes\" / and\ttab"),
          std::u16string(u"\u00C4\u03A9\u4E2D"), std::u16string(u"\U0001F600"), std::u16string(u"\xD800"),
          std::u16string(u"\xDC00\xD800"), std::u16string(u"a\0b", 3), std::u16string(u"\0", 1),
          std::u16string(u"\U0010FFFF"
                         u"d800"),
          std::u16string(u"\uFEFF\u202E\u007F"), std::u16string(255, u'n')}) {
        ++seed;
        const KeyId key = Make(*hive, name);
        ASSERT_EQ(hive->SetValue(key, u"", 1, Text(u"default")), SysError::Success);
        ASSERT_EQ(hive->SetValue(key, name, seed, Pattern(seed * 3, seed)), SysError::Success);
        ASSERT_EQ(hive->SetValue(key, u"slash \\ in it", 0xFFFF0000 + seed, {}), SysError::Success);
    }
    ASSERT_EQ(hive->SetValue(hive->Root(), u"large", 3, Pattern(200'000)), SysError::Success);
    ASSERT_EQ(hive->SetValue(hive->Root(), std::u16string(16383, u'v'), 3, Pattern(4)), SysError::Success);
    ExpectSame(Write("hive", Written(*hive)));
}

TEST_F(RoundTrip, ManyAndDeepKeysComeBack) {
    const auto hive = New(3);
    for (int i = 0; i < 3000; ++i) {
        const std::string digits = std::to_string(i * 7919 % 3000);
        Make(*hive, u"Many\\" + std::u16string(digits.begin(), digits.end()));
    }
    KeyId key = hive->Root();
    for (int depth = 0; depth < 500; ++depth)
        key = hive->CreateKey(key, u"deeper").ValueOr(offline::NoKey);
    ASSERT_EQ(hive->SetValue(key, u"v", 4, Pattern(4)), SysError::Success);
    ExpectSame(Write("hive", Written(*hive)));
}

TEST_F(RoundTrip, AHiveOfAMachineComesBack) {
    for (const char* name : {"xp_NTUSER.DAT", "win7_SYSTEM"}) {
        const std::string file = Real(name);
        if (file.empty())
            GTEST_SKIP() << "no real hive " << name;
        SCOPED_TRACE(name);
        ExpectSame(file);
    }
}

TEST_F(RoundTrip, AReplayedHiveOfAMachineComesBack) {
    const std::string file = Real("dirty_NTUSER.DAT");
    if (file.empty())
        GTEST_SKIP() << "no real hive dirty_NTUSER.DAT";
    ExpectSame(file, {file + ".LOG1", file + ".LOG2"});
}

}  // namespace
}  // namespace kel::test
