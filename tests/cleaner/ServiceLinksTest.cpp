// Which service runs a file, and what is left of one.
#include <gmock/gmock.h>

#include "RemovalTest.h"
#include "cleaner/Unhooking.h"

namespace kel::test {
namespace {

using modCleanerHelper::IsFileRunningAsService;
using modCleanerHelper::KillService;
using modCleanerHelper::RemoveService;
using platform::HiveLocalMachine;
using ::testing::IsEmpty;

constexpr std::string_view Services = R"(SYSTEM\CurrentControlSet\Services)";

class ServiceLinks : public RemovalTest {
protected:
    static std::string KeyOf(std::string_view name) { return std::string(Services) + "\\" + std::string(name); }
    void Add(std::string_view name, std::string_view image) {
        Stage().AddText(HiveLocalMachine, KeyOf(name), "ImagePath", image);
    }
};

TEST_F(ServiceLinks, TheFirstServiceThatRunsTheFileIsNamed) {
    const std::string bad = AddThing("bad thing.exe");
    Add("Aaa", AddThing("good.exe"));
    Add("Bbb", "\"" + bad + "\" -service");
    Add("Ccc", bad);
    Stage().AddKey(HiveLocalMachine, KeyOf("A key without a path"));
    EXPECT_EQ(IsFileRunningAsService(bad), "Bbb");
    EXPECT_EQ(IsFileRunningAsService(Things() + "BAD THING.exe"), "Bbb");
    EXPECT_EQ(IsFileRunningAsService(AddThing("other.exe")), "");
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ServiceLinks, VariablesAndFoldersOfTheMachineAreResolved) {
    WriteFile(System() + "bad.exe", "bad");
    WriteFile(System() + "bad.sys", "bad");
    WriteFile(Windows() + "worse.sys", "bad");
    Add("Variable", "%SystemRoot%\\system32\\bad.exe -k all");
    Add("Driver", "system32\\bad.sys");
    Add("Native", "\\??\\" + Windows() + "worse.sys");
    EXPECT_EQ(IsFileRunningAsService(System() + "bad.exe"), "Variable");
    EXPECT_EQ(IsFileRunningAsService(System() + "bad.sys"), "Driver");
    EXPECT_EQ(IsFileRunningAsService(Windows() + "worse.sys"), "Native");
}

TEST_F(ServiceLinks, WhatIsGoneRunsAsNoService) {
    Add("Gone", Things() + "gone.exe");
    EXPECT_EQ(IsFileRunningAsService(Things() + "gone.exe"), "");
    EXPECT_EQ(IsFileRunningAsService(""), "");
}

TEST_F(ServiceLinks, AMachineWithoutServicesIsNoFailure) {
    EXPECT_EQ(IsFileRunningAsService(AddThing("bad.exe")), "");
    EXPECT_EQ(KillService("Bad"), 0);
    EXPECT_EQ(RemoveService("Bad"), 0);
    EXPECT_FALSE(KeyExists(HiveLocalMachine, KeyOf("Bad"))) << "no key is made for one that is not there";
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ServiceLinks, AKilledServiceIsDisabled) {
    Add("Bad", "bad.exe");
    Stage().AddValue(HiveLocalMachine, KeyOf("Bad"), "Start", {platform::ValueType::Dword, std::string("\2\0\0\0", 4)});
    EXPECT_EQ(KillService("Bad"), 0);
    EXPECT_EQ(Data(HiveLocalMachine, KeyOf("Bad"), "Start"), "\4");
    EXPECT_EQ(Data(HiveLocalMachine, KeyOf("Bad"), "ImagePath"), "bad.exe");
}

TEST_F(ServiceLinks, ARemovedServiceGoesFromAllControlSetsButTheSecond) {
    const std::vector<std::string> gone = {
        R"(SYSTEM\CurrentControlSet\Services\Bad)",     R"(SYSTEM\ControlSet001\Services\Bad)",
        R"(SYSTEM\ControlSet003\Services\Bad)",         R"(SYSTEM\CurrentControlSet\Enum\Root\LEGACY_Bad)",
        R"(SYSTEM\ControlSet001\Enum\Root\LEGACY_Bad)", R"(SYSTEM\ControlSet003\Enum\Root\LEGACY_Bad)",
    };
    const std::vector<std::string> kept = {
        R"(SYSTEM\ControlSet002\Services\Bad)",
        R"(SYSTEM\ControlSet002\Enum\Root\LEGACY_Bad)",
        R"(SYSTEM\CurrentControlSet\Services\Bad2)",
        R"(SYSTEM\CurrentControlSet\Enum\Root\LEGACY_Bad2)",
    };
    for (const auto* keys : {&gone, &kept}) {
        for (const std::string& key : *keys) {
            Stage().AddKey(HiveLocalMachine, key + "\\0000\\Control");
        }
    }
    EXPECT_EQ(RemoveService("Bad"), 0);
    for (const std::string& key : gone) {
        EXPECT_FALSE(KeyExists(HiveLocalMachine, key)) << key;
    }
    for (const std::string& key : kept) {
        EXPECT_TRUE(KeyExists(HiveLocalMachine, key + "\\0000\\Control")) << key;
    }
}

TEST_F(ServiceLinks, AnEmptyNameIsNoService) {
    Add("Bad", "bad.exe");
    Stage().AddKey(HiveLocalMachine, R"(SYSTEM\CurrentControlSet\Enum\Root\LEGACY_)");
    EXPECT_EQ(KillService(""), 0);
    EXPECT_EQ(RemoveService(""), 0);
    EXPECT_EQ(Data(HiveLocalMachine, Services, "Start"), "absent");
    EXPECT_TRUE(KeyExists(HiveLocalMachine, KeyOf("Bad")));
    EXPECT_TRUE(KeyExists(HiveLocalMachine, R"(SYSTEM\CurrentControlSet\Enum\Root\LEGACY_)"));
}

}  // namespace
}  // namespace kel::test
