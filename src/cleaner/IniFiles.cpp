// The two ini files that start programs, and the command that opens programs.
#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "cleaner/CutLinks.h"
#include "cleaner/Unhooking.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Platform.h"
#include "quarantine/QThreatLocationSpecial.h"
#include "rules/WholeFile.h"
#include "rules/modCleanerHelper.h"
#include "system/modFiles.h"
#include "system/modFolderPaths.h"
#include "system/modRegistry.h"

namespace kel::modCleanerHelper {

namespace {

constexpr std::int32_t RegSz = 1;

struct IniFile {
    std::string (*path)();
    enQSpecialType type;
};

constexpr IniFile IniFiles[] = {
    {modFolderPaths::GetWinIniFile, QSpecialTypeWinIniLine},
    {modFolderPaths::GetSystemIniFile, QSpecialTypeSystemIniLine},
};

struct OpenCommand {
    platform::Hive hive;
    std::string_view key;
    std::string_view log;
};

constexpr OpenCommand OpenCommands[] = {
    {platform::HiveClassesRoot, R"(exefile\shell\open\command)",
     R"(Reset HKEY_CLASSES_ROOT\exefile\shell\open\command)"},
    {platform::HiveLocalMachine, R"(Software\CLASSES\exefile\shell\open\command)",
     R"(Reset HKEY_LOCAL_MACHINE\exefile\shell\open\command)"},
};

constexpr std::string_view PlainCommand = R"("%1" %*)";

std::string FromFile(std::string_view bytes) {
    return platform::Current().text->FromAnsi(bytes);
}

struct SplitLines {
    std::string kept;
    std::optional<std::string> removed;  ///< the last one
};

SplitLines Split(std::string_view bytes, std::string_view text) {
    SplitLines split;
    while (!bytes.empty()) {
        const std::size_t end = std::min(bytes.find_first_of("\r\n"), bytes.size());
        const std::string_view line = bytes.substr(0, end);
        if (std::string shown = FromFile(line); ContainsText(shown, text)) {
            split.removed = std::move(shown);
        } else {
            split.kept.append(line).append("\r\n");
        }
        const std::size_t lineEnd = bytes.substr(end).starts_with("\r\n") ? 2 : 1;
        bytes.remove_prefix(std::min(end + lineEnd, bytes.size()));
    }
    return split;
}

std::shared_ptr<QThreatLocationSpecial> WithoutLines(const IniFile& ini, std::string_view text) {
    const std::string path = ini.path();
    if (path.empty()) {
        return nullptr;
    }
    SplitLines split = Split(whole::ContentsOf(path), text);
    if (!split.removed) {
        return nullptr;
    }
    modFiles::FileClearAttributes(path);
    whole::Overwrite(path, split.kept);
    auto record = std::make_shared<QThreatLocationSpecial>();
    record->QSpecialType = ini.type;
    record->Data1 = *std::move(split.removed);
    CleanerLog("Removed entry " + record->Data1 + " from " + path);
    return record;
}

links::KeyRecord Reset(const OpenCommand& command, std::string_view path) {
    if (!ContainsText(ToText(modRegistry::GetRegistryValue(command.hive, command.key, "")), path)) {
        return nullptr;
    }
    links::KeyRecord record = links::RecordOf(command.hive, command.key, "");
    modRegistry::SetRegistryValue(command.hive, command.key, "", std::string(PlainCommand), RegSz);
    CleanerLog(command.log);
    return record;
}

}  // namespace

QuarantineRecords QuarantineSpecialFileExeParts(std::string_view path) {
    QuarantineRecords records;
    Trap("modCleanerHelper", "QuarantineSpecialFileExeParts", [&] {
        // Every line contains an empty text.
        if (path.empty()) {
            return;
        }
        for (const IniFile& ini : IniFiles) {
            if (auto record = WithoutLines(ini, path)) {
                records.Add(std::move(record));
            }
        }
        if (GetThreatFileType(path) != ThreatFileTypeExe) {
            return;
        }
        for (const OpenCommand& command : OpenCommands) {
            if (links::KeyRecord record = Reset(command, path)) {
                records.Add(std::move(record));
            }
        }
    });
    return records;
}

}  // namespace kel::modCleanerHelper
