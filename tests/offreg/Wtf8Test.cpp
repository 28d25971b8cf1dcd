#include "offline/Wtf8.h"

#include <gtest/gtest.h>

namespace kel::offline {
namespace {

TEST(Wtf8, EveryUnitComesBack) {
    for (unsigned unit = 0; unit < 0x10000; ++unit) {
        const std::u16string text{u'a', static_cast<char16_t>(unit), u'b'};
        ASSERT_EQ(FromWtf8(ToWtf8(text)), text) << unit;
    }
}

TEST(Wtf8, PairsOfSurrogatesAreOneCharacter) {
    EXPECT_EQ(ToWtf8(u"\xD83D\xDE00"), "\xF0\x9F\x98\x80");
    EXPECT_EQ(FromWtf8("\xF0\x9F\x98\x80"), u"\xD83D\xDE00");
}

TEST(Wtf8, LoneSurrogatesKeepTheirPlace) {
    const std::u16string text{0xDC00, 0xD800, u'x', 0xD800};
    EXPECT_EQ(ToWtf8(text), "\xED\xB0\x80\xED\xA0\x80x\xED\xA0\x80");
    EXPECT_EQ(FromWtf8(ToWtf8(text)), text);
}

TEST(Wtf8, BytesThatAreNoCharacterStandForThemselves) {
    EXPECT_EQ(FromWtf8("\xFF\xC3"), u"\x00FF\x00C3");
    EXPECT_EQ(FromWtf8("\xC0\x80"), u"\x00C0\x0080");
    EXPECT_EQ(FromWtf8("\xF4\x90\x80\x80"), u"\x00F4\x0090\x0080\x0080");
}

TEST(Wtf8, AnOddByteIsLeftOut) {
    const std::vector<std::byte> bytes{std::byte{0x41}, std::byte{0}, std::byte{0x42}};
    EXPECT_EQ(UnitsFromBytes(bytes), u"A");
    EXPECT_EQ(BytesFromUnits(u"\x1234"), (std::vector<std::byte>{std::byte{0x34}, std::byte{0x12}}));
}

}  // namespace
}  // namespace kel::offline
