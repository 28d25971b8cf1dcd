#include "programs/RunningProgram.h"

#include <gtest/gtest.h>
#include <windows.h>

namespace kel::test {

namespace {

constexpr DWORD Patience = 60000;

// Enough for all that a program says, so that it never waits for its reader.
constexpr DWORD PipeSize = 65536;

// What is in the pipe. Its end is not waited for: what the program started may hold it for as long as it runs.
std::string Contents(HANDLE pipe) {
    DWORD there = 0;
    ::PeekNamedPipe(pipe, nullptr, 0, nullptr, &there, nullptr);
    std::string text(there, '\0');
    DWORD read = 0;
    if (there > 0) {
        EXPECT_NE(::ReadFile(pipe, text.data(), there, &read, nullptr), FALSE);
    }
    text.resize(read);
    return text;
}

}  // namespace

ProgramEnd RunProgram(const std::string& program, const std::string& arguments) {
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    HANDLE read = nullptr;
    HANDLE write = nullptr;
    EXPECT_NE(::CreatePipe(&read, &write, &inherited, PipeSize), FALSE);
    std::string command = "\"" + program + "\" " + arguments;
    STARTUPINFOA startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = write;
    startup.hStdError = write;
    PROCESS_INFORMATION process{};
    ProgramEnd end;
    if (::CreateProcessA(program.c_str(), command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                         &process) == FALSE) {
        ADD_FAILURE() << program << ": error " << ::GetLastError();
        return end;
    }
    EXPECT_EQ(::WaitForSingleObject(process.hProcess, Patience), WAIT_OBJECT_0) << "it goes on";
    ::GetExitCodeProcess(process.hProcess, &end.code);
    ::TerminateProcess(process.hProcess, 0);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    end.said = Contents(read);
    ::CloseHandle(read);
    ::CloseHandle(write);
    return end;
}

}  // namespace kel::test
