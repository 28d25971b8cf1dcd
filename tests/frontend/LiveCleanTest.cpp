// Cleans of the machine that the program runs on.
#ifdef _WIN32

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include <fstream>
#include <optional>
#include <span>

#include "CapturedStream.h"
#include "cleaner/BootLists.h"
#include "frontend/CommandLine.h"
#include "frontend/ExitCodes.h"
#include "support/ScratchMachine.h"
#include "support/ShippedTables.h"
#include "system/Md5.h"

namespace kel::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class LiveClean : public testing::Test {
protected:
    LiveClean() {
        for (const char* name : {"data", "walk"}) {
            MakeFolder(machine.View(), machine.Folder() + name);
        }
        Md5 md5;
        md5.Update(std::as_bytes(std::span(bad)));
        ShippedTables tables;
        tables.threats = {{9001, "Example.Adware.One", "Adware", 2}};
        tables.md5 = {{9001, HexText(md5.Finish()), 0}};
        const platform::PlatformScope installed(machine.View());
        tables.WriteTo(machine.Folder() + "data\\");
        WriteFile(machine.View(), song, bad);
    }

    struct Outcome {
        int code = 0;
        std::string err;
        std::vector<nlohmann::json> objects;

        [[nodiscard]] std::vector<nlohmann::json> Of(const std::string& type) const {
            std::vector<nlohmann::json> some;
            for (const auto& object : objects) {
                if (object.at("type") == type) {
                    some.push_back(object);
                }
            }
            return some;
        }
    };
    Outcome Run(std::vector<std::string> arguments) const {
        const CapturedStream out;
        const CapturedStream err;
        arguments.insert(arguments.end(), {"--format", "jsonl", "--user-data", machine.Folder() + "user"});
        Outcome outcome;
        outcome.code = frontend::Run(arguments, {out.File(), err.File()});
        for (const std::string& line : out.Lines()) {
            outcome.objects.push_back(nlohmann::json::parse(line));
        }
        outcome.err = err.Text();
        return outcome;
    }
    Outcome Scan(const std::vector<std::string>& more) const {
        std::vector<std::string> arguments{"scan", "--data", machine.Folder() + "data", "--path",
                                           machine.Folder() + "walk"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return Run(arguments);
    }
    bool SongIsThere() { return machine.View().files->PathExists(song); }

    ScratchMachine machine;
    std::string bad = std::string(1500, 'c');
    std::string song = machine.Folder() + "walk\\song.exe";
};

TEST_F(LiveClean, AFileGoesIntoTheQuarantineAndComesBackByteForByte) {
    const Outcome clean = Scan({"--quarantine", "--yes"});
    EXPECT_EQ(clean.code, frontend::ExitThreats) << clean.err;
    EXPECT_FALSE(SongIsThere());
    ASSERT_THAT(clean.Of("clean"), SizeIs(1));
    EXPECT_EQ(clean.Of("clean")[0].at("result"), "cleaned");
    EXPECT_THAT(clean.Of("clean_start").at(0).at("not_available"), IsEmpty());
    EXPECT_EQ(Scan({}).code, frontend::ExitClean);

    const Outcome list = Run({"quarantine", "list"});
    ASSERT_THAT(list.Of("quarantined"), SizeIs(1));
    const std::string id = list.Of("quarantined")[0].at("quarantine");
    EXPECT_EQ(id, clean.Of("clean")[0].at("quarantine"));
    const Outcome dry = Run({"quarantine", "restore", id, "--dry-run"});
    EXPECT_EQ(dry.code, frontend::ExitClean);
    EXPECT_THAT(dry.Of("write"), testing::Not(IsEmpty()));
    EXPECT_FALSE(SongIsThere());
    const Outcome back = Run({"quarantine", "restore", id});
    EXPECT_EQ(back.code, frontend::ExitClean) << back.err;
    EXPECT_EQ(ReadFile(machine.View(), song), bad);
    EXPECT_THAT(Run({"quarantine", "list"}).objects, IsEmpty());
}

TEST_F(LiveClean, DestroyedIsGoneForGood) {
    const Outcome clean = Scan({"--destroy", "--yes"});
    EXPECT_EQ(clean.code, frontend::ExitThreats) << clean.err;
    EXPECT_EQ(clean.Of("clean").at(0).at("result"), "cleaned");
    EXPECT_FALSE(SongIsThere());
    EXPECT_THAT(Run({"quarantine", "list"}).objects, IsEmpty());
}

TEST_F(LiveClean, FromTheHistoryTheFileGoesToo) {
    const std::string scan = Scan({}).Of("start").at(0).at("scan");
    const Outcome clean = Run({"clean", "--data", machine.Folder() + "data", "--scan", scan, "--threat", "9001"});
    EXPECT_EQ(clean.code, frontend::ExitClean) << clean.err;
    EXPECT_EQ(clean.Of("clean").at(0).at("result"), "cleaned");
    EXPECT_FALSE(SongIsThere());
}

// A file that somebody holds is left to the next start. What is written for that on the machine goes again.
class LiveCleanOfAHeldFile : public LiveClean {
protected:
    LiveCleanOfAHeldFile() : pendingBefore_(Value(platform::HiveLocalMachine, SessionManager, Pending)) {}
    ~LiveCleanOfAHeldFile() override {
        platform::Registry& registry = *machine.View().registry;
        for (const std::string_view list : {boot::Destroy, boot::DelFolders, boot::DelFiles, boot::DelRegKeys,
                                            boot::DelRegValues, boot::Threats, boot::Product, Maker}) {
            registry.RemoveKey(platform::HiveCurrentUser, list);
        }
        if (auto once = registry.Open(platform::HiveCurrentUser, boot::RunOnce)) {
            (*once)->RemoveValue(boot::RunOnceValue);
        }
        if (auto key = registry.Open(platform::HiveLocalMachine, SessionManager)) {
            if (pendingBefore_) {
                (*key)->Set(Pending, platform::ValueType::MultiSz, *pendingBefore_);
            } else {
                (*key)->RemoveValue(Pending);
            }
        }
    }

    [[nodiscard]] std::optional<std::string> Value(platform::Hive hive, std::string_view key,
                                                   std::string_view name) const {
        const auto open = machine.View().registry->Open(hive, key);
        if (!open) {
            return std::nullopt;
        }
        const auto value = (*open)->Query(name);
        return value ? std::optional(value->data) : std::nullopt;
    }

private:
    static constexpr std::string_view Maker = R"(SOFTWARE\Kelvane Software)";
    static constexpr std::string_view SessionManager = R"(SYSTEM\CurrentControlSet\Control\Session Manager)";
    static constexpr std::string_view Pending = "PendingFileRenameOperations";

    std::optional<std::string> pendingBefore_;
};

TEST_F(LiveCleanOfAHeldFile, TheNextStartIsToldWhereTheUsersDataAre) {
    const auto named = [this] {
        return Value(platform::HiveCurrentUser, boot::Product, boot::UserDataValue).value_or("");
    };
    Outcome clean;
    {
        const std::ifstream held(song, std::ios::binary);
        ASSERT_TRUE(held.is_open());
        EXPECT_THAT(named(), testing::Not(HasSubstr(machine.Folder())));
        clean = Scan({"--quarantine", "--yes"});
    }
    EXPECT_EQ(clean.code, frontend::ExitIncomplete) << clean.err;
    ASSERT_THAT(clean.Of("clean"), SizeIs(1));
    EXPECT_EQ(clean.Of("clean")[0].at("result"), "partial");
    EXPECT_EQ(clean.Of("clean_item").at(0).at("result"), "left");
    EXPECT_EQ(clean.Of("clean_summary").at(0).at("next_start"), true);
    EXPECT_THAT(named(), testing::StartsWith(machine.Folder() + "user\\"));
    EXPECT_THAT(Value(platform::HiveCurrentUser, boot::RunOnce, boot::RunOnceValue).value_or(""),
                HasSubstr("kelASCleaner.exe"));
    EXPECT_TRUE(Value(platform::HiveCurrentUser, boot::DelFiles, song));
    EXPECT_TRUE(SongIsThere());
}

TEST_F(LiveCleanOfAHeldFile, ADryRunAndACleanThatLeavesNothingTellNoNextStart) {
    EXPECT_EQ(Scan({}).code, frontend::ExitThreats);
    {
        const std::ifstream held(song, std::ios::binary);
        ASSERT_TRUE(held.is_open());
        Scan({"--quarantine", "--dry-run"});
    }
    const Outcome clean = Scan({"--quarantine", "--yes"});
    EXPECT_EQ(clean.Of("clean_summary").at(0).at("next_start"), false);
    EXPECT_THAT(Value(platform::HiveCurrentUser, boot::Product, boot::UserDataValue).value_or(""),
                testing::Not(HasSubstr(machine.Folder())));
}

TEST_F(LiveClean, WithoutATerminalAndWithoutYesNothingBegins) {
    const Outcome clean = Scan({"--quarantine"});
    EXPECT_EQ(clean.code, frontend::ExitUsage);
    EXPECT_THAT(clean.err, HasSubstr("there is no terminal to ask on"));
    EXPECT_TRUE(SongIsThere());
}

}  // namespace
}  // namespace kel::test

#endif
