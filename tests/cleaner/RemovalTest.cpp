#include "RemovalTest.h"

#include <memory>

#include "core/Recordset.h"
#include "core/Text.h"
#include "core/Value.h"
#include "system/FileHash.h"

namespace kel::test {

RemovalTest::RemovalTest() : stage_(Machine(), Key() + "\\Stage"), system_(*Machine().system) {
    for (const std::string& folder : {Windows(), System(), Things(), UserFolder() + "Quarantine\\", Quarantined()}) {
        if (!Exists(folder)) {
            MakeFolder(folder);
        }
    }
    stage_.Folders()[FolderWindows] = Windows().substr(0, Windows().size() - 1);
    stage_.Folders()[FolderSystem] = System().substr(0, System().size() - 1);
    system_.version = WindowsXp;
    Install(Staged());

    State().FileHashObject = std::make_shared<FileHash>("removal-test");
    OptMaxMD5Len() = 2'500'000;
    quarantine::OpenTables();
    Recordset& index = quarantine::Opened(quarantine::Threats);
    index.AddNew();
    index.Set("QThreatID", std::string(ThreatRow));
    index.Set("ThreatID", Threat);

    cleaner.SetEnableLog(true);
    cleaner.Callback = std::make_shared<CleanerCallback>();
    cleaner.Callback->Subscribe({.StartThreatClean = {},
                                 .FinishedThreatClean = {},
                                 .VerboseDetails =
                                     [this](std::string_view threat, std::string_view details) {
                                         EXPECT_EQ(threat, "Evil");
                                         sent.emplace_back(details);
                                     },
                                 .RequiresKillProcess = {}});
    CleanerPeer::SetThreatName(cleaner, "Evil");
    CleanerPeer::SetScanID(cleaner, "scan one");
}

RemovalTest::~RemovalTest() {
    Install(Machine());
}

platform::Platform RemovalTest::Staged() {
    platform::Platform view = stage_.View();
    view.system = &system_;
    view.can.live = true;
    return view;
}

std::string RemovalTest::AddThing(std::string_view name, std::string_view bytes) {
    const std::string path = Things() + std::string(name);
    for (std::size_t end = path.find('\\', Things().size()); end != std::string::npos; end = path.find('\\', end + 1)) {
        if (!Exists(path.substr(0, end))) {
            MakeFolder(path.substr(0, end));
        }
    }
    if (!path.ends_with('\\')) {
        WriteFile(path, bytes);
    }
    return path;
}

std::vector<std::vector<std::string>> RemovalTest::Rows(const quarantine::Table& table,
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

std::vector<std::string> RemovalTest::RecordedFiles() {
    std::vector<std::string> paths;
    for (const auto& row : Rows(quarantine::Files, {"OriginalFilePath"})) {
        paths.push_back(row[0]);
    }
    return paths;
}

std::string RemovalTest::QuarantinedBytes(std::size_t row) {
    return ReadFile(Quarantined() + Rows(quarantine::Files, {"QFileName"}).at(row).at(0));
}

std::string RemovalTest::Data(platform::Hive hive, std::string_view key, std::string_view name) {
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

bool RemovalTest::KeyExists(platform::Hive hive, std::string_view key) {
    return stage_.View().registry->Open(hive, key).Ok();
}

std::vector<std::string> RemovalTest::Log() {
    std::vector<std::string> lines;
    const std::string path = UserFolder() + "logs\\cleaner.log";
    if (!Exists(path)) {
        return lines;
    }
    const std::string text = ReadFile(path);
    std::size_t start = 0;
    for (std::size_t end = text.find("\r\n"); end != std::string::npos; end = text.find("\r\n", start)) {
        const std::string line = text.substr(start, end - start);
        const std::size_t behindDate = line.find("::");
        EXPECT_NE(behindDate, std::string::npos) << line;
        lines.push_back(line.substr(behindDate + 2));
        start = end + 2;
    }
    EXPECT_EQ(start, text.size()) << "cleaner.log ends in the middle of a line";
    return lines;
}

}  // namespace kel::test
