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
    DWORD childId = 0;
    HANDLE child = nullptr;

    void FindChild() {
        for (const platform::ProcessEntry& entry : platform.processes->Snapshot().ValueOr({})) {
            if (entry.parentId == process.dwProcessId) {
                childId = entry.id;
                child = ::OpenProcess(SYNCHRONIZE | PROCESS_QUERY_INFORMATION | PROCESS_TERMINATE, FALSE, entry.id);
            }
        }
        EXPECT_NE(child, nullptr) << "the child of the child is not there";
    }
};

namespace {

bool HasEnded(HANDLE process, DWORD wait) {
    return ::WaitForSingleObject(process, wait) == WAIT_OBJECT_0;
}

std::uint32_t CodeOf(HANDLE process) {
    DWORD code = 0;
    EXPECT_NE(::GetExitCodeProcess(process, &code), FALSE);
    return code;
}

void EndAndClose(HANDLE process) {
    if (process != nullptr) {
        ::TerminateProcess(process, EndedByTheTest);
        ::WaitForSingleObject(process, PatienceForTheEnd);
        ::CloseHandle(process);
    }
}

}  // namespace

ChildProcess::ChildProcess(const platform::Platform& platform, std::string programPath, ChildOptions options)
    : impl_(std::make_unique<Impl>(Impl{platform, std::move(programPath), std::move(options)})) {
    static std::atomic<unsigned> serial{0};
    const std::string own = std::to_string(::GetCurrentProcessId());
    const std::string program = std::string(ChildProgram()) + impl_->options.tail;
    WriteFile(platform, impl_->programPath, program);
    const std::string eventName = "KelTestChild-" + own + "-" + std::to_string(++serial);
    std::string command =
        "\"" + impl_->programPath + "\" run " + eventName + " " + own + " " + std::to_string(impl_->options.threads);
    if (!impl_->options.modulePath.empty()) {
        WriteFile(platform, impl_->options.modulePath, ChildModule());
        command += " \"" + impl_->options.modulePath + "\"";
    }
    if (!impl_->options.childPath.empty()) {
        WriteFile(platform, impl_->options.childPath, program + "of the child");
        command += std::string(impl_->options.modulePath.empty() ? " -" : "") + " \"" + impl_->options.childPath + "\"";
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
    if (started != FALSE && !impl_->options.childPath.empty()) {
        impl_->FindChild();
    }
}

ChildProcess::~ChildProcess() {
    EndAndClose(impl_->child);
    EndAndClose(impl_->process.hProcess);
    if (impl_->process.hThread != nullptr) {
        ::CloseHandle(impl_->process.hThread);
    }
    impl_->platform.files->Remove(impl_->programPath);
    for (const std::string& path : {impl_->options.modulePath, impl_->options.childPath}) {
        if (!path.empty()) {
            impl_->platform.files->Remove(path);
        }
    }
}

std::uint32_t ChildProcess::Id() const {
    return impl_->process.dwProcessId;
}

bool ChildProcess::Ended() const {
    return HasEnded(impl_->process.hProcess, PatienceForTheEnd);
}

std::uint32_t ChildProcess::ExitCode() const {
    return CodeOf(impl_->process.hProcess);
}

bool ChildProcess::Runs() const {
    return !HasEnded(impl_->process.hProcess, 0);
}

std::uint32_t ChildProcess::ChildId() const {
    return impl_->childId;
}

bool ChildProcess::ChildEnded() const {
    return HasEnded(impl_->child, PatienceForTheEnd);
}

std::uint32_t ChildProcess::ChildExitCode() const {
    return CodeOf(impl_->child);
}

bool ChildProcess::ChildRuns() const {
    return !HasEnded(impl_->child, 0);
}

}  // namespace kel::test
