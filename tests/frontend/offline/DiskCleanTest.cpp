// Cleans and restores of a Windows disk with hives, and of a folder without a registry.
#include <gmock/gmock.h>

#include "CleanRun.h"
#include "DiskFixture.h"
#include "core/Text.h"
#include "frontend/ExitCodes.h"
#include "offline/OfflinePlatform.h"

namespace kel::test {
namespace {

using frontend::ExitClean;
using frontend::ExitThreats;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

// A disk of Windows XP with one value to be found in the machine's hive and one in that of the user.
struct PlantedDisk : DiskFixture {
    explicit PlantedDisk(const std::filesystem::path& where) {
        MakeXp();
        constexpr std::u16string_view Version = u"Microsoft\\Windows NT\\CurrentVersion";
        Hive("WINDOWS/system32/config/software",
             {{Version, u"CurrentVersion", u"5.1"},
              {Version, u"CurrentBuildNumber", u"2600"},
              {Version, u"ProductName", u"Microsoft Windows XP"},
              {Version, u"SystemRoot", u"C:\\WINDOWS"},
              {u"Microsoft\\Windows NT\\CurrentVersion\\ProfileList\\S-1-5-21-1-2-3-1003", u"ProfileImagePath",
               u"%SystemDrive%\\Documents and Settings\\Ada"},
              {u"Microsoft\\Windows\\CurrentVersion", u"ProgramFilesDir", u"C:\\Program Files"},
              {u"Example", u"Banner", u"on"},
              {u"Example", u"Kept", u"yes"}});
        std::filesystem::rename(Disk(), where);
    }
    void TestBody() override {}
};

class DiskClean : public CleanRun {
protected:
    DiskClean() {
        std::filesystem::remove_all(Machine());
        const PlantedDisk planted(Machine());
        Write("machine/WINDOWS/system32/tin.dll", "x");
        Write("machine/Documents and Settings/Ada/Desktop/pic.exe", Bad());
        Write("machine/Documents and Settings/Ada/Desktop/letter.txt", "hello");
        Tables tables;
        tables.threats = "1,Example.Path,Trojan,1\n2,Example.Value,Adware,2\n";
        tables.md5 = "1," + HashOf(Bad()) + ",0\n";
        tables.paths = "1,c:\\windows\\system32\\tin.dll,0\n";
        tables.extensions = ".exe\n.dll\n";
        tables.regkeys =
            "2,HKEY_LOCAL_MACHINE,Software\\Example,Banner,on,0\n2,HKEY_CURRENT_USER,Software\\Sample,Who,Ada,0\n";
        MakeTables(tables);
    }

    std::string Value(platform::Hive hive, const char* key, const char* name) const {
        offline::MachineOptions options;
        options.machine = Machine();
        offline::OfflinePlatform machine(options);
        const auto open = machine.View().registry->Open(hive, key);
        if (!open.Ok()) {
            return "none";
        }
        const auto value = open.Value()->Query(name, platform::Unlimited);
        return value.Ok()
                   ? Text(static_cast<std::int32_t>(value->type)) + " " + value->data.substr(0, value->data.find('\0'))
                   : "none";
    }
    std::vector<std::string> Values() const {
        return {Value(HiveLocalMachine, "Software\\Example", "Banner"),
                Value(HiveLocalMachine, "Software\\Example", "Kept"),
                Value(HiveCurrentUser, "Software\\Sample", "Who")};
    }
    /// Files with their bytes, without the hives: these are written anew, with other numbers in their heads.
    std::map<std::string, std::string> Files() const {
        auto files = Contents(Machine());
        for (const char* hive : {"WINDOWS/system32/config/software", "Documents and Settings/Ada/NTUSER.DAT"}) {
            EXPECT_EQ(files.erase(hive), 1U) << hive;
        }
        return files;
    }
};

TEST_F(DiskClean, FilesComeBackByteForByteAndValuesWithTypeAndData) {
    const auto files = Files();
    const auto values = Values();
    ASSERT_THAT(values, ElementsAre("1 on", "1 yes", "1 Ada"));
    const Outcome outcome = Clean();
    EXPECT_EQ(outcome.code, ExitThreats);
    EXPECT_EQ(outcome.err, "");
    for (const json& item : Objects(outcome, "clean_item")) {
        EXPECT_EQ(item.at("result"), "removed") << item;
    }
    EXPECT_THAT(Objects(outcome, "clean_item"), SizeIs(4));
    EXPECT_THAT(Values(), ElementsAre("none", "1 yes", "none"));
    EXPECT_EQ(Scan().code, ExitClean);

    std::vector<std::string> shown;
    const auto records = Records();
    EXPECT_THAT(records, SizeIs(2));
    for (const json& item : Objects(Quarantine({"show", "--format", "jsonl"}), "quarantined_item")) {
        shown.push_back(item.at("location"));
    }
    EXPECT_THAT(shown, UnorderedElementsAre("c:\\windows\\system32\\tin.dll",
                                            "C:\\Documents and Settings\\Ada\\Desktop\\pic.exe",
                                            "HKEY_LOCAL_MACHINE\\Software\\Example [Banner]",
                                            "HKEY_CURRENT_USER\\Software\\Sample [Who]"));
    for (const std::string& id : records) {
        const Outcome back = Quarantine({"restore", id});
        EXPECT_EQ(back.code, ExitClean) << back.out << back.err;
    }
    EXPECT_EQ(Files(), files);
    EXPECT_EQ(Values(), values);
    EXPECT_EQ(Scan().code, ExitThreats);
    EXPECT_THAT(Records(), IsEmpty());
}

TEST_F(DiskClean, ADryRunLeavesEveryByteOfTheHives) {
    Folder("user");
    const auto before = Snapshot(Machine());
    const Outcome outcome = Scan({"--quarantine", "--dry-run", "--format", "jsonl"});
    EXPECT_EQ(outcome.code, ExitThreats);
    std::vector<std::string> values;
    for (const json& write : Objects(outcome, "write")) {
        if (write.at("kind") == "value_removed") {
            values.push_back(write.at("target"));
        }
    }
    EXPECT_THAT(values, SizeIs(2));
    EXPECT_EQ(Snapshot(Machine()), before);
}

class BareFolderClean : public CleanRun {
protected:
    BareFolderClean() {
        std::filesystem::remove_all(Machine());
        MakeTables();
        Write("machine/My Music/song.exe", Bad());
        Write("machine/small/BAD.exe", "short");
        Write("machine/small/good.exe", "short");
    }
};

TEST_F(BareFolderClean, WithoutARegistryFilesGoAndComeBackByteForByte) {
    const auto before = Contents(Machine());
    const Outcome outcome = Clean();
    EXPECT_EQ(outcome.code, ExitThreats);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(Objects(outcome, "clean_summary").at(0).at("cleaned"), 2);
    EXPECT_EQ(Objects(outcome, "clean_summary").at(0).at("errors"), 0);
    EXPECT_EQ(Contents(Machine()).size(), before.size() - 2);
    EXPECT_EQ(Scan().code, ExitClean);
    const auto records = Records();
    EXPECT_THAT(records, SizeIs(2));
    const Outcome shown = Quarantine({"show", records.at(0)});
    EXPECT_THAT(shown.out, HasSubstr("  file      C:\\My Music\\song.exe\n"));
    for (const std::string& id : records) {
        const Outcome back = Quarantine({"restore", id});
        EXPECT_EQ(back.code, ExitClean) << back.out << back.err;
    }
    EXPECT_EQ(Contents(Machine()), before);
}

}  // namespace
}  // namespace kel::test
