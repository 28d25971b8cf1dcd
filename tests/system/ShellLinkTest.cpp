// Targets of links in all the shapes in which the shell writes them, and of damaged ones.
#include <random>

#include "support/EngineTest.h"
#include "support/ShellLink.h"
#include "system/modFiles.h"

namespace kel::test {
namespace {

class ShellLinks : public EngineTest {
protected:
    std::string TargetOf(const std::string& bytes) {
        WriteFile(path_, bytes);
        return modFiles::ShortcutTargetPath(path_);
    }
    std::string TargetOf(const ShellLink& link) { return TargetOf(MakeShellLink(link)); }
    // Whether the fixed places give a text that some file could have as its name.
    static bool IsPath(const std::string& text) { return text.size() > 3 && text.compare(1, 2, ":\\") == 0; }

private:
    const std::string path_ = Folder() + "thing.lnk";
};

TEST_F(ShellLinks, ALinkToALocalFileGivesItsPath) {
    EXPECT_EQ(TargetOf(ShellLink{}), "C:\\Program Files\\Thing\\thing.exe");
}

TEST_F(ShellLinks, TheLabelOfTheVolumeIsPassedOver) {
    ShellLink link;
    for (const char* label : {"", "OS", "A long label", "a, b"}) {
        link.label = label;
        EXPECT_EQ(TargetOf(link), link.target) << label;
    }
}

TEST_F(ShellLinks, PathsOfAllLengthsAreGivenWhole) {
    ShellLink link;
    for (const std::size_t length : {1U, 8U, 63U, 150U, 255U, 2000U}) {
        link.target = "D:\\" + std::string(length, 'x') + "\\y, z.exe";
        EXPECT_EQ(TargetOf(link), link.target) << length;
    }
}

TEST_F(ShellLinks, TextsAndBlocksBehindThePathPlayNoPart) {
    ShellLink link;
    link.texts = false;
    EXPECT_EQ(TargetOf(link), link.target);
    link.environment = true;
    EXPECT_EQ(TargetOf(link), link.target);
    link.texts = true;
    EXPECT_EQ(TargetOf(link), link.target);
}

TEST_F(ShellLinks, ANameThatIsNotInTheCodePageIsGivenAsTheLinkHasIt) {
    ShellLink link;
    link.ansiPath = "C:\\Program Files\\??.exe";
    EXPECT_EQ(TargetOf(link), link.ansiPath);
}

TEST_F(ShellLinks, TheLargerLocationHeaderHasItsTextsElsewhere) {
    ShellLink link;
    link.unicodeLocation = true;
    EXPECT_EQ(TargetOf(link), "");
    link.serial = 0x00340012;
    EXPECT_FALSE(IsPath(TargetOf(link)));
}

TEST_F(ShellLinks, ALinkToAShareIsNoLocalFile) {
    ShellLink link;
    link.share = "\\\\server\\share";
    EXPECT_FALSE(IsPath(TargetOf(link)));
}

TEST_F(ShellLinks, WithoutItemsTheTextsAreNotWhereTheyAreLookedFor) {
    ShellLink link;
    link.itemIDs = false;
    EXPECT_FALSE(IsPath(TargetOf(link)));
}

TEST_F(ShellLinks, WithoutAnythingBehindTheItemsTheDriveIsGiven) {
    ShellLink link;
    link.location = false;
    link.texts = false;
    EXPECT_EQ(TargetOf(link), "C:\\");
    link.target = "E:\\x.exe";
    EXPECT_EQ(TargetOf(link), "E:\\");
}

TEST_F(ShellLinks, AnItemListThatClaimsMoreThanTheFileHasGivesTheDrive) {
    std::string bytes = MakeShellLink({});
    bytes[76] = '\xFF';
    bytes[77] = '\xFF';
    EXPECT_EQ(TargetOf(bytes), "C:\\");
}

TEST_F(ShellLinks, ALinkCutOffInThePathGivesWhatIsLeft) {
    const std::string bytes = MakeShellLink({});
    const std::size_t path = bytes.find("C:\\Program Files\\Thing\\thing.exe");
    ASSERT_NE(path, std::string::npos);
    EXPECT_EQ(TargetOf(bytes.substr(0, path + 10)), "C:\\Program");
    EXPECT_EQ(TargetOf(bytes.substr(0, path)), "");
}

TEST_F(ShellLinks, NoPrefixOfALinkAndNoDamageToItIsAFailure) {
    const std::string whole = MakeShellLink({});
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        const std::string target = TargetOf(whole.substr(0, size));
        EXPECT_LE(target.size(), std::max<std::size_t>(size, 3)) << size;
    }
    std::mt19937 random(20);
    for (int round = 0; round < 300; ++round) {
        std::string bytes = whole;
        for (int change = 0; change < 8; ++change) {
            bytes[random() % bytes.size()] = static_cast<char>(static_cast<unsigned char>(random() & 0xFFU));
        }
        EXPECT_LE(TargetOf(bytes).size(), bytes.size()) << round;
    }
    EXPECT_TRUE(Reported().empty());
}

TEST_F(ShellLinks, AFolderHasNoTarget) {
    EXPECT_EQ(modFiles::ShortcutTargetPath(AppFolder()), "");
}

}  // namespace
}  // namespace kel::test
