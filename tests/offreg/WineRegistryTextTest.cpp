// The pieces of the text form.
#include "offline/WineRegistryText.h"

#include <gtest/gtest.h>

#include "Scratch.h"

namespace kel::offline {
namespace {

using test::Wide;

std::vector<std::byte> Bytes(std::initializer_list<int> numbers) {
    std::vector<std::byte> bytes;
    for (const int number : numbers) {
        bytes.push_back(static_cast<std::byte>(number));
    }
    return bytes;
}

std::string Written(const TreeValue& value) {
    std::string out;
    AppendValue(out, value);
    return out;
}

TreeValue Read(std::string_view text) {
    WineTextReader reader(text, 0);
    TreeValue value;
    EXPECT_TRUE(reader.Value(&value)) << text << ": " << reader.Reason();
    EXPECT_TRUE(reader.AtEnd()) << text;
    WineTextReader checker(text, 0);
    EXPECT_TRUE(checker.Value(nullptr)) << text;
    EXPECT_EQ(checker.Position(), reader.Position());
    return value;
}

std::string Refused(std::string_view text) {
    WineTextReader reader(text, 0);
    TreeValue value;
    EXPECT_FALSE(reader.Value(&value)) << text;
    WineTextReader checker(text, 0);
    EXPECT_FALSE(checker.Value(nullptr)) << text;
    return reader.Reason();
}

TEST(WineText, EachTypeHasItsForm) {
    struct Row {
        TreeValue value;
        std::string_view text;
    };
    const Row rows[] = {
        {{u"", 1, Wide("x")}, "@=\"x\"\n"},
        {{u"n", 1, Wide("")}, "\"n\"=\"\"\n"},
        {{u"n", 2, Wide("%A%")}, "\"n\"=str(2):\"%A%\"\n"},
        {{u"n", 7, Bytes({'a', 0, 0, 0, 'b', 0, 0, 0, 0, 0})}, "\"n\"=str(7):\"a\\0b\\0\"\n"},
        {{u"n", 4, Bytes({0x87, 0xD6, 0x12, 0})}, "\"n\"=dword:0012d687\n"},
        {{u"n", 3, Bytes({1, 0xAB, 0})}, "\"n\"=hex:01,ab,00\n"},
        {{u"n", 3, {}}, "\"n\"=hex:\n"},
        {{u"n", 0, {}}, "\"n\"=hex(0):\n"},
        {{u"n", 11, Bytes({1, 2, 3, 4, 5, 6, 7, 8})}, "\"n\"=hex(b):01,02,03,04,05,06,07,08\n"},
        {{u"n", 0xFFFF0012, Bytes({9})}, "\"n\"=hex(ffff0012):09\n"},
        // What has no terminator, or half a character, is told as bytes.
        {{u"n", 1, Bytes({'a', 0})}, "\"n\"=hex(1):61,00\n"},
        {{u"n", 1, {}}, "\"n\"=hex(1):\n"},
        {{u"n", 2, Bytes({'a', 0, 0})}, "\"n\"=hex(2):61,00,00\n"},
        {{u"n", 4, Bytes({1, 2})}, "\"n\"=hex(4):01,02\n"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(Written(row.value), row.text);
        const TreeValue value = Read(row.text);
        EXPECT_EQ(value.name, row.value.name) << row.text;
        EXPECT_EQ(value.type, row.value.type) << row.text;
        EXPECT_EQ(value.data, row.value.data) << row.text;
    }
}

TEST(WineText, EscapesAreTheShortestThatCanBeReadAgain) {
    struct Row {
        std::u16string units;
        std::string_view text;
    };
    const Row rows[] = {
        {u"a\\b\"c", "a\\\\b\\\"c"},
        {u"\n\r\t\a\b\v\f\x1B", "\\n\\r\\t\\a\\b\\v\\f\\e"},
        {std::u16string(u"\0x", 2), "\\0x"},
        {std::u16string(u"\0007", 2), "\\0007"},
        {u"\x01z\x1F", "\\1z\\37"},
        {u"\x7F", "\x7F"},
        {u"\x00E9z", "\\xe9z"},
        {u"\x00E9"
         u"a",
         "\\x00e9a"},
        {u"\x20AC"
         u"1",
         "\\x20ac1"},
        {u"\xD800", "\\xd800"},
    };
    for (const Row& row : rows) {
        std::string out;
        EXPECT_EQ(AppendEscaped(out, row.units, "\""), row.text.size());
        EXPECT_EQ(out, row.text);
        std::size_t at = 0;
        std::u16string units;
        EXPECT_TRUE(DecodeEscaped(out + "\"", at, '"', &units));
        EXPECT_EQ(units, row.units) << row.text;
    }
}

TEST(WineText, EveryUnitSurvivesBesideAnother) {
    for (const char16_t next : {u'0', u'7', u'8', u'a', u'F', u'g', u'"', u'\\', u'\xE9'}) {
        for (unsigned unit = 0; unit < 0x10000; ++unit) {
            const std::u16string text{static_cast<char16_t>(unit), next};
            std::string out;
            AppendEscaped(out, text, "\"");
            out += '"';
            std::size_t at = 0;
            std::u16string back;
            ASSERT_TRUE(DecodeEscaped(out, at, '"', &back)) << unit;
            ASSERT_EQ(back, text) << unit;
        }
    }
}

TEST(WineText, LongBytesWrapBehindColumn76) {
    TreeValue value{u"SymbolicLinkValue", 6, std::vector<std::byte>(48, std::byte{0x5C})};
    EXPECT_EQ(Written(value),
              "\"SymbolicLinkValue\"=hex(6):5c,5c,5c,5c,5c,5c,5c,5c,5c,5c,5c,5c,5c,5c,5c,5c,5c,\\\n"
              "  5c,5c,5c,5c,5c,5c,5c,5c,5c,5c,5c,5c,5c,5c,5c,5c,5c,5c,5c,5c,5c,5c,5c,5c,5c,\\\n"
              "  5c,5c,5c,5c,5c,5c\n");
    EXPECT_EQ(Read(Written(value)).data, value.data);
}

TEST(WineText, ReadsWhatOthersWrite) {
    EXPECT_EQ(Read("\"n\"=hex:1,2,\\\r\n  ff\r\n").data, Bytes({1, 2, 0xFF}));
    EXPECT_EQ(Read("\"n\"=dword:1").data, Bytes({1, 0, 0, 0}));
    EXPECT_EQ(Read("\"n\" = \"x\"  \n").data, Wide("x"));
    EXPECT_EQ(Read("\"n\"=str:\"x\"\n").type, 1U);
    EXPECT_EQ(Read("\"n\"=\"\\x\\q\\101\"\n").data, Wide("xqA"));
}

TEST(WineText, SaysWhatIsWrong) {
    EXPECT_EQ(Refused("\"n\"=\"x\n"), "the text has no closing quote");
    EXPECT_EQ(Refused("\"n\"=\"x\\"), "the text has no closing quote");
    EXPECT_EQ(Refused("\"n"), "the text has no closing quote");
    EXPECT_EQ(Refused("\"n\" 5\n"), "the value has no '='");
    EXPECT_EQ(Refused("\"n\"=qword:1\n"), "the value's data have an unknown form");
    EXPECT_EQ(Refused("\"n\"=dword:\n"), "a dword needs one to eight digits");
    EXPECT_EQ(Refused("\"n\"=dword:123456789\n"), "a dword needs one to eight digits");
    EXPECT_EQ(Refused("\"n\"=hex:123\n"), "bytes must be two digits with commas between them");
    EXPECT_EQ(Refused("\"n\"=hex:12;34\n"), "unexpected text at the end of the line");
    EXPECT_EQ(Refused("\"n\"=hex(100000000):12\n"), "the value's type is out of range");
    EXPECT_EQ(Refused("\"n\"=hex():12\n"), "the value's type is not a number in brackets");
    EXPECT_EQ(Refused("\"n\"=\"x\" y\n"), "unexpected text at the end of the line");
}

TEST(WineText, OfSeveralValuesOfOneNameTheLastOneCounts) {
    std::vector<TreeValue> values{{u"b", 1, Wide("1")}, {u"A", 1, Wide("2")}, {u"B", 4, Bytes({3, 0, 0, 0})}};
    KeepLastOfEachName(values);
    ASSERT_EQ(values.size(), 2U);
    EXPECT_EQ(values[0].name, u"b");
    EXPECT_EQ(values[0].type, 4U);
    EXPECT_EQ(values[0].data, Bytes({3, 0, 0, 0}));
    EXPECT_EQ(values[1].name, u"A");
}

TEST(WineText, TimesAreKeptInBothForms) {
    EXPECT_EQ(UnixSeconds(0x1DD795898E27E78), 1795224932U);
    EXPECT_EQ(UnixSeconds(5), 0U);
    EXPECT_EQ(UnixSeconds(FileTimeOfUnix(1700000000)), 1700000000U);
}

TEST(WineText, OrderOfNamesIsThatOfLowerCase) {
    EXPECT_TRUE(WineOrder(u"_a", u"A"));
    EXPECT_TRUE(WineOrder(u"ab", u"ABC"));
    EXPECT_FALSE(WineOrder(u"AB", u"ab"));
    EXPECT_TRUE(WineOrder(u"B", u"c"));
}

}  // namespace
}  // namespace kel::offline
