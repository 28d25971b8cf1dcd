#include <gmock/gmock.h>

#include "core/Text.h"
#include "decorators/ForwardingFiles.h"
#include "decorators/ForwardingSystem.h"
#include "scanner/EngineData.h"
#include "scanner/modScannerFiles.h"
#include "support/ScanTest.h"
#include "system/clsFolderPaths.h"

namespace kel::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace std::string_literals;

class Identification : public ScanTest {
protected:
    Identification() {
        tables.md5 = {{1, HashOf(Bytes(1000, 'a'))}, {2, HashOf(Bytes(1000, 'b')), 2}};
        tables.paths = {{3, Folder() + "Known.EXE"}, {4, Folder() + "levelled.exe", 2}};
        tables.folders = {{5, "c:\\bad folder\\"}, {6, "%windows%\\bad\\"}};
        tables.cookies = {{7, "tracker.example"}};
    }
    void SetUp() override { Begin(); }

    std::string File(const std::string& name, std::string_view bytes) {
        const std::string path = Folder() + name;
        WriteFile(path, bytes);
        return path;
    }
    std::int32_t Deep(std::string_view path) { return scanner.IsFileThreat(path, "", scandeep); }
    std::int32_t Medium(std::string_view path) { return scanner.IsFileThreat(path, "", scanmedium); }
    std::int32_t Shallow(std::string_view path) { return scanner.IsFileThreat(path, "", scanshallow); }
};

TEST_F(Identification, EachTableIsAskedWithItsOwnKey) {
    EXPECT_EQ(scanner.MD5ThreatExists(HashOf(Bytes(1000, 'a'))), 1);
    EXPECT_EQ(scanner.FilePathThreatExists(Folder() + "known.exe"), 3);
    EXPECT_EQ(scanner.FolderThreatExists("C:\\Bad Folder\\"), 5);
    EXPECT_EQ(scanner.CookieThreatExists("TRACKER.example"), 7);
}

TEST_F(Identification, AKeyThatNoTableHoldsGivesNothingAndNoLogLine) {
    LastOptionalScan() = 9;
    EXPECT_EQ(scanner.MD5ThreatExists("x"), 0);
    EXPECT_EQ(scanner.FilePathThreatExists(""), 0);
    EXPECT_EQ(scanner.FolderThreatExists("x"), 0);
    EXPECT_EQ(scanner.CookieThreatExists("x"), 0);
    EXPECT_EQ(LastOptionalScan(), 9) << "a miss leaves the level of the last hit";
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Identification, ATableThatDidNotLoadGivesNothingAndNoLogLine) {
    State().MD5DataTable.reset();
    EXPECT_EQ(scanner.MD5ThreatExists(HashOf(Bytes(1000, 'a'))), 0);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Identification, TheTableOfBareNamesIsNeverFilled) {
    EXPECT_EQ(scanner.FileThreatExists("known.exe"), 0);
    EXPECT_EQ(scanner.FileThreatExists(Folder() + "known.exe"), 0);
}

TEST_F(Identification, ALevelAboveTheLimitDoesNotCountButIsRemembered) {
    const std::string hash = HashOf(Bytes(1000, 'b'));
    scanner.SetOptMaxOptionLevel(1);
    EXPECT_EQ(scanner.MD5ThreatExists(hash), 0);
    EXPECT_EQ(LastOptionalScan(), 2);
    scanner.SetOptMaxOptionLevel(2);
    LastOptionalScan() = 0;
    EXPECT_EQ(scanner.MD5ThreatExists(hash), 2);
    EXPECT_EQ(LastOptionalScan(), 2);
}

TEST_F(Identification, TheLevelOfTheLastHitReachesTheDetection) {
    scanner.SetOptMaxOptionLevel(2);
    const std::string path = File("x.exe", Bytes(1000, 'b'));
    EXPECT_EQ(Deep(path), 2);
    scanner.Scan()->AddDetectedThreatFile(ScanTypeFiles, 2, "", path);
    EXPECT_EQ(scanner.Scan()->DetectedThreats()->Item(1)->OptionLevel, 2);
}

TEST_F(Identification, AThousandBytesHaveAHashAndOneLessHasNone) {
    EXPECT_EQ(Medium(File("a.bin", Bytes(1000, 'a'))), 1);
    EXPECT_EQ(Medium(File("b.bin", Bytes(1000, 'a').substr(0, 999))), 0);
}

TEST_F(Identification, AFileOfTheLimitIsHashedAndALargerOneIsTestedByPath) {
    scanner.SetOptMaxMD5Len(1000);
    EXPECT_EQ(Deep(File("exact.bin", Bytes(1000, 'a'))), 1);
    EXPECT_EQ(Deep(File("larger.bin", Bytes(1001, 'a'))), 0);
    EXPECT_EQ(Medium(File("known.exe", Bytes(1001, 'a'))), 3) << "by path, at every depth";
    WriteFile(Folder() + "known.exe", Bytes(1000, 'z'));
    EXPECT_EQ(Medium(Folder() + "known.exe"), 0);
}

TEST_F(Identification, MediumDepthOnASmallFileOfThePathTableIsNoThreat) {
    const std::string path = File("known.exe", Bytes(500, 'q'));
    EXPECT_EQ(Medium(path), 0);
    EXPECT_EQ(Deep(path), 3);
    EXPECT_EQ(Shallow(path), 3);
}

TEST_F(Identification, AKnownPathWithAnotherHashIsAnotherFile) {
    const std::string path = File("known.exe", Bytes(2000, 'q'));
    EXPECT_EQ(Deep(path), 0);
    EXPECT_EQ(Shallow(path), 3);
}

TEST_F(Identification, AHashOutranksThePath) {
    EXPECT_EQ(Deep(File("known.exe", Bytes(1000, 'a'))), 1);
}

TEST_F(Identification, AnyOtherDepthTestsNothing) {
    const std::string path = File("known.exe", Bytes(1000, 'a'));
    EXPECT_EQ(scanner.IsFileThreat(path, "", static_cast<enScanDepth>(0)), 0);
    EXPECT_EQ(scanner.IsFileThreat(path, "", static_cast<enScanDepth>(4)), 0);
}

TEST_F(Identification, AHashThatTheCallerNamesIsNotUsed) {
    const std::string good = File("good.bin", Bytes(1000, 'g'));
    EXPECT_EQ(scanner.IsFileThreat(good, "", scanmedium, HashOf(Bytes(1000, 'a'))), 0);
    const std::string bad = File("bad.bin", Bytes(1000, 'a'));
    EXPECT_EQ(scanner.IsFileThreat(bad, "", scanmedium, HashOf(Bytes(1000, 'g'))), 1);
}

TEST_F(Identification, NeitherTheExtensionFilterNorTheSkippingOfCommonFilesMatters) {
    State().FileExtensionFilter = "*.exe;";
    scanner.DoSkipCommonFiles = true;
    EXPECT_EQ(Deep(File("bad.xyz", Bytes(1000, 'a'))), 1);
}

TEST_F(Identification, BlanksAroundAPathAreTrimmed) {
    const std::string path = File("known.exe", "x");
    EXPECT_EQ(Deep("  " + path + " "), 3);
}

TEST_F(Identification, VariablesOfTheEnvironmentAreResolved) {
    const std::string windows = scanner.Scan()->FolderPaths->PathWindows;
    ASSERT_FALSE(windows.empty());
    WriteFile(windows + "kel-identification-test.bin", Bytes(1000, 'a'));
    EXPECT_EQ(Deep(" %SystemRoot%\\kel-identification-test.bin"), 1);
    EXPECT_EQ(Deep("%windir%\\kel-identification-test.bin "), 1);
    Machine().files->Remove(windows + "kel-identification-test.bin");
    EXPECT_EQ(Deep("%windir%\\kel-identification-test.bin"), 0);
}

TEST_F(Identification, APathIsLookedUpInItsVariableForm) {
    const std::string windows = scanner.Scan()->FolderPaths->PathWindows;
    ASSERT_FALSE(windows.empty());
    tables.paths = {{9, "%windows%\\kel-variable-test.exe"}};
    Begin();
    ASSERT_TRUE(State().DataInitialized);
    State().DataInitialized = false;
    Begin();
    WriteFile(windows + "kel-variable-test.exe", "x");
    EXPECT_EQ(Shallow(windows + "KEL-Variable-Test.exe"), 9);
    Machine().files->Remove(windows + "kel-variable-test.exe");
}

TEST_F(Identification, ARestrictedFileIsNoThreat) {
    tables.paths = {{9, Folder() + "forms.dll"}, {10, Folder() + "winik.sys"}};
    State().DataInitialized = false;
    Begin();
    EXPECT_EQ(Deep(File("forms.dll", "x")), 0);
    EXPECT_EQ(Deep(File("winik.sys", "x")), 10);
}

TEST_F(Identification, AMissingFileIsNoThreatAndNoFailure) {
    EXPECT_EQ(Deep(Folder() + "known.exe"), 0);
    EXPECT_EQ(Deep(Folder() + "no folder\\x.exe"), 0);
    EXPECT_EQ(Deep(""), 0);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Identification, TheIgnoreListPlaysNoPart) {
    State().IgnoredThreatIDs = std::make_shared<Collection<std::int32_t>>();
    State().IgnoredThreatIDs->Add(3, "3");
    EXPECT_EQ(Deep(File("known.exe", "x")), 3);
}

TEST_F(Identification, AFolderIsTestedByItsPathAndIsNoFailure) {
    MakeFolder(Folder() + "known.exe");
    EXPECT_EQ(Deep(Folder() + "known.exe"), 3);
    EXPECT_THAT(Reported(), IsEmpty());
}

// A machine that refuses one name and knows its file by a short name only.
class RefusedName : public decorators::ForwardingFiles {
public:
    RefusedName(platform::Files& inner, std::string refused) : ForwardingFiles(inner), refused_(std::move(refused)) {}
    std::vector<std::string> asked;

    bool PathExists(std::string_view path) override { return !Refuses(path) && Inner().PathExists(path); }
    platform::Result<std::uint64_t> Length(std::string_view path) override {
        asked.emplace_back(path);
        if (Refuses(path)) {
            return platform::SysError::InvalidName;
        }
        return Inner().Length(path);
    }

private:
    bool Refuses(std::string_view path) const { return path.find(refused_) != std::string_view::npos; }
    std::string refused_;
};

class RefusedNames : public Identification {
protected:
    void Refuse(const std::string& name) {
        platform::Platform machine = Machine();
        files.emplace(*machine.files, name);
        machine.files = &*files;
        Install(machine);
    }
    void TearDown() override { Install(Machine()); }
    std::optional<RefusedName> files;
};

TEST_F(RefusedNames, AFullShortNameIsTriedInItsPlace) {
    const std::string alternate = File("LONGNA~1.EXE", Bytes(1000, 'a'));
    Refuse("?");
    EXPECT_EQ(scanner.IsFileThreat(Folder() + "long?name.exe", alternate + "\0\0"s, scandeep), 1);
    EXPECT_THAT(files->asked, ::testing::Contains(alternate));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(RefusedNames, AShorterShortNameKeepsWhatThePlatformDoesNotSee) {
    const std::string alternate = File("AB~1.EXE", Bytes(1000, 'a'));
    Refuse("?");
    EXPECT_EQ(scanner.IsFileThreat(Folder() + "a?b.exe", alternate + "\0\0\0\0\0\0"s, scandeep), 1);
}

TEST_F(RefusedNames, WithoutAShortNameTheFailureIsReported) {
    Refuse("?");
    EXPECT_EQ(scanner.IsFileThreat(Folder() + "long?name.exe", "", scandeep), 0);
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].number, "52");
    EXPECT_EQ(Reported()[0].module, "Scanner");
    EXPECT_EQ(Reported()[0].procedure, "IsFileThreat");
}

TEST_F(RefusedNames, AShortNameThatIsRefusedTooIsGivenUp) {
    Refuse("keltest");
    EXPECT_EQ(scanner.IsFileThreat(Folder() + "long?name.exe", Folder() + "LONGNA~1.EXE\0\0"s, scandeep), 0);
    EXPECT_LE(Reported().size(), 1U);
}

TEST_F(RefusedNames, AFileThatVanishesBetweenTwoLooksIsNoFailure) {
    class Vanishing : public decorators::ForwardingFiles {
    public:
        using ForwardingFiles::ForwardingFiles;
        platform::Result<std::uint64_t> Length(std::string_view) override { return platform::SysError::FileNotFound; }
    };
    platform::Platform machine = Machine();
    Vanishing vanishing(*machine.files);
    machine.files = &vanishing;
    const std::string path = File("known.exe", "x");
    Install(machine);
    EXPECT_EQ(Deep(path), 0);
    Install(Machine());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(RefusedNames, AnyOtherFailureIsReported) {
    class Failing : public decorators::ForwardingFiles {
    public:
        using ForwardingFiles::ForwardingFiles;
        platform::Result<std::uint64_t> Length(std::string_view) override { return platform::SysError::IoFailed; }
    };
    platform::Platform machine = Machine();
    Failing failing(*machine.files);
    machine.files = &failing;
    const std::string path = File("known.exe", "x");
    Install(machine);
    EXPECT_EQ(Deep(path), 0);
    Install(Machine());
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].number, "57");
}

TEST(TrimAltName, LeavesANameThatFillsItsField) {
    EXPECT_EQ(modScannerFiles::TrimAltName("LONGNA~1.EXE\0\0"s), "LONGNA~1.EXE");
    EXPECT_EQ(modScannerFiles::TrimAltName("LONGNA~1.EX\0\0\0"s), "LONGNA~1.EX");
}

TEST(TrimAltName, LeavesCodesBehindAShorterName) {
    EXPECT_EQ(modScannerFiles::TrimAltName("LONGN~1.EX\0\0\0\0"s), "LONGN~1.EX\0"s);
    EXPECT_EQ(modScannerFiles::TrimAltName("AB~1.EXE\0\0\0\0\0\0"s), "AB~1.EXE\0\0\0"s);
}

TEST(TrimAltName, TakesTwoCharactersOffAnyText) {
    EXPECT_EQ(modScannerFiles::TrimAltName("abcd"), "ab");
    EXPECT_EQ(modScannerFiles::TrimAltName("ab"), "");
    EXPECT_EQ(modScannerFiles::TrimAltName("a"), "");
    EXPECT_EQ(modScannerFiles::TrimAltName(""), "");
}

TEST_F(Identification, AFolderIsFoundByItsPathInLowerCase) {
    MakeFolder(Folder() + "Bad");
    tables.folders = {{5, Folder() + "bad\\"}};
    State().DataInitialized = false;
    Begin();
    EXPECT_EQ(scanner.IsFolderThreat(Folder() + "BAD\\"), 5);
    EXPECT_EQ(scanner.IsFolderThreat(Folder() + "BAD"), 0) << "the backslash belongs to the key";
}

TEST_F(Identification, AFolderThatIsNotThereIsNoThreat) {
    EXPECT_EQ(scanner.IsFolderThreat("c:\\bad folder\\"), 0);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Identification, AFolderBelowASpecialOneIsAskedForInItsVariableForm) {
    const std::string bad = scanner.Scan()->FolderPaths->PathWindows + "bad\\";
    ASSERT_FALSE(scanner.Scan()->FolderPaths->PathWindows.empty());
    MakeFolder(bad);
    EXPECT_EQ(scanner.FolderThreatExists("%windows%\\bad\\"), 6);
    EXPECT_EQ(scanner.IsFolderThreat(bad), 0) << "no folder has the name of the variable form";
    Machine().files->RemoveFolder(bad.substr(0, bad.size() - 1));
}

TEST_F(Identification, AFolderMayBeTestedWithFoldersOfTheCallersOwn) {
    MakeFolder(Folder() + "mine");
    tables.folders = {{5, Folder() + "mine\\"}};
    State().DataInitialized = false;
    Begin();
    const auto folders = std::make_shared<clsFolderPaths>();
    EXPECT_EQ(scanner.IsFolderThreat(Folder() + "mine\\", folders), 5);
    folders->PathDesktop = LCase(Folder() + "mine\\");
    EXPECT_EQ(scanner.IsFolderThreat(Folder() + "mine\\", folders), 0) << "it became %desktopdirectory%\\";
}

class IdentificationWithoutAScan : public EngineTest {};

TEST_F(IdentificationWithoutAScan, AFolderTestNeedsFolders) {
    EXPECT_EQ(modScannerFiles::IsFolderThreat("C:\\x\\"), 0);
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].module, "modScannerFiles");
    EXPECT_EQ(Reported()[0].procedure, "IsFolderThreat");
    EXPECT_EQ(Reported()[0].number, "91");
}

TEST_F(IdentificationWithoutAScan, AFileIsTestedAllTheSame) {
    ShippedTables tables;
    tables.paths = {{3, Folder() + "known.exe"}};
    tables.WriteTo(AppFolder());
    modMain::LoadEngineData();
    WriteFile(Folder() + "known.exe", "x");
    EXPECT_EQ(modScannerFiles::IsFileThreat(Folder() + "KNOWN.exe", "", scanshallow), 3);
}

}  // namespace
}  // namespace kel::test
