// Names of a machine on a terminal: nothing in them steers it.
#include "frontend/ShownText.h"

#include "support/EngineTest.h"

namespace kel::frontend {
namespace {

class ShownTexts : public test::EngineTest {
protected:
    static std::string Shown(std::string_view utf8) { return ShownText(platform::Current().text->FromUtf8(utf8)); }
};

TEST_F(ShownTexts, PlainTextStays) {
    EXPECT_EQ(Shown(""), "");
    EXPECT_EQ(Shown("C:\\My Music\\a~1 (2).exe"), "C:\\My Music\\a~1 (2).exe");
    EXPECT_EQ(Shown("Caf\xC3\xA9"), "Caf\xC3\xA9");
}

TEST_F(ShownTexts, ControlCharactersBecomeQuestionMarks) {
    for (int code = 0; code < 0x20; ++code) {
        EXPECT_EQ(Shown("a" + std::string(1, static_cast<char>(code)) + "b"), "a?b") << code;
    }
    EXPECT_EQ(Shown("\x1b[31mred\x1b[0m"), "?[31mred?[0m");
    EXPECT_EQ(Shown("a\x7f"
                    "b"),
              "a?b");
}

// On Windows a byte of the code page is none of these.
#ifndef _WIN32

TEST_F(ShownTexts, TheSecondSetOfControlCharactersToo) {
    EXPECT_EQ(Shown("a\xC2\x80"
                    "b"),
              "a?b");
    EXPECT_EQ(Shown("a\xC2\x9B"
                    "31mb"),
              "a?31mb");
    EXPECT_EQ(Shown("a\xC2\x9F"
                    "b"),
              "a?b");
    EXPECT_EQ(Shown("a\xC2\xA0"
                    "b"),
              "a\xC2\xA0"
              "b");
}

TEST_F(ShownTexts, MarksOfDirectionAndLineSeparatorsBecomeQuestionMarks) {
    for (const char* mark : {"\xD8\x9C", "\xE2\x80\x8E", "\xE2\x80\x8F", "\xE2\x80\xA8", "\xE2\x80\xA9", "\xE2\x80\xAA",
                             "\xE2\x80\xAB", "\xE2\x80\xAC", "\xE2\x80\xAD", "\xE2\x80\xAE", "\xE2\x81\xA6",
                             "\xE2\x81\xA7", "\xE2\x81\xA8", "\xE2\x81\xA9"}) {
        EXPECT_EQ(Shown(std::string("song") + mark + "3pm.exe"), "song?3pm.exe");
    }
    EXPECT_EQ(Shown("\xE2\x80\x90\xE2\x81\xAA"), "\xE2\x80\x90\xE2\x81\xAA");
}

TEST_F(ShownTexts, ScriptsOfTheWorldStay) {
    const std::string text = "\xD0\x96 \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x98\x80 \xF4\x8F\xBF\xBF";
    EXPECT_EQ(Shown(text), text);
}

TEST_F(ShownTexts, EachByteThatIsNoTextIsAQuestionMark) {
    EXPECT_EQ(Shown("a\xFF\xFE"
                    "b"),
              "a??b");
    EXPECT_EQ(Shown("\x80"), "?");
    EXPECT_EQ(Shown("a\xC3"), "a?");
    EXPECT_EQ(Shown("\xE2\x82"
                    "a"),
              "??a");
    EXPECT_EQ(Shown("\xF0\x9F\x98"), "???");
}

TEST_F(ShownTexts, FormsThatHideACharacterAreNoText) {
    EXPECT_EQ(Shown("\xC0\x9B"), "??");                 // escape in two bytes
    EXPECT_EQ(Shown("\xE0\x80\x9B"), "???");            // in three
    EXPECT_EQ(Shown("\xF0\x80\x80\x9B"), "????");       // in four
    EXPECT_EQ(Shown("\xF4\x90\x80\x80"), "????");       // beyond the last character
    EXPECT_EQ(Shown("\xF8\x88\x80\x80\x80"), "?????");  // five bytes
    EXPECT_EQ(Shown("a\xED\xA0\x80z"), "a?z");          // half of a pair
}

#endif

TEST(ShownHostTexts, NeedNoMachine) {
    EXPECT_EQ(ShownHostText("no such folder: C:\\a b"), "no such folder: C:\\a b");
    EXPECT_EQ(ShownHostText("a\x1b[2J\r\n\x7f"
                            "b"),
              "a?[2J???b");
#ifdef _WIN32
    EXPECT_EQ(ShownHostText("Caf\xE9"), "Caf\xE9");
#else
    EXPECT_EQ(ShownHostText("Caf\xC3\xA9 \xE9"), "Caf\xC3\xA9 ?");
    EXPECT_EQ(ShownUtf8("a\xE2\x80\xAE"
                        "b"),
              "a?b");
#endif
}

}  // namespace
}  // namespace kel::frontend
