#include "hive/Upcase.h"

#include <gtest/gtest.h>

namespace kel::offline {
namespace {

TEST(Upcase, TableHasTheMappingsOfTheFileSystem) {
    int mappings = 0;
    for (std::size_t unit = 0; unit < UpcaseTable().size(); ++unit)
        mappings += UpcaseTable()[unit] != unit;
    EXPECT_EQ(mappings, 973);
}

TEST(Upcase, AccentedLettersGoUpAndSpecialOnesStay) {
    EXPECT_EQ(Upcase(u'\u00E9'), u'\u00C9');
    EXPECT_EQ(Upcase(u'\u00FF'), u'\u0178');
    for (const char16_t stays : {u'\u00B5', u'\u0131', u'\u017F', u'\u00DF'})
        EXPECT_EQ(Upcase(stays), stays);
}

TEST(Upcase, ShortcutForAsciiAgreesWithTheTable) {
    for (char16_t unit = 0; unit < 0x80; ++unit)
        EXPECT_EQ(Upcase(unit), UpcaseTable()[unit]);
}

TEST(Upcase, NamesCompareByUpperCaseUnits) {
    EXPECT_TRUE(CompareNames(u"software", u"SOFTWARE") == 0);
    EXPECT_TRUE(CompareNames(u"_", u"a") > 0);  // '_' lies behind 'A'
    EXPECT_TRUE(CompareNames(u"ab", u"abc") < 0);
    EXPECT_TRUE(CompareNames(std::u16string_view(u"a\0b", 3), u"a") > 0);
    EXPECT_FALSE(SameName(u"stra\u00DFe", u"STRASSE"));
}

TEST(Upcase, EqualNamesHashAlike) {
    EXPECT_EQ(NameHash{}(u"\u00E9t\u00E9"), NameHash{}(u"\u00C9T\u00C9"));
}

}  // namespace
}  // namespace kel::offline
