#include "programs/RunningProgram.h"

#include <gtest/gtest.h>
#include <windows.h>

namespace kel::test {

namespace {

constexpr DWORD Patience = 60000;

std::string Contents(HANDLE file) {
    std::string text(::GetFileSize(file, nullptr), '\0');
    DWORD read = 0;
    ::SetFilePointer(file, 0, nullptr, FILE_BEGIN);
    EXPECT_NE(::ReadFile(file, text.data(), static_cast<DWORD>(text.size()), &read, nullptr), FALSE);
    return text;
}

}  // namespace

ProgramEnd RunProgram(const std::string& program, const std::string& arguments, const std::string& scratch) {
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    const HANDLE file = ::CreateFileA(scratch.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                      &inherited, CREATE_ALWAYS, FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    EXPECT_NE(file, INVALID_HANDLE_VALUE) << scratch;
    std::string command = "\"" + program + "\" " + arguments;
    STARTUPINFOA startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = file;
    startup.hStdError = file;
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
    end.said = Contents(file);
    ::CloseHandle(file);
    return end;
}

}  // namespace kel::test
