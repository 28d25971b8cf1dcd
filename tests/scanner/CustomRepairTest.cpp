#include <gmock/gmock.h>

#include "CustomScanTest.h"
#include "core/Text.h"
#include "core/Value.h"
#include "rules/BrowserAddresses.h"
#include "system/modRegistry.h"

namespace kel::test {
namespace {

using platform::Hive;
using platform::HiveClassesRoot;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::string_view ExeCommand = R"(exefile\shell\open\command)";

class CustomRepair : public CustomScanTest {
protected:
    static std::string DefaultOf(Hive hive, std::string_view key) {
        return ToText(modRegistry::GetRegistryValue(hive, key, ""));
    }
    static std::string Repaired(std::string_view type) {
        ThreatLocationCustom location(100002);
        location.CustomData1 = Text(HiveLocalMachine);
        location.CustomData2 = R"(SOFTWARE\Classes\type\shell\open\command)";
        location.CustomData3 = type;
        modScannerCustom::CleanCustom(location);
        return DefaultOf(HiveLocalMachine, location.CustomData2);
    }
};

TEST_F(CustomRepair, TakesTheLineOfWininitAway) {
    const std::string evil = AddEvil(Folder() + "new.tmp");
    WriteFile(Folder() + "old.dll", Bytes(1500, 'o'));
    WriteFile(Windows() + "wininit.ini",
              "[rename]\r\n" + Folder() + "old.dll=" + evil + "\r\nNUL=" + Folder() + "else.dll\r\n");
    Run();
    ASSERT_THAT(Customs(Evil), SizeIs(1));
    modScannerCustom::CleanCustom(*Customs(Evil)[0]);
    EXPECT_EQ(ReadFile(Windows() + "wininit.ini"), "[rename]\r\nNUL=" + Folder() + "else.dll\r\n");
}

TEST_F(CustomRepair, WritesTheOriginalCommandOfEachType) {
    EXPECT_EQ(Repaired("txtfile"), R"(%SystemRoot%\system32\NOTEPAD.EXE %1)");
    EXPECT_EQ(Repaired("htafile"), R"(mshta.exe "%1" %*)");
    for (const char* type : {"mp3file", "mpegfile"}) {
        EXPECT_EQ(Repaired(type), R"("C:\Program Files\Windows Media Player\wmplayer.exe" \prefetch:6 /Open "%L")");
    }
    for (const char* type : {"htmlfile", "http", "https"}) {
        EXPECT_EQ(Repaired(type), R"("C:\Program Files\Internet Explorer\iexplore.exe" -nohome)");
    }
    for (const char* type : {"exefile", "ftp", "TXTFILE", ""}) {
        EXPECT_EQ(Repaired(type), R"("%1" %*)");
    }
}

TEST_F(CustomRepair, OfACommandThatTheScanFoundWritesNothing) {
    const std::string command = AddEvil(Folder() + "w.exe") + " %1";
    Stage().AddText(HiveClassesRoot, ExeCommand, "", command);
    Run();
    ASSERT_THAT(Customs(Evil), SizeIs(1));
    modScannerCustom::CleanCustom(*Customs(Evil)[0]);
    EXPECT_EQ(DefaultOf(HiveClassesRoot, ExeCommand), command);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(CustomRepair, GivesTextFilesTheirEditorBack) {
    Stage().AddText(HiveLocalMachine, modScannerCustom::TextFileCommand, "", "notepad32.exe %1");
    Run();
    ASSERT_THAT(Customs(4092), SizeIs(1));
    modScannerCustom::CleanCustom(*Customs(4092)[0]);
    EXPECT_EQ(DefaultOf(HiveLocalMachine, modScannerCustom::TextFileCommand),
              R"(%SystemRoot%\system32\NOTEPAD.EXE %1)");
}

TEST_F(CustomRepair, GivesTheBrowserItsAddressesBack) {
    Stage().AddText(HiveCurrentUser, addresses::Main, "Start Page", "res://x.dll/a.html#1");
    Run();
    ASSERT_THAT(Customs(14831), SizeIs(1));
    modScannerCustom::CleanCustom(*Customs(14831)[0]);
    EXPECT_EQ(ToText(modRegistry::GetRegistryValue(HiveCurrentUser, addresses::Main, "Start Page")),
              addresses::StartPage);
}

TEST_F(CustomRepair, OfAnyOtherNumberDoesNothing) {
    Stage().AddText(HiveLocalMachine, modScannerCustom::TextFileCommand, "", "x");
    ThreatLocationCustom location(1);
    modScannerCustom::CleanCustom(location);
    EXPECT_EQ(DefaultOf(HiveLocalMachine, modScannerCustom::TextFileCommand), "x");
    EXPECT_THAT(Reported(), IsEmpty());
}

}  // namespace
}  // namespace kel::test
