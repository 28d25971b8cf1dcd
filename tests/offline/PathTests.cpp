// Paths: case, forms, names that Windows does not have, and what a missing part gives.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "HostMachine.h"
#include "offline/OfflineText.h"
#include "offline/PathResolverSyntax.h"

namespace kel::test {

using offline::HostName;
using offline::ShownName;
using platform::SysError;
using ::testing::ElementsAre;

class Paths : public HostMachine {};

TEST_F(Paths, CaseDoesNotCountInAnyComponent) {
    Put(Root() / "Program Files" / "Mixed" / "Name.TXT", "found");
    EXPECT_EQ(Read("c:\\PROGRAM files\\mIXED\\nAME.txt"), "found");
    EXPECT_EQ(Read("C:\\program files\\mixed\\name.txt"), "found");
}

TEST_F(Paths, CaseOfLettersBeyondAsciiDoesNotCountEither) {
    Put(Root() / "Ärger" / "ÉTÉ.txt", "found");
    EXPECT_EQ(Read("C:\\ärger\\été.TXT"), "found");
}

TEST_F(Paths, LettersThatFileNamesKeepApartStayApart) {
    Put(Root() / "straße.txt");
    EXPECT_FALSE(Files().PathExists("C:\\STRASSE.TXT"));
    EXPECT_TRUE(Files().PathExists("C:\\STRAßE.TXT"));
    Put(Root() / "\u212A.txt");  // Kelvin
    EXPECT_FALSE(Files().PathExists("C:\\k.txt"));
}

TEST_F(Paths, ALowerCasedPathOpensTheSameFile) {
    for (const char* name : {"Ÿ.txt", "İ.txt", "\u212A.txt", "ẞ.txt", "Ω.txt", "Ǆ.txt", "Ⅷ.txt"}) {
        Put(Root() / name, name);
        EXPECT_EQ(Read(Machine().View().text->ToLower(std::string("C:\\") + name)), name);
        EXPECT_EQ(Read(Machine().View().text->ToUpper(std::string("C:\\") + name)), name);
    }
}

TEST_F(Paths, OfNamesThatDifferByCaseTheExactOneWinsThenTheFirstByBytes) {
    Put(Root() / "NAME", "upper");
    Put(Root() / "Name", "mixed");
    Put(Root() / "name", "lower");
    EXPECT_EQ(Read("C:\\name"), "lower");
    EXPECT_EQ(Read("C:\\Name"), "mixed");
    EXPECT_EQ(Read("C:\\nAME"), "upper");
    EXPECT_THAT(Names("C:\\*"), ElementsAre("NAME", "Name", "name"));
    EXPECT_EQ(Files().Remove("C:\\Name"), SysError::Success);
    EXPECT_THAT(Names("C:\\*"), ElementsAre("NAME", "name"));
    EXPECT_EQ(Read("C:\\Name"), "upper");
}

TEST_F(Paths, FormsOfOnePath) {
    Put(Root() / "a" / "b.txt", "found");
    for (const char* path : {"C:\\a\\b.txt", "C:\\\\a\\\\\\b.txt", "\\a\\b.txt", "\\\\?\\C:\\a\\b.txt",
                             "C:\\x\\..\\a\\b.txt", "C:\\a\\.\\b.txt", "C:\\..\\..\\a\\b.txt", "a\\b.txt", "C:a\\b.txt",
                             "C:\\a.\\b.txt", "C:\\a \\b.txt", "C:\\a\\b.txt.", "C:\\a\\b.txt . ."}) {
        EXPECT_EQ(Read(path), "found") << path;
    }
    EXPECT_EQ(Read(std::string_view("C:\\a\\b.txt\0tail", 15)), "found") << "text ends at its first NUL";
}

TEST_F(Paths, RelativePathsFollowTheCurrentFolder) {
    Put(Root() / "Folder" / "f.txt", "found");
    EXPECT_EQ(Files().CurrentFolder(), "C:\\");
    EXPECT_EQ(Files().SetCurrentFolder("c:\\folder\\"), SysError::Success);
    EXPECT_EQ(Files().CurrentFolder(), "C:\\Folder");
    EXPECT_EQ(Read("f.txt"), "found");
    EXPECT_EQ(Read("C:f.txt"), "found");
    EXPECT_EQ(Read("..\\Folder\\f.txt"), "found");
    EXPECT_EQ(Files().SetCurrentFolder("C:\\Folder\\f.txt"), SysError::Directory);
    EXPECT_EQ(Files().SetCurrentFolder("C:\\nowhere"), SysError::FileNotFound);
    EXPECT_EQ(Files().CurrentFolder(), "C:\\Folder");
}

TEST_F(Paths, MissingLastPartAndMissingFolderAreToldApart) {
    Put(Root() / "file");
    EXPECT_EQ(AttributesError("C:\\missing"), SysError::FileNotFound);
    EXPECT_EQ(AttributesError("C:\\missing\\name"), SysError::PathNotFound);
    EXPECT_EQ(AttributesError("C:\\file\\name"), SysError::PathNotFound);
    EXPECT_EQ(AttributesError("Q:\\name"), SysError::PathNotFound);
    EXPECT_EQ(AttributesError(""), SysError::PathNotFound);
    EXPECT_EQ(AttributesError("\\\\server\\share\\name"), SysError::PathNotFound);
    EXPECT_EQ(FindError("C:\\missing\\*"), SysError::PathNotFound);
    EXPECT_EQ(FindError("C:\\missing"), SysError::FileNotFound);
    EXPECT_EQ(Files().Open("C:\\missing\\name", platform::OpenMode::Create).Error(), SysError::PathNotFound);
}

TEST_F(Paths, CharactersThatNoNameHasAreRefused) {
    Put(Root() / "a" / "b");
    for (const char* path : {"C:\\a/b", "C:\\a<", "C:\\a>", "C:\\a|b", "C:\\a\"", "C:\\a?", "C:\\*", "C:\\a\\b:stream",
                             "C:\\a\\b::$DATA", "C:\\a\tb", "1:\\a", "C:\\\xFF\xFE"}) {
        EXPECT_EQ(AttributesError(path), SysError::InvalidName) << path;
        EXPECT_EQ(Files().Open(path, platform::OpenMode::Create).Error(), SysError::InvalidName) << path;
    }
    EXPECT_EQ(FindError("C:\\a?\\*"), SysError::InvalidName) << "wildcards only in the last component";
    EXPECT_EQ(FindError("C:\\a:*"), SysError::InvalidName);
}

TEST_F(Paths, ATrailingBackslashIsForFolders) {
    Put(Root() / "folder" / "file");
    EXPECT_TRUE(Files().PathExists("C:\\folder\\"));
    EXPECT_EQ(AttributesError("C:\\folder\\file\\"), SysError::InvalidName);
    EXPECT_EQ(Files().Open("C:\\folder\\file\\", platform::OpenMode::Read).Error(), SysError::InvalidName);
    EXPECT_EQ(FindError("C:\\folder\\"), SysError::FileNotFound);
    EXPECT_EQ(FindError("C:\\"), SysError::FileNotFound);
}

TEST_F(Paths, NamesOfDevicesAreNoFiles) {
    for (const char* name :
         {"NUL", "con", "PRN", "Aux", "COM1", "lpt9", "nul.txt", "CON .log", "COM\u00B2", "CONIN$"}) {
        const std::string path = std::string("C:\\") + name;
        EXPECT_EQ(AttributesError(path), SysError::FileNotFound) << name;
        EXPECT_EQ(Files().Open(path, platform::OpenMode::Create).Error(), SysError::FileNotFound) << name;
        EXPECT_EQ(Files().MakeFolder(path), SysError::FileNotFound) << name;
    }
    EXPECT_EQ(AttributesError("\\\\.\\C:"), SysError::FileNotFound);
    EXPECT_TRUE(std::filesystem::is_empty(Root()));
    for (const char* name : {"CONSOLE", "COM0", "COM10", "NULL", "LPT", "xCON"}) {
        EXPECT_EQ(Write(std::string("C:\\") + name, "x"), SysError::Success) << name;
    }
}

TEST_F(Paths, ALiteralPathTakesNamesToTheLetter) {
    Put(Root() / "dot.", "dot");
    Put(Root() / "nul", "device");
    EXPECT_EQ(Read("\\\\?\\C:\\dot."), "dot");
    EXPECT_EQ(Read("\\\\?\\C:\\nul"), "device");
    EXPECT_EQ(AttributesError("\\\\?\\C:\\..\\x"), SysError::PathNotFound);
    EXPECT_EQ(AttributesError("\\\\?\\relative"), SysError::PathNotFound);
}

TEST_F(Paths, NamesOf255BytesWorkAndLongerOnesAreRefused) {
    const std::string name(255, 'n');
    EXPECT_EQ(Write("C:\\" + name, "long"), SysError::Success);
    EXPECT_EQ(Get(Root() / name), "long");
    EXPECT_EQ(Read("C:\\" + std::string(255, 'N')), "long");
    EXPECT_EQ(Write("C:\\" + name + "n", "x"), SysError::InvalidName);
    EXPECT_EQ(Files().MakeFolder("C:\\" + name + "n"), SysError::InvalidName);
}

TEST_F(Paths, DeepFoldersWorkBeyondTheHostsPathLimit) {
    std::string path = "C:";
    const std::string part(100, 'd');
    for (int level = 0; level < 60; ++level) {
        path += "\\" + part;
        ASSERT_EQ(Files().MakeFolder(path), SysError::Success) << level;
    }
    EXPECT_EQ(Write(path + "\\f", "deep"), SysError::Success);
    EXPECT_EQ(Read(path + "\\F"), "deep");
    SysError error = SysError::Success;
    EXPECT_EQ(Machine().View().shell->Delete("C:\\" + part, 20, error), 0);
    EXPECT_TRUE(std::filesystem::is_empty(Root()));
}

TEST_F(Paths, LongPathGivesTheNamesOnDisk) {
    Put(Root() / "Long Folder Name" / "File Name.text");
    EXPECT_EQ(*Files().LongPath("c:\\long folder name\\FILE NAME.TEXT"), "c:\\Long Folder Name\\File Name.text");
    EXPECT_EQ(*Files().LongPath("C:\\LONGFO~1\\FILENA~1.TEX"), "C:\\Long Folder Name\\File Name.text");
    EXPECT_EQ(*Files().LongPath("C:\\LONGFO~1\\"), "C:\\Long Folder Name\\");
    EXPECT_EQ(*Files().LongPath("C:\\"), "C:\\");
    EXPECT_EQ(Files().LongPath("C:\\missing").Error(), SysError::FileNotFound);
    EXPECT_EQ(Files().SetCurrentFolder("C:\\Long Folder Name"), SysError::Success);
    EXPECT_EQ(*Files().LongPath("filena~1.tex"), "File Name.text");
    EXPECT_EQ(*Files().LongPath("..\\LONGFO~1"), "..\\Long Folder Name");
}

TEST_F(Paths, ShortPathGivesShortNamesWhereThereAreAny) {
    Put(Root() / "Long Folder Name" / "short.txt");
    EXPECT_EQ(*Files().ShortPath("C:\\Long Folder Name\\short.txt"), "C:\\LONGFO~1\\short.txt");
    EXPECT_EQ(*Files().ShortPath("C:\\LONGFO~1\\short.txt"), "C:\\LONGFO~1\\short.txt");
    EXPECT_EQ(Files().ShortPath("C:\\missing").Error(), SysError::FileNotFound);
    EXPECT_EQ(Files().ShortPath("C:\\missing\\x").Error(), SysError::PathNotFound);
}

TEST_F(Paths, HostPathIsTheRealOne) {
    Put(Root() / "Folder" / "File");
    EXPECT_EQ(Machine().HostPath("c:\\FOLDER\\FILE"), Root() / "Folder" / "File");
    EXPECT_EQ(Machine().HostPath("c:\\folder\\other"), std::nullopt);
    EXPECT_EQ(Machine().HostPath("C:\\"), Root());
}

TEST(ShownNames, PlainNamesAreShownAsTheyAre) {
    for (const char* name : {"a", "Name.txt", "ärger", "日本", "😀", ".hidden", "a b", "a.b.c", "~1"}) {
        EXPECT_EQ(ShownName(name), name);
        EXPECT_EQ(HostName(name), name);
    }
}

TEST(ShownNames, EveryNameOfTheHostComesBack) {
    std::string all;
    for (int byte = 1; byte < 256; ++byte) {
        if (byte == '/') {
            continue;
        }
        all += static_cast<char>(byte);
        for (const std::string& name :
             {std::string(1, static_cast<char>(byte)), "a" + std::string(1, static_cast<char>(byte)),
              std::string(1, static_cast<char>(byte)) + "a"}) {
            if (name == ".") {
                continue;
            }
            EXPECT_EQ(HostName(ShownName(name)), name) << byte;
        }
    }
    EXPECT_EQ(HostName(ShownName(all)), all);
    for (const char* name : {"...", ". .", "dot.", "blank ", "nul", "CON.txt", "a\\..\\b", "a:b", "\xED\xB2\x80",
                             "\xED\xA0\x80", "\xC0\xAF", "\xF4\x90\x80\x80", "\xE2\x82"}) {
        EXPECT_EQ(HostName(ShownName(name)), name) << name;
        EXPECT_EQ(ShownName(name).find('\\'), std::string::npos);
    }
}

TEST(ShownNames, NothingElseIsTakenForAName) {
    EXPECT_EQ(HostName(""), std::nullopt);
    EXPECT_EQ(HostName("."), std::nullopt);
    EXPECT_EQ(HostName(".."), std::nullopt);
    EXPECT_EQ(HostName("a/b"), std::nullopt);
    EXPECT_EQ(HostName("a\\b"), std::nullopt);
    EXPECT_EQ(HostName("a\xED\xB0\xAF"
                       "b"),
              std::nullopt)
        << "an escaped slash";
    EXPECT_EQ(HostName("\xED\xB0\x80"), std::nullopt) << "an escaped NUL";
    EXPECT_EQ(HostName("\xED\xB1\xA1"), std::nullopt) << "an escaped letter that needs none";
    EXPECT_EQ(HostName("\xED\xB0\xAE\xED\xB0\xAE"), std::nullopt) << "escaped dots";
    EXPECT_EQ(HostName(".\xED\xB0\xAE"), std::nullopt) << "the parent, escaped";
    EXPECT_EQ(HostName("\xFF"), std::nullopt);
}

TEST_F(Paths, HostNamesThatWindowsCanNotHaveAreListedAndOpenedAgain) {
    const std::vector<std::string> names = {"back\\slash", "a:b",    "what?", "star*", "\xFFraw",
                                            "dot.",        "blank ", "nul",   "tab\t"};
    for (const std::string& name : names) {
        Put(Root() / "odd" / name, name);
    }
    std::size_t found = 0;
    for (const std::string& shown : Names("C:\\odd\\*")) {
        if (shown == "." || shown == "..") {
            continue;
        }
        EXPECT_EQ(shown.find_first_of("\\/:*?\t"), std::string::npos);
        const auto text = Read("C:\\odd\\" + shown);
        ASSERT_TRUE(text) << shown;
        EXPECT_NE(std::find(names.begin(), names.end(), *text), names.end());
        EXPECT_EQ(Files().Remove("C:\\odd\\" + shown), SysError::Success) << shown;
        ++found;
    }
    EXPECT_EQ(found, names.size());
    EXPECT_TRUE(std::filesystem::is_empty(Root() / "odd"));
}

TEST_F(Paths, AHostNameWithABackslashIsNoSeparator) {
    Put(Root() / "a\\b", "trick");
    EXPECT_FALSE(Files().PathExists("C:\\a\\b"));
    Put(Root() / "a" / "b", "real");
    EXPECT_EQ(Read("C:\\a\\b"), "real");
}

}  // namespace kel::test
