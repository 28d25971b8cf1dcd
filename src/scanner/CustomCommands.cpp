// Programs that start in place of others: at the next start of the machine, or with a kind of file.
#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

#include "core/Failures.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Registry.h"
#include "results/modIgnoredThreats.h"
#include "scanner/CustomRules.h"
#include "scanner/Scanner.h"
#include "scanner/modScannerFiles.h"
#include "system/modFiles.h"
#include "system/modFolderPaths.h"
#include "system/modRegistry.h"

namespace kel::modScannerCustom {

namespace {

using platform::Hive;
using platform::HiveClassesRoot;
using platform::HiveLocalMachine;

constexpr std::string_view Module = "modScannerCustom";
constexpr std::string_view LineEnd = "\r\n";

// What starts a program with its own arguments and nothing else.
constexpr std::string_view PlainCommand = R"("%1" %*)";

// A command begins with its quoted program only if the quote stands among the first characters.
constexpr std::size_t LastQuotePlace = 3;

struct Command {
    Hive hive;
    std::string_view key;
    std::string_view type;
};
constexpr Command Commands[] = {
    {HiveClassesRoot, R"(exefile\shell\open\command)", "exefile"},
    {HiveLocalMachine, R"(SOFTWARE\Classes\exefile\shell\runas\command)", "exefile"},
    {HiveLocalMachine, R"(Software\CLASSES\exefile\shell\open\command)", "exefile"},
    {HiveClassesRoot, R"(txtfile\shell\open\command)", "txtfile"},
    {HiveLocalMachine, TextFileCommand, "txtfile"},
    {HiveClassesRoot, R"(batfile\shell\open\command)", "batfile"},
    {HiveLocalMachine, R"(Software\CLASSES\batfile\shell\open\command)", "batfile"},
    {HiveLocalMachine, R"(Software\CLASSES\batfile\shell\runas\command)", "batfile"},
    {HiveClassesRoot, R"(comfile\shell\open\command)", "comfile"},
    {HiveLocalMachine, R"(Software\CLASSES\comfile\shell\open\command)", "comfile"},
    {HiveClassesRoot, R"(htafile\Shell\Open\Command)", "htafile"},
    {HiveClassesRoot, R"(piffile\shell\open\command)", "piffile"},
    {HiveLocalMachine, R"(Software\CLASSES\htafile\Shell\Open\Command)", "htafile"},
    {HiveLocalMachine, R"(Software\CLASSES\piffile\shell\open\command)", "piffile"},
    {HiveClassesRoot, R"(mp3file\shell\open\command)", "mp3file"},
    {HiveClassesRoot, R"(mpegfile\shell\open\command)", "mpegfile"},
    {HiveClassesRoot, R"(mailto\shell\open\command)", "mailto"},
    {HiveClassesRoot, R"(htmlfile\shell\open\command)", "htmlfile"},
    {HiveClassesRoot, R"(http\shell\open\command)", "http"},
    {HiveClassesRoot, R"(https\shell\open\command)", "https"},
    {HiveClassesRoot, R"(ftp\shell\open\command)", "ftp"},
};

// "left=right": the file `left` comes from `right`. What is tested is the source, what is recorded the file.
void TestRename(const Scanner& scanner, std::string_view line) {
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos || equals == 0) {
        return;
    }
    const std::string left(line.substr(0, equals));
    const std::string_view right = line.substr(equals + 1);
    if (right.empty() || !modFiles::FileExists(left)) {
        return;
    }
    const std::int32_t threat = modScannerFiles::IsFileThreat(right, {}, scanner.OptScanDepth);
    if (threat <= 0) {
        return;
    }
    AddFile(threat, left);
    ThreatLocationCustom location = CustomLocationOf(CustomWininit, "File " + left + " exists in startup in Win.ini");
    location.CustomData1 = left;
    AddCustom(ScanTypeFiles, threat, location);
}

// The program that a command in lower case starts; empty when none is recognised.
std::string_view ProgramOf(std::string_view command) {
    const std::size_t first = InStr(command, "\"");
    const std::size_t second = command.find('"', first) + 1;
    if (first > 0 && first <= LastQuotePlace && second > first) {
        return Mid(command, first + 1, second - first - 1);
    }
    if (const std::size_t argument = InStr(command, " %1"); argument > 0) {
        return Left(command, argument - 1);
    }
    constexpr std::string_view Extension = ".exe";
    if (const std::size_t extension = InStr(command, Extension); extension > 0) {
        return Left(command, extension + Extension.size() - 1);
    }
    return {};
}

void Helper_Custom_ShellOpenCommands(const Scanner& scanner, const Command& row) {
    Trap(Module, "Helper_Custom_ShellOpenCommands", [&] {
        const std::string command = LCase(ToText(modRegistry::GetRegistryValue(row.hive, row.key, {})));
        if (command.empty() || command == PlainCommand) {
            return;
        }
        std::string path = Replace(Replace(ProgramOf(command), "\"", ""), "'", "");
        path = modFolderPaths::TranslateEnvironmentVariablesPaths(path);
        if (!modFiles::FileExists(path)) {
            return;
        }
        const std::int32_t threat = modScannerFiles::IsFileThreat(path, {}, scanner.OptScanDepth);
        if (threat <= 0 || modIgnoredThreats::IsIgnoredThreatID(threat)) {
            return;
        }
        AddFile(threat, path);
        ThreatLocationCustom location = CustomLocationOf(
            CustomShellOpen, "File " + path + " exists in Shell Open Command for " + std::string(row.key));
        // The repair looks for the hive here and for the key in CustomData2, so it writes nothing: a pairing that
        // stays.
        location.CustomData1 = row.key;
        location.CustomData3 = LCase(row.type);
        AddCustom(ScanTypeFiles, threat, location);
    });
}

}  // namespace

void ScanWininitCustom(const Scanner& scanner) {
    ResumeNext([&] {
        const std::string text = modFiles::TextFileRead(modFolderPaths::GetWindowsFolder().append(WininitFile), true);
        for (std::size_t start = 0; start < text.size();) {
            const std::size_t end = std::min(text.find(LineEnd, start), text.size());
            const std::string_view line = Trim(std::string_view(text).substr(start, end - start));
            ResumeNext([&] { TestRename(scanner, line); });
            start = end + LineEnd.size();
        }
    });
}

void Custom_ShellOpenCommands(const Scanner& scanner) {
    Trap(Module, "Custom_ShellOpenCommands", [&] {
        for (const Command& row : Commands) {
            Helper_Custom_ShellOpenCommands(scanner, row);
        }
    });
}

}  // namespace kel::modScannerCustom
