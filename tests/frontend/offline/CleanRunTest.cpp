// Scans that clean a Wine prefix, what the quarantine then shows, and the way back.
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include <sstream>

#include "PrefixRun.h"
#include "frontend/ExitCodes.h"

namespace kel::test {
namespace {

using frontend::ExitClean;
using frontend::ExitIncomplete;
using frontend::ExitNoInput;
using frontend::ExitThreats;
using frontend::ExitUsage;
using nlohmann::json;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class CleanRun : public PrefixRun {
protected:
    /// The objects of one type in a run with JSON lines.
    static std::vector<json> Objects(const Outcome& outcome, const std::string& type) {
        std::vector<json> objects;
        std::istringstream lines(outcome.out);
        for (std::string line; std::getline(lines, line);) {
            if (json object = json::parse(line); object.at("type") == type) {
                objects.push_back(std::move(object));
            }
        }
        return objects;
    }
    Outcome Quarantine(std::vector<std::string> words) const {
        words.insert(words.begin(), "quarantine");
        words.insert(words.end(), {"--machine", Machine().string(), "--user-data", UserData().string()});
        return Run(words);
    }
    Outcome Clean(const std::vector<std::string>& more = {}) const {
        std::vector<std::string> arguments{"--quarantine", "--yes", "--format", "jsonl"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return Scan(arguments);
    }
    std::vector<std::string> Records() const {
        std::vector<std::string> ids;
        for (const json& object : Objects(Quarantine({"list", "--format", "jsonl"}), "quarantined")) {
            ids.push_back(object.at("quarantine"));
        }
        return ids;
    }
};

TEST_F(CleanRun, AllThatWasDetectedGoesAndTheRestComesBackAsTheRulesHaveIt) {
    const auto before = Contents(Machine());
    const Outcome outcome = Clean();
    EXPECT_EQ(outcome.code, ExitThreats);
    EXPECT_EQ(outcome.err, "");
    std::vector<std::string> items;
    for (const json& item : Objects(outcome, "clean_item")) {
        items.push_back(item.at("location").get<std::string>() + " " + item.at("result").get<std::string>());
    }
    EXPECT_THAT(items, ElementsAre("C:\\users\\ada\\Desktop\\pic.exe removed", "C:\\windows\\system32\\TIN.DLL removed",
                                   "c:\\banners\\readme.txt removed", "c:\\banners\\ removed",
                                   "HKEY_LOCAL_MACHINE\\Software\\Example [Banner] removed",
                                   "c:\\users\\ada\\cookies\\ada@crumb.example[1].txt removed"));
    const json summary = Objects(outcome, "clean_summary").at(0);
    EXPECT_EQ(summary.at("cleaned"), 4);
    EXPECT_EQ(summary.at("removed"), 6);
    EXPECT_EQ(summary.at("left"), 0);
    EXPECT_EQ(Scan().code, ExitClean);

    for (const std::string& id : Records()) {
        EXPECT_EQ(Quarantine({"restore", id}).code, ExitClean);
    }
    EXPECT_THAT(Records(), IsEmpty());
    auto after = Contents(Machine());
    // The folder has the signature's spelling, the cookie its mark, and the value that was known by its name no data.
    EXPECT_EQ(after.at("drive_c/banners/readme.txt"), "x");
    EXPECT_EQ(after.at("drive_c/users/ada/Cookies/ada@crumb.example[1].txt"), "x6635\r\n");
    EXPECT_THAT(after.at("system.reg"), HasSubstr("\"Banner\"=hex(1):\n"));
    for (const char* path : {"drive_c/users/ada/Desktop/pic.exe", "drive_c/windows/system32/TIN.DLL", "user.reg"}) {
        EXPECT_EQ(after.at(path), before.at(path)) << path;
    }
    EXPECT_EQ(after.size(), before.size());
}

}  // namespace
}  // namespace kel::test
