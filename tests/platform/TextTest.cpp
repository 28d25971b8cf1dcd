#include "PlatformTest.h"

namespace kel::test {
namespace {

class Text : public PlatformTest {
protected:
    platform::Text& TheText() { return *Machine().text; }
    /// Text in the machine's code page from a literal in UTF-8.
    std::string Ansi(std::string_view utf8) { return TheText().FromUtf8(utf8); }
};

TEST_F(Text, AsciiChangesCase) {
    EXPECT_EQ(TheText().ToLower("C:\\WINDOWS\\A_[1].Exe"), "c:\\windows\\a_[1].exe");
    EXPECT_EQ(TheText().ToUpper("c:\\windows\\a_[1].Exe"), "C:\\WINDOWS\\A_[1].EXE");
    EXPECT_EQ(TheText().ToLower(""), "");
    EXPECT_EQ(TheText().ToUpper(""), "");
}

TEST_F(Text, AccentedLettersChangeCase) {
    EXPECT_EQ(TheText().ToLower(Ansi("\xC3\x89\xC3\x80\xC3\x96")), Ansi("\xC3\xA9\xC3\xA0\xC3\xB6"));
    EXPECT_EQ(TheText().ToUpper(Ansi("\xC3\xA9\xC3\xA0\xC3\xB6")), Ansi("\xC3\x89\xC3\x80\xC3\x96"));
}

TEST_F(Text, LettersWithoutACounterpartStay) {
    EXPECT_EQ(TheText().ToUpper(Ansi("\xC3\x9F")), Ansi("\xC3\x9F"));
    EXPECT_EQ(TheText().ToLower(Ansi("\xC3\x9F")), Ansi("\xC3\x9F"));
}

TEST_F(Text, NulsAreCharactersLikeOthers) {
    EXPECT_EQ(TheText().ToLower(std::string_view("A\0B", 3)), std::string("a\0b", 3));
}

TEST_F(Text, EveryByteSurvivesAChangeOfCaseOrBecomesALetter) {
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte) {
        bytes += static_cast<char>(byte);
    }
    EXPECT_EQ(TheText().ToLower(bytes).size(), bytes.size());
    EXPECT_EQ(TheText().ToLower(TheText().ToLower(bytes)), TheText().ToLower(bytes));
}

TEST_F(Text, PrefixIsCutBetweenCharacters) {
    const std::string text = Ansi(
        "a\xC3\xA9"
        "b");
    EXPECT_EQ(text.substr(0, TheText().Prefix(text, 0)), "");
    EXPECT_EQ(text.substr(0, TheText().Prefix(text, 1)), "a");
    EXPECT_EQ(text.substr(0, TheText().Prefix(text, 2)), Ansi("a\xC3\xA9"));
    EXPECT_EQ(text.substr(0, TheText().Prefix(text, 3)), text);
    EXPECT_EQ(TheText().Prefix(text, 1000), text.size());
    EXPECT_EQ(TheText().Prefix("", 5), 0U);
}

TEST_F(Text, ConvertsToUtf8AndBack) {
    for (const char* utf8 : {"", "plain", "\xC3\xA9t\xC3\xA9", "\xE2\x82\xAC"}) {
        EXPECT_EQ(TheText().ToUtf8(Ansi(utf8)), utf8);
    }
}

TEST_F(Text, WhatAFileHoldsInTheMachinesCodePageBecomesTextOfTheEngine) {
    EXPECT_EQ(TheText().FromAnsi(""), "");
    EXPECT_EQ(TheText().FromAnsi("plain"), "plain");
    EXPECT_EQ(TheText().ToUtf8(TheText().FromAnsi("\xE9t\xE9 \x80")), "\xC3\xA9t\xC3\xA9 \xE2\x82\xAC");
}

}  // namespace
}  // namespace kel::test
