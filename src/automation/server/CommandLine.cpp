#include "server/CommandLine.h"

#include <array>

#include "core/Text.h"

namespace kel::automation {

namespace {

struct Switch {
    std::string_view name;
    void (*apply)(CommandLine&);
};

constexpr std::array Switches{
    Switch{"regserver", [](CommandLine& line) { line.task = Task::Register; }},
    Switch{"unregserver", [](CommandLine& line) { line.task = Task::Unregister; }},
    Switch{"peruser", [](CommandLine& line) { line.perUser = true; }},
    Switch{"embedding", [](CommandLine& line) { line.embedding = true; }},
    Switch{"automation", [](CommandLine& line) { line.embedding = true; }},
    Switch{"?", [](CommandLine& line) { line.task = Task::Help; }},
    Switch{"help", [](CommandLine& line) { line.task = Task::Help; }},
};

bool Apply(CommandLine& line, std::string_view argument) {
    if (argument.empty() || (argument.front() != '/' && argument.front() != '-')) {
        return false;
    }
    for (const Switch& known : Switches) {
        if (EqualText(argument.substr(1), known.name)) {
            known.apply(line);
            return true;
        }
    }
    return false;
}

}  // namespace

const std::string_view Usage =
    "kelThreatEngine: the scanning and cleaning engine, as an automation server.\r\n"
    "\r\n"
    "  kelThreatEngine.exe /RegServer [/PerUser]    registers it for the machine or for the current user\r\n"
    "  kelThreatEngine.exe /UnregServer [/PerUser]  takes the registration away\r\n"
    "  kelThreatEngine.exe                          starts it; clients start it by themselves\r\n"
    "\r\n"
    "Exit codes: 0 done, 1 failed, 2 the command line is not understood.\r\n";

CommandLine ParseCommandLine(const std::vector<std::string>& arguments) {
    CommandLine line;
    for (const std::string& argument : arguments) {
        if (!Apply(line, argument) && line.unknown.empty()) {
            line.unknown = argument;
        }
    }
    if (line.perUser && line.task == Task::Serve && line.unknown.empty()) {
        line.unknown = "/PerUser without /RegServer or /UnregServer";
    }
    return line;
}

}  // namespace kel::automation
