// kelThreatEngine.exe. A program without a console: the system starts it for clients.
#include <string>
#include <vector>

#include "automation/Com.h"
#include "server/CommandLine.h"
#include "server/Registration.h"
#include "server/Server.h"
#include "windows/Win32.h"

#include <shellapi.h>

namespace kel::automation {

namespace {

enum ExitCode : int { Done = 0, Failed = 1, NotUnderstood = 2 };

// Where people see it: the output that was given, or the console that the program was started from.
void Say(const std::string& text) {
    const std::string line = text + "\r\n";
    DWORD written = 0;
    HANDLE output = ::GetStdHandle(STD_OUTPUT_HANDLE);
    if (output != nullptr && output != INVALID_HANDLE_VALUE &&
        ::WriteFile(output, line.data(), static_cast<DWORD>(line.size()), &written, nullptr) != FALSE) {
        return;
    }
    constexpr DWORD parent = static_cast<DWORD>(-1);
    using AttachConsole = BOOL(WINAPI*)(DWORD process);
    const auto attach = windows::Import<AttachConsole>("kernel32.dll", "AttachConsole");
    if (attach == nullptr || attach(parent) == FALSE) {
        return;
    }
    const windows::FileHandle console(::CreateFileA("CONOUT$", GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                                    nullptr, OPEN_EXISTING, 0, nullptr));
    if (console) {
        ::WriteFile(console.Get(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
    }
}

std::vector<std::string> Arguments() {
    std::vector<std::string> arguments;
    int count = 0;
    wchar_t** const words = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    for (int place = 1; place < count; ++place) {
        arguments.push_back(windows::Narrow(words[place]));
    }
    ::LocalFree(words);
    return arguments;
}

int Register(const CommandLine& line) {
    const bool adds = line.task == Task::Register;
    const RegistrationOutcome outcome = adds ? RegisterServer(line.perUser) : UnregisterServer(line.perUser);
    const std::string scope = line.perUser ? "the current user" : "the machine";
    if (!outcome.done) {
        Say("kelThreatEngine: it can't be " + std::string(adds ? "registered" : "unregistered") + " for " + scope +
            ". " + outcome.failure);
        return Failed;
    }
    Say("kelThreatEngine: " + std::string(adds ? "registered" : "no longer registered") + " for " + scope);
    return Done;
}

int Run(const CommandLine& line) {
    if (!line.unknown.empty()) {
        Say("kelThreatEngine: not understood: " + line.unknown + "\r\n\r\n" + std::string(Usage));
        return NotUnderstood;
    }
    switch (line.task) {
        case Task::Register:
        case Task::Unregister:
            return Register(line);
        case Task::Help:
            Say(std::string(Usage));
            return Done;
        case Task::Serve:
            break;
    }
    return Serve(line.embedding);
}

}  // namespace

}  // namespace kel::automation

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
    using namespace kel::automation;
    try {
        return Run(ParseCommandLine(Arguments()));
    } catch (const std::exception& error) {
        Say(std::string("kelThreatEngine: ") + error.what());
        return Failed;
    }
}
