#include "CustomScanTest.h"

#include <gmock/gmock.h>

#include "CountingLoop.h"
#include "core/Text.h"
#include "decorators/ForwardingFiles.h"
#include "results/IgnoredThreats.h"
#include "rules/BrowserAddresses.h"

namespace kel::test {
namespace {

using platform::Hive;
using platform::HiveClassesRoot;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

constexpr std::string_view Class = "{01234567-89AB-CDEF-0123-456789ABCDEF}";
constexpr std::string_view ExeCommand = R"(exefile\shell\open\command)";

class CustomScan : public CustomScanTest {
protected:
    void WriteWininit(const std::string& text) { WriteFile(Windows() + "wininit.ini", text); }
    // Runs the scan over one value of the browser and gives the texts of the hijack's locations.
    std::vector<std::string> HijackOf(Hive hive, std::string_view key, std::string_view name, std::string_view data) {
        Stage().AddText(hive, key, name, data);
        Run();
        std::vector<std::string> texts;
        for (const auto& custom : Customs(modScannerCustom::BrowserHijackThreat)) {
            texts.push_back(custom->DisplayData);
        }
        return texts;
    }
};

TEST_F(CustomScan, NamesItsRulesInTheirOrderAndNothingElse) {
    Run();
    EXPECT_THAT(
        StartedLocations(),
        ElementsAre("Polymorphic scan of wininit.ini", R"(Polymorphic scan of shell\open\command)",
                    "Polymorphic browser hijack scan", "Polymorphic CoolWebSearch scan", "Polymorphic JimmyHelp scan",
                    "Polymorphic Bloodhound trojan exploit scan", "Polymorphic OmegaSearch scan"));
    EXPECT_THAT(started, Each(Field(&HeardStart::type, ScanTypeProcesses)));
    EXPECT_THAT(found, IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(CustomScan, StopsBetweenTwoRules) {
    abortAtPoll = 2;
    Run();
    EXPECT_THAT(started, SizeIs(2));
}

TEST_F(CustomScan, YieldsBehindEachRule) {
    platform::Platform machine = Stage().View();
    CountingLoop loop;
    loop.call = [&] { ScanAbortFlag() = loop.turns == 3; };
    machine.loop = &loop;
    Install(machine);
    Run();
    EXPECT_EQ(loop.turns, 3);
    EXPECT_THAT(started, SizeIs(3));
    Install(Machine());
}

TEST_F(CustomScan, WithoutAScanIsOneReportedFailure) {
    SetCurrentScan(nullptr);
    Run();
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].module, "modScannerCustom");
    EXPECT_EQ(Reported()[0].procedure, "ScanCustom");
}

TEST_F(CustomScan, OfWininitTestsWhatComesAndRecordsWhatIsReplaced) {
    const std::string evil = AddEvil(Folder() + "new.tmp");
    WriteFile(Folder() + "old.dll", Bytes(1500, 'o'));
    const std::string old = Folder() + "old.dll";
    WriteWininit("[rename]\r\n  " + old + "=" + evil + "  \r\n");
    Run();
    EXPECT_THAT(FilesOf(Evil), ElementsAre(old));
    EXPECT_EQ(Detection(Evil)->ThreatLocationFiles->Item(1)->MD5, HashOf(Bytes(1500, 'o')));
    const auto customs = Customs(Evil);
    ASSERT_THAT(customs, SizeIs(1));
    EXPECT_EQ(customs[0]->CustomID(), 100001);
    EXPECT_EQ(customs[0]->CleanPriority, CustomCleanPriorityPost);
    EXPECT_EQ(customs[0]->CustomData1, old);
    EXPECT_EQ(customs[0]->CustomData2, "");
    EXPECT_EQ(customs[0]->CustomData3, "");
    EXPECT_EQ(customs[0]->DisplayData, "File " + old + " exists in startup in Win.ini");
    EXPECT_THAT(found, ElementsAre(HeardThreat{old, ScanTypeFiles, Evil, 1},
                                   HeardThreat{"Threat detected", ScanTypeFiles, Evil, 2}));
}

TEST_F(CustomScan, OfWininitPassesOverLinesThatNameNoRename) {
    const std::string evil = AddEvil(Folder() + "new.tmp");
    WriteFile(Folder() + "old.dll", Bytes(1500, 'o'));
    WriteWininit(evil + "\r\n=" + evil + "\r\n  =" + evil + "\r\n" + Folder() + "old.dll=\r\n" + Folder() +
                 "none.dll=" + evil + "\r\n\r\nNUL=" + Folder() + "old.dll\r\n");
    Run();
    EXPECT_THAT(found, IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(CustomScan, OfWininitSplitsAtTheFirstEqualsSign) {
    const std::string evil = AddEvil(Folder() + "a=b.tmp");
    WriteFile(Folder() + "old.dll", Bytes(1500, 'o'));
    WriteWininit(Folder() + "old.dll=" + evil);
    Run();
    EXPECT_THAT(FilesOf(Evil), ElementsAre(Folder() + "old.dll"));
}

TEST_F(CustomScan, AThreatHasOneLocationForEachRepair) {
    const std::string evil = AddEvil(Folder() + "new.tmp");
    WriteFile(Folder() + "a.dll", Bytes(1500, 'a'));
    WriteFile(Folder() + "b.dll", Bytes(1500, 'b'));
    WriteWininit(Folder() + "a.dll=" + evil + "\r\n" + Folder() + "b.dll=" + evil + "\r\n");
    Run();
    EXPECT_THAT(FilesOf(Evil), SizeIs(2));
    ASSERT_THAT(Customs(Evil), SizeIs(1));
    EXPECT_EQ(Customs(Evil)[0]->CustomData1, Folder() + "a.dll");
}

TEST_F(CustomScan, ACommandThatStartsAThreatIsRecordedWithItsKey) {
    const std::string evil = AddEvil(Folder() + "Wrapper.exe");
    Stage().AddText(HiveClassesRoot, ExeCommand, "", "\"" + Folder() + "Wrapper.exe\" \"%1\" %*");
    Run();
    EXPECT_THAT(FilesOf(Evil), ElementsAre(evil));
    const auto customs = Customs(Evil);
    ASSERT_THAT(customs, SizeIs(1));
    EXPECT_EQ(customs[0]->CustomID(), 100002);
    EXPECT_EQ(customs[0]->CleanPriority, CustomCleanPriorityPost);
    EXPECT_EQ(customs[0]->CustomData1, ExeCommand);
    EXPECT_EQ(customs[0]->CustomData2, "");
    EXPECT_EQ(customs[0]->CustomData3, "exefile");
    EXPECT_EQ(customs[0]->DisplayData, "File " + evil + " exists in Shell Open Command for " + std::string(ExeCommand));
}

// Passes on, and keeps the paths that were looked for.
class WatchedFiles : public decorators::ForwardingFiles {
public:
    using ForwardingFiles::ForwardingFiles;
    std::vector<std::string> lookedFor;
    bool PathExists(std::string_view path) override {
        lookedFor.emplace_back(path);
        return Inner().PathExists(path);
    }
};

TEST_F(CustomScan, TheCommandOfPlainProgramsIsNotTested) {
    platform::Platform machine = Stage().View();
    WatchedFiles files(*machine.files);
    machine.files = &files;
    Install(machine);
    Stage().AddText(HiveClassesRoot, ExeCommand, "", R"("%1" %*)");
    Run();
    EXPECT_THAT(files.lookedFor, Not(Contains("%1")));
    Stage().AddText(HiveClassesRoot, ExeCommand, "", R"("%1" /x %*)");
    Run();
    EXPECT_THAT(files.lookedFor, Contains("%1")) << "any other command is";
    Install(Machine());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(CustomScan, AnIgnoredThreatInACommandAddsNothing) {
    const std::string evil = AddEvil(Folder() + "w.exe");
    IgnoredThreats().AddIgnoredThreat(Evil);
    Stage().AddText(HiveClassesRoot, ExeCommand, "", evil + " %1");
    Run();
    EXPECT_THAT(found, IsEmpty());
    EXPECT_EQ(Detection(Evil), nullptr);
}

struct CommandForm {
    const char* before;
    const char* behind;
    bool recognised;
};
void PrintTo(const CommandForm& form, std::ostream* stream) {
    *stream << form.before << "FILE" << form.behind;
}

class CommandForms : public CustomScanTest, public ::testing::WithParamInterface<CommandForm> {};

TEST_P(CommandForms, LeadToTheirProgram) {
    const std::string evil = AddEvil(Folder() + "w.exe");
    Stage().AddText(HiveClassesRoot, ExeCommand, "", GetParam().before + evil + GetParam().behind);
    Run();
    EXPECT_EQ(FilesOf(Evil).size(), GetParam().recognised ? 1U : 0U);
    EXPECT_THAT(Reported(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Commands, CommandForms,
                         ::testing::Values(CommandForm{"\"", "\"", true}, CommandForm{"  \"", "\" %1", true},
                                           CommandForm{"   \"", "\"", false},  // too far behind: the blanks stay
                                           CommandForm{"   \"", "\" %1", false}, CommandForm{"", " %1", true},
                                           CommandForm{"", " \"%1\" %*", true}, CommandForm{"'", "' %1", true},
                                           CommandForm{"", " /x", true}, CommandForm{"start ", " %1", false},
                                           CommandForm{"\"", "", true}));

struct CommandPlace {
    Hive hive;
    const char* key;
    const char* type;
};
void PrintTo(const CommandPlace& place, std::ostream* stream) {
    *stream << place.key;
}

class CommandPlaces : public CustomScanTest, public ::testing::WithParamInterface<CommandPlace> {};

TEST_P(CommandPlaces, AreLookedAt) {
    const std::string evil = AddEvil(Folder() + "w.exe");
    Stage().AddText(GetParam().hive, GetParam().key, "", evil + " %1");
    Run();
    EXPECT_THAT(FilesOf(Evil), ElementsAre(evil));
    ASSERT_THAT(Customs(Evil), SizeIs(1));
    EXPECT_EQ(Customs(Evil)[0]->CustomData3, GetParam().type);
}

INSTANTIATE_TEST_SUITE_P(
    All, CommandPlaces,
    ::testing::Values(CommandPlace{HiveClassesRoot, R"(exefile\shell\open\command)", "exefile"},
                      CommandPlace{HiveLocalMachine, R"(SOFTWARE\Classes\exefile\shell\runas\command)", "exefile"},
                      CommandPlace{HiveLocalMachine, R"(SOFTWARE\Classes\exefile\shell\open\command)", "exefile"},
                      CommandPlace{HiveClassesRoot, R"(txtfile\shell\open\command)", "txtfile"},
                      CommandPlace{HiveLocalMachine, R"(SOFTWARE\Classes\txtfile\shell\open\command)", "txtfile"},
                      CommandPlace{HiveClassesRoot, R"(batfile\shell\open\command)", "batfile"},
                      CommandPlace{HiveLocalMachine, R"(SOFTWARE\Classes\batfile\shell\open\command)", "batfile"},
                      CommandPlace{HiveLocalMachine, R"(SOFTWARE\Classes\batfile\shell\runas\command)", "batfile"},
                      CommandPlace{HiveClassesRoot, R"(comfile\shell\open\command)", "comfile"},
                      CommandPlace{HiveLocalMachine, R"(SOFTWARE\Classes\comfile\shell\open\command)", "comfile"},
                      CommandPlace{HiveClassesRoot, R"(htafile\shell\open\command)", "htafile"},
                      CommandPlace{HiveClassesRoot, R"(piffile\shell\open\command)", "piffile"},
                      CommandPlace{HiveLocalMachine, R"(SOFTWARE\Classes\htafile\shell\open\command)", "htafile"},
                      CommandPlace{HiveLocalMachine, R"(SOFTWARE\Classes\piffile\shell\open\command)", "piffile"},
                      CommandPlace{HiveClassesRoot, R"(mp3file\shell\open\command)", "mp3file"},
                      CommandPlace{HiveClassesRoot, R"(mpegfile\shell\open\command)", "mpegfile"},
                      CommandPlace{HiveClassesRoot, R"(mailto\shell\open\command)", "mailto"},
                      CommandPlace{HiveClassesRoot, R"(htmlfile\shell\open\command)", "htmlfile"},
                      CommandPlace{HiveClassesRoot, R"(http\shell\open\command)", "http"},
                      CommandPlace{HiveClassesRoot, R"(https\shell\open\command)", "https"},
                      CommandPlace{HiveClassesRoot, R"(ftp\shell\open\command)", "ftp"}));

TEST_F(CustomScan, APageInsideALibraryIsAHijackNamedByANumber) {
    EXPECT_THAT(HijackOf(HiveCurrentUser, addresses::Main, "Search Page", "RES://c:\\x.dll/index.HTML#1"),
                ElementsAre("Internet Explorer Search Page: 1"));
    const auto customs = Customs(modScannerCustom::BrowserHijackThreat);
    EXPECT_EQ(customs[0]->CustomID(), 148311);
    EXPECT_EQ(customs[0]->CleanPriority, CustomCleanPriorityPost);
    EXPECT_THAT(found, ElementsAre(HeardThreat{"Threat detected", ScanTypeRegistry, 14831, 1}));
}

TEST_F(CustomScan, AStartPageInsideALibraryIsOneToo) {
    EXPECT_THAT(HijackOf(HiveCurrentUser, addresses::Main, "Start Page", "res://x.dll/a.html#2"),
                ElementsAre("Internet Explorer Start Page: 1"));
}

TEST_F(CustomScan, APageInsideALibraryWithoutAPlaceInItIsNone) {
    EXPECT_THAT(HijackOf(HiveCurrentUser, addresses::Main, "Start Page", "res://x.dll/a.html"), IsEmpty());
    EXPECT_THAT(HijackOf(HiveCurrentUser, addresses::Main, "Search Page", "http://x.example/a.html#2"), IsEmpty());
}

TEST_F(CustomScan, EveryMarkerIsAHijackInEveryAddress) {
    EXPECT_EQ(std::size(addresses::HijackMarkers), 11U);
    EXPECT_EQ(std::size(addresses::MakersAddresses), 4U);
    std::size_t row = 0;
    for (const auto& address : addresses::Hijackable) {
        const std::string data =
            "HTTP://" + UCase(addresses::HijackMarkers[row % std::size(addresses::HijackMarkers)]) + "/x";
        ++row;
        scanner.ResetScan();
        scanner.Scan()->DetectedThreats().reset();
        EXPECT_THAT(HijackOf(address.hive, address.key, address.name, data),
                    ElementsAre("Internet Explorer " + std::string(address.name) + ": " + data))
            << address.key;
        Stage().AddText(address.hive, address.key, address.name, "");
    }
    EXPECT_EQ(row, 25U);
}

TEST_F(CustomScan, AnAddressNobodyExpectsOtherwiseIsNoHijack) {
    EXPECT_THAT(HijackOf(HiveCurrentUser, addresses::Main, "Start Page", "http://mine.example.org/"), IsEmpty());
}

TEST_F(CustomScan, AnAddressOtherThanTheExpectedIsAHijackUnlessItIsTheMakers) {
    addresses::AskSettings([](std::string_view name) {
        return name == R"(HKEY_CURRENT_USER\Software\Microsoft\Internet Explorer\Main Start Page)"
                   ? std::string("http://home.example.org/")
                   : std::string();
    });
    EXPECT_THAT(HijackOf(HiveCurrentUser, addresses::Main, "Start Page", "HTTP://HOME.example.org/"), IsEmpty());
    for (const std::string_view makers : addresses::MakersAddresses) {
        EXPECT_THAT(HijackOf(HiveCurrentUser, addresses::Main, "Start Page", "http://" + std::string(makers) + "?x"),
                    IsEmpty());
    }
    EXPECT_THAT(HijackOf(HiveCurrentUser, addresses::Main, "Start Page", "http://other.example.org/"),
                ElementsAre("Internet Explorer Start Page: http://other.example.org/"));
}

TEST_F(CustomScan, AFalseEditorIsRecordedWithItsFilesInBothFolders) {
    WriteFile(Windows() + "notepad32.exe", Bytes(1500, 'n'));
    WriteFile(System() + "notepad32.exe", Bytes(1500, 'm'));
    Stage().AddText(HiveLocalMachine, modScannerCustom::TextFileCommand, "", "C:\\WINDOWS\\Notepad32.EXE %1");
    Run();
    const auto customs = Customs(4092);
    ASSERT_THAT(customs, SizeIs(1));
    EXPECT_EQ(customs[0]->CustomID(), 40921);
    EXPECT_EQ(customs[0]->CleanPriority, CustomCleanPriorityPost);
    EXPECT_EQ(customs[0]->DisplayData,
              R"(Notepad32.exe trojan exists in Shell Open Command SOFTWARE\Classes\txtfile\shell\open\command)");
    EXPECT_THAT(FilesOf(4092), ElementsAre(LCase(Windows()) + "notepad32.exe", LCase(System()) + "notepad32.exe"));
    EXPECT_EQ(found[0], (HeardThreat{"Threat detected", ScanTypeFiles, 4092, 1}));
}

TEST_F(CustomScan, TheTrueEditorIsNone) {
    WriteFile(Windows() + "notepad32.exe", Bytes(1500, 'n'));
    Stage().AddText(HiveLocalMachine, modScannerCustom::TextFileCommand, "", "notepad.exe %1");
    Run();
    EXPECT_EQ(Detection(4092), nullptr);
}

TEST_F(CustomScan, AHelperIsKnownByItsClassName) {
    const std::string key = std::string(modScannerTactics::BrowserHelperObjects) + "\\" + std::string(Class);
    const std::string helper = Folder() + "h.dll";
    WriteFile(helper, Bytes(1500, 'h'));
    AddClass(Class, helper);
    Stage().AddKey(HiveLocalMachine, key);
    Stage().AddText(HiveClassesRoot, "CLSID\\" + std::string(Class), "", "Another.Helper");
    Run();
    EXPECT_EQ(Detection(14898), nullptr);
    Stage().AddText(HiveClassesRoot, "CLSID\\" + std::string(Class), "", "JIMMYHELP.cbrowserhelper");
    Run();
    EXPECT_THAT(FilesOf(14898), ElementsAre(LCase(helper)));
    EXPECT_EQ(KeysOf(14898).at(0), "HKLM " + key);
    EXPECT_THAT(Customs(14898), IsEmpty());
}

TEST_F(CustomScan, AHelperWithoutItsFileIsRecordedByItsKey) {
    const std::string key = std::string(modScannerTactics::BrowserHelperObjects) + "\\" + std::string(Class);
    Stage().AddKey(HiveLocalMachine, key);
    Stage().AddText(HiveClassesRoot, "CLSID\\" + std::string(Class), "", "jimmyhelp.CBrowserHelper");
    Run();
    EXPECT_THAT(FilesOf(14898), IsEmpty());
    EXPECT_THAT(KeysOf(14898), ElementsAre("HKLM " + key));
}

TEST_F(CustomScan, AComponentThatCameOutOfAHelpFileIsAnExploit) {
    const std::string key = std::string(modScannerTactics::DistributionUnits) + "\\" + std::string(Class);
    Stage().AddText(HiveLocalMachine, key + "\\DownloadInformation", "CODEBASE", "FILE://c:\\x.CHM::/a.exe");
    const std::string other = std::string(modScannerTactics::DistributionUnits) + "\\{other}";
    Stage().AddText(HiveLocalMachine, other + "\\DownloadInformation", "CODEBASE", "http://x.example/a.chm");
    Run();
    EXPECT_THAT(KeysOf(14933), ElementsAre("HKLM " + key));
}

TEST_F(CustomScan, AHelperOfOneLengthIsAThreatWhateverItsName) {
    const std::string key = std::string(modScannerTactics::BrowserHelperObjects) + "\\" + std::string(Class);
    const std::string helper = Folder() + "any name.dat";
    AddClass(Class, helper);
    Stage().AddKey(HiveLocalMachine, key);
    WriteFile(helper, Bytes(15525, 'o'));
    Run();
    EXPECT_EQ(Detection(14960), nullptr);
    WriteFile(helper, Bytes(15526, 'o'));
    Run();
    EXPECT_THAT(FilesOf(14960), ElementsAre(LCase(helper)));
    EXPECT_THAT(KeysOf(14960), ElementsAre("HKLM " + key));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(CustomScan, ARunEntryOfOneLengthBehindAShortNameIsTheSameThreat) {
    const std::string program = Folder() + "prog~1.exe";
    WriteFile(program, Bytes(240663, 'p'));
    Stage().AddText(HiveCurrentUser, modScannerTactics::Run, "o", program + " -x");
    Run();
    EXPECT_THAT(FilesOf(14960), ElementsAre(LCase(program)));
    EXPECT_EQ(KeysOf(14960).at(0), "HKCU " + std::string(modScannerTactics::Run) + " o");
}

TEST_F(CustomScan, ARunEntryWithoutAShortNameOrOfAnotherLengthIsNone) {
    WriteFile(Folder() + "prog.exe", Bytes(240663, 'p'));
    WriteFile(Folder() + "prog~1.exe", Bytes(240662, 'p'));
    Stage().AddText(HiveCurrentUser, modScannerTactics::Run, "a", Folder() + "prog.exe");
    Stage().AddText(HiveLocalMachine, modScannerTactics::Run, "b", Folder() + "prog~1.exe");
    Run();
    EXPECT_EQ(Detection(14960), nullptr);
}

}  // namespace
}  // namespace kel::test
