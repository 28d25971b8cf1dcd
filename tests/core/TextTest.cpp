#include "core/Text.h"

#include "support/EngineTest.h"

namespace kel {
namespace {

class Strings : public test::EngineTest {
protected:
    // E with acute accent in both cases, in the machine's code page.
    const std::string upperE = platform::Current().text->FromUtf8("\xC3\x89");
    const std::string lowerE = platform::Current().text->FromUtf8("\xC3\xA9");
};

TEST_F(Strings, CaseFoldsAsciiAndThePlatformsLetters) {
    EXPECT_EQ(LCase("C:\\WINDOWS\\[A]"), "c:\\windows\\[a]");
    EXPECT_EQ(UCase("c:\\windows\\{z}"), "C:\\WINDOWS\\{Z}");
    EXPECT_EQ(LCase("X" + upperE + "Y"), "x" + lowerE + "y");
    EXPECT_EQ(UCase("x" + lowerE + "y"), "X" + upperE + "Y");
}

TEST_F(Strings, TrimTakesBlanksOnlyAndKeepsTabs) {
    EXPECT_EQ(Trim("  a b  "), "a b");
    EXPECT_EQ(Trim("\ta "), "\ta");
    EXPECT_EQ(Trim("   "), "");
    EXPECT_EQ(Trim(""), "");
}

TEST_F(Strings, EqualTextIgnoresCase) {
    EXPECT_TRUE(EqualText("ScanID", "SCANID"));
    EXPECT_TRUE(EqualText("a" + upperE, "A" + lowerE));
    EXPECT_FALSE(EqualText("abc", "abcd"));
    EXPECT_FALSE(EqualText("abc", "abd"));
    EXPECT_FALSE(EqualText("e", lowerE));
}

TEST_F(Strings, InStrCountsFromOneAndFindsNothingInAnEmptyText) {
    EXPECT_EQ(InStr("abcabc", "c"), 3U);
    EXPECT_EQ(InStr("abc", "C"), 0U);
    EXPECT_EQ(InStr("abc", ""), 1U);
    EXPECT_EQ(InStr("", ""), 0U);
    EXPECT_EQ(InStr("", "a"), 0U);
}

TEST_F(Strings, InStrTextIgnoresCaseAndGivesPositionsOfTheOriginal) {
    EXPECT_EQ(InStrText("abcABC", "CA"), 3U);
    EXPECT_EQ(InStrText(upperE + "x", "X"), upperE.size() + 1);
    EXPECT_EQ(InStrText("ab" + upperE, lowerE), 3U);
    EXPECT_EQ(InStrText("abc", "d"), 0U);
    EXPECT_EQ(InStrText("", ""), 0U);
    EXPECT_TRUE(ContainsText("C:\\Program Files", "PROGRAM"));
    EXPECT_FALSE(ContainsText("C:\\Program Files", "windows"));
}

TEST_F(Strings, ReplaceTakesEveryOccurrenceOnceFromTheLeft) {
    EXPECT_EQ(Replace("aaa", "aa", "b"), "ba");
    EXPECT_EQ(Replace("a.b.c", ".", ""), "abc");
    EXPECT_EQ(Replace("aAa", "A", "aa"), "aaaa");
    EXPECT_EQ(Replace("abc", "", "x"), "abc");
    EXPECT_EQ(Replace("", "a", "x"), "");
}

TEST_F(Strings, ReplaceTextIgnoresCaseAndKeepsTheRest) {
    EXPECT_EQ(ReplaceText("\\SystemRoot\\x\\SYSTEMROOT\\Y", "\\systemroot\\", "C:\\W\\"), "C:\\W\\xC:\\W\\Y");
    EXPECT_EQ(ReplaceText(upperE + "Ab" + upperE, "aB", "-"), upperE + "-" + upperE);
    EXPECT_EQ(ReplaceText("abc", "", "x"), "abc");
}

TEST_F(Strings, PartsStopAtTheEnds) {
    EXPECT_EQ(Left("abc", 2), "ab");
    EXPECT_EQ(Left("abc", 9), "abc");
    EXPECT_EQ(Right("abc", 2), "bc");
    EXPECT_EQ(Right("abc", 9), "abc");
    EXPECT_EQ(Right("abc", 0), "");
    EXPECT_EQ(Mid("abc", 2), "bc");
    EXPECT_EQ(Mid("abc", 2, 1), "b");
    EXPECT_EQ(Mid("abc", 3, 9), "c");
    EXPECT_EQ(Mid("abc", 4), "");
    EXPECT_EQ(Mid("", 1), "");
}

TEST_F(Strings, WithBackslashAddsOneOnlyWhenThereIsNone) {
    EXPECT_EQ(WithBackslash("C:\\a"), "C:\\a\\");
    EXPECT_EQ(WithBackslash("C:\\a\\"), "C:\\a\\");
    EXPECT_EQ(WithBackslash(""), "\\");
}

TEST_F(Strings, NumbersArePlainDecimalText) {
    EXPECT_EQ(kel::Text(0), "0");
    EXPECT_EQ(kel::Text(-2147483648LL), "-2147483648");
}

}  // namespace
}  // namespace kel
