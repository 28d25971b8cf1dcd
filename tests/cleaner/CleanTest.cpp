#include "CleanTest.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <string_view>

#include "GoldenTexts.h"
#include "catalogue/ThreatLite.h"
#include "core/Recordset.h"
#include "core/Text.h"
#include "core/Value.h"
#include "quarantine/QuarantineTables.h"
#include "scanner/EngineData.h"

namespace kel::test {

platform::Result<std::int32_t> StagedServices::Create(std::string_view description, std::int32_t type,
                                                      std::int32_t event) {
    points.push_back(std::string(description) + "|" + Text(type) + "|" + Text(event));
    return answer;
}

platform::SysError StagedServices::Download(std::string_view url, std::string_view path) {
    downloads.push_back(std::string(url) + "|" + std::string(path));
    if (page.empty()) {
        return platform::SysError::GeneralFailure;
    }
    test::WriteFile(platform::Current(), path, page);
    return platform::SysError::Success;
}

CleanTest::CleanTest() : stage_(Machine(), Key() + "\\Stage"), system_(*Machine().system) {
    for (const std::string& folder : {Windows(), System(), Things()}) {
        MakeFolder(folder);
    }
    stage_.Folders()[FolderWindows] = Windows().substr(0, Windows().size() - 1);
    stage_.Folders()[FolderSystem] = System().substr(0, System().size() - 1);
    system_.version = WindowsXp;
    Install(Staged());
    scan->ScanID = ScanID;
}

CleanTest::~CleanTest() {
    cleaner.reset();
    Install(Machine());
}

platform::Platform CleanTest::Staged() {
    platform::Platform view = stage_.View();
    view.system = &system_;
    view.internet = &services;
    view.restorePoints = &services;
    view.can.live = true;
    return view;
}

void CleanTest::Begin(std::string_view scanID) {
    tables.WriteTo(AppFolder());
    State().UserDataFolderIsSet = true;
    modMain::LoadEngineData();
    ASSERT_THAT(Reported(), ::testing::SizeIs(0));
    cleaner = std::make_shared<Cleaner>();
    cleaner->SetEnableLog(true);
    InitializeClean(scanID);
}

void CleanTest::InitializeClean(std::string_view scanID) {
    // What was arranged is on the medium: a clean begins by forgetting what is not.
    ASSERT_EQ(Machine().registry->Commit(), platform::SysError::Success);
    ASSERT_EQ(cleaner->InitializeClean(scanID, scan->DetectedThreats()), errNone);
    ASSERT_NE(cleaner->Callback, nullptr);
    CleanerEvents events;
    events.StartThreatClean = [this](std::string_view threat) { heard.push_back("start " + std::string(threat)); };
    events.FinishedThreatClean = [this](std::string_view threat) { heard.push_back("finish " + std::string(threat)); };
    events.VerboseDetails = [this](std::string_view threat, std::string_view details) {
        heard.push_back(std::string(threat) + ": " + std::string(details));
    };
    events.RequiresKillProcess = [this](std::string_view threat, std::string_view path) {
        heard.push_back("kill " + std::string(threat) + ": " + std::string(path));
    };
    cleaner->Callback->Subscribe(std::move(events));
}

DetectedThreat& CleanTest::Detected(std::int32_t threat) {
    const std::string key = "ThreatID:" + Text(threat);
    if (!scan->DetectedThreats()->Contains(key)) {
        const auto detected = std::make_shared<DetectedThreat>();
        detected->ThreatID = threat;
        detected->ScanID = scan->ScanID;
        detected->Threat = std::make_shared<ThreatLite>();
        for (const ThreatRow& row : tables.threats) {
            if (row.id == threat) {
                detected->Threat->ThreatName = row.name;
                detected->Threat->Category = row.category;
                detected->Threat->ThreatLevel = row.level;
            }
        }
        scan->DetectedThreats()->Add(detected, key);
    }
    return *scan->DetectedThreats()->Item(key);
}

void CleanTest::DetectFile(std::int32_t threat, const std::string& path) {
    Detected(threat).ThreatLocationFiles->Add(std::make_shared<ThreatLocationFile>(path));
}

void CleanTest::DetectFolder(std::int32_t threat, const std::string& path) {
    Detected(threat).ThreatLocationFolders->Add(std::make_shared<ThreatLocationFolder>(path));
}

void CleanTest::DetectRegKey(std::int32_t threat, platform::Hive hive, std::string_view key, std::string_view name,
                             std::string_view data) {
    Detected(threat).ThreatLocationRegKeys->Add(std::make_shared<ThreatLocationRegKey>(hive, key, name, data));
}

void CleanTest::DetectCookie(std::int32_t threat, std::string_view cookie, const std::string& path) {
    const auto location = std::make_shared<ThreatLocationCookie>();
    location->Cookie = cookie;
    location->DetectedFilePath = path;
    Detected(threat).ThreatLocationCookies->Add(location);
}

void CleanTest::DetectCustom(std::int32_t threat, std::int32_t id, enCustomCleanPriority priority,
                             std::string_view display) {
    const auto location = std::make_shared<ThreatLocationCustom>(id);
    location->CleanPriority = priority;
    location->DisplayData = display;
    Detected(threat).ThreatLocationCustoms->Add(location);
}

std::string CleanTest::AddThing(std::string_view name, std::string_view bytes) {
    const std::string path = Things() + std::string(name);
    for (std::size_t end = path.find('\\', Things().size()); end != std::string::npos; end = path.find('\\', end + 1)) {
        if (!Exists(path.substr(0, end))) {
            MakeFolder(path.substr(0, end));
        }
    }
    WriteFile(path, bytes);
    return path;
}

std::vector<std::string> CleanTest::DetectEveryKind(std::int32_t threat) {
    using platform::HiveCurrentUser;
    using platform::HiveLocalMachine;
    const std::string sys = AddThing("driver.sys");
    const std::string exe = AddThing("program.exe");
    const std::string dll = AddThing("library.dll");
    const std::string ocx = AddThing("control.ocx");
    const std::string upperOcx = AddThing("OTHER.OCX");
    const std::string text = AddThing("readme.txt");
    const std::string cookie = AddThing("user@evil[1].txt", "cookie");
    AddThing("folder\\inside.txt", "inside");
    // Found in another order than the one in which they go.
    for (const std::string& path : {text, ocx, dll, upperOcx, exe, sys, Things() + "gone.exe", std::string()}) {
        DetectFile(threat, path);
    }
    DetectFolder(threat, Things() + "folder\\");
    DetectFolder(threat, Things() + "missing\\");
    Stage().AddText(HiveLocalMachine, "Software\\Evil", "Path", "data");
    Stage().AddText(HiveCurrentUser, "Software\\Other", "Name", "here");
    DetectRegKey(threat, HiveCurrentUser, "Software\\Other", "Name", "here");
    DetectRegKey(threat, HiveLocalMachine, "Software\\Evil");
    DetectRegKey(threat, 0, "Software\\Nowhere");
    DetectRegKey(threat, HiveLocalMachine, "");
    DetectCookie(threat, "evil", cookie);
    DetectCustom(threat, 4711, CustomCleanPriorityPost, "a later one");
    DetectCustom(threat, 4712, CustomCleanPriorityPre, "an earlier one");
    return {sys, exe, dll, ocx, upperOcx, text, cookie, Things() + "folder"};
}

std::string CleanTest::Data(platform::Hive hive, std::string_view key, std::string_view name) {
    auto open = stage_.View().registry->Open(hive, key);
    if (!open) {
        return "absent";
    }
    auto value = (*open)->Query(name);
    if (!value) {
        return "absent";
    }
    while (value->data.ends_with('\0')) {
        value->data.pop_back();
    }
    return value->data;
}

bool CleanTest::KeyExists(platform::Hive hive, std::string_view key) {
    return stage_.View().registry->Open(hive, key).Ok();
}

std::vector<std::string> CleanTest::Log() {
    std::vector<std::string> lines;
    const std::string path = UserFolder() + "logs\\cleaner.log";
    if (!Exists(path)) {
        return lines;
    }
    std::string_view rest;
    const std::string text = ReadFile(path);
    for (rest = text; !rest.empty();) {
        const std::size_t end = rest.find("\r\n");
        const std::size_t behindDate = rest.find("::");
        EXPECT_LT(behindDate, end) << rest;
        if (end == std::string_view::npos || behindDate >= end) {
            break;
        }
        lines.emplace_back(rest.substr(behindDate + 2, end - behindDate - 2));
        rest.remove_prefix(end + 2);
    }
    return lines;
}

std::vector<std::vector<std::string>> CleanTest::Rows(const quarantine::Table& table,
                                                      const std::vector<std::string_view>& columns) {
    Recordset& rows = quarantine::Opened(table);
    std::vector<std::vector<std::string>> texts;
    for (rows.SetFilter(""); !rows.Eof(); rows.MoveNext()) {
        auto& row = texts.emplace_back();
        for (const std::string_view column : columns) {
            const Value value = rows.Get(column);
            row.push_back(IsNull(value) ? "null" : ToText(value));
        }
    }
    return texts;
}

namespace {

constexpr std::string_view IdentifierForm = "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXX";

// An identifier of the quarantine at the start of the text.
bool BeginsWithIdentifier(std::string_view text) {
    return text.size() >= IdentifierForm.size() &&
           std::equal(IdentifierForm.begin(), IdentifierForm.end(), text.begin(), [](char wanted, char c) {
               return wanted == '-' ? c == '-' : (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F');
           });
}

std::string WithoutIdentifiers(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const bool identifier = BeginsWithIdentifier(text);
        result.append(identifier ? "{id}" : text.substr(0, 1));
        text.remove_prefix(identifier ? IdentifierForm.size() : std::size_t{1});
    }
    return result;
}

}  // namespace

std::string CleanTest::Plain(const std::vector<std::string>& lines) const {
    std::string text;
    for (const std::string& line : lines) {
        text.append(ReplaceText(line, Folder(), "{scratch}\\")).append("\n");
    }
    text = Replace(text, ScanID, "{scan}");
    return WithoutIdentifiers(text);
}

void CleanTest::ExpectGolden(const char* name, const std::vector<std::string>& lines) const {
    const std::string text = Plain(lines);
    if (const char* folder = std::getenv("KEL_UPDATE_GOLDEN")) {
        std::ofstream(std::string(folder) + "/" + name + ".txt", std::ios::binary) << text;
    }
    EXPECT_EQ(text, GoldenText(name));
}

}  // namespace kel::test
