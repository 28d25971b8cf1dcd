#include "child/ChildProcess.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <utility>

#include "child/CarriedPrograms.h"
#include "support/ScratchMachine.h"

namespace kel::test {

namespace {

constexpr DWORD Patience = 60000;
constexpr DWORD PatienceForTheEnd = 10000;
constexpr UINT EndedByTheTest = 99;

}  // namespace

struct ChildProcess::Impl {
    platform::Platform platform;
    std::string programPath;
    ChildOptions options;
    PROCESS_INFORMATION process{};
};

ChildProcess::ChildProcess(const platform::Platform& platform, std::string programPath, ChildOptions options)
    : impl_(std::make_unique<Impl>(Impl{platform, std::move(programPath), std::move(options), {}})) {
    static std::atomic<unsigned> serial{0};
    const std::string own = std::to_string(::GetCurrentProcessId());
    WriteFile(platform, impl_->programPath, ChildProgram());
    const std::string eventName = "KelTestChild-" + own + "-" + std::to_string(++serial);
    std::string command =
        "\"" + impl_->programPath + "\" run " + eventName + " " + own + " " + std::to_string(impl_->options.threads);
    if (!impl_->options.modulePath.empty()) {
        WriteFile(platform, impl_->options.modulePath, ChildModule());
        command += " \"" + impl_->options.modulePath + "\"";
    }
    const HANDLE ready = ::CreateEventA(nullptr, TRUE, FALSE, eventName.c_str());
    STARTUPINFOA startup{};
    startup.cb = sizeof(startup);
    const BOOL started = ::CreateProcessA(impl_->programPath.c_str(), command.data(), nullptr, nullptr, FALSE, 0,
                                          nullptr, nullptr, &startup, &impl_->process);
    EXPECT_NE(started, FALSE) << impl_->programPath << ": error " << ::GetLastError();
    if (started != FALSE) {
        const HANDLE either[] = {ready, impl_->process.hProcess};
        EXPECT_EQ(::WaitForMultipleObjects(2, either, FALSE, Patience), WAIT_OBJECT_0) << "the child did not get ready";
    }
    ::CloseHandle(ready);
}

ChildProcess::~ChildProcess() {
    if (impl_->process.hProcess != nullptr) {
        ::TerminateProcess(impl_->process.hProcess, EndedByTheTest);
        ::WaitForSingleObject(impl_->process.hProcess, PatienceForTheEnd);
        ::CloseHandle(impl_->process.hThread);
        ::CloseHandle(impl_->process.hProcess);
    }
    impl_->platform.files->Remove(impl_->programPath);
    if (!impl_->options.modulePath.empty()) {
        impl_->platform.files->Remove(impl_->options.modulePath);
    }
}

std::uint32_t ChildProcess::Id() const {
    return impl_->process.dwProcessId;
}

bool ChildProcess::Ended() const {
    return ::WaitForSingleObject(impl_->process.hProcess, PatienceForTheEnd) == WAIT_OBJECT_0;
}

std::uint32_t ChildProcess::ExitCode() const {
    DWORD code = 0;
    EXPECT_NE(::GetExitCodeProcess(impl_->process.hProcess, &code), FALSE);
    return code;
}

}  // namespace kel::test
