// What the decorators do to processes and services, over a machine of a few made ones.
#include <gmock/gmock.h>

#include "decorators/FaultInjectingPlatform.h"
#include "decorators/ForwardingSystem.h"
#include "decorators/ReadOnlyPlatform.h"
#include "support/FakeProcess.h"
#include "support/FakeServices.h"
#include "support/ScratchMachine.h"

namespace kel::test {
namespace {

using decorators::FaultInjectingPlatform;
using decorators::ReadOnlyPlatform;
using platform::Result;
using platform::SysError;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::uint32_t Guarded = 4;
constexpr std::uint32_t Plain = 8;

// Two processes; 4 may not be opened. Everything that ends is remembered.
class MadeProcesses : public decorators::ForwardingProcesses {
public:
    using ForwardingProcesses::ForwardingProcesses;
    std::vector<std::string> changes;

    Result<std::vector<platform::ProcessEntry>> Snapshot() override {
        return std::vector<platform::ProcessEntry>{{Guarded, 0, "guarded.exe"}, {Plain, Guarded, "plain.exe"}};
    }
    Result<std::vector<std::string>> SnapshotModules(std::uint32_t) override { return std::vector<std::string>{"a"}; }
    Result<std::vector<platform::ThreadEntry>> SnapshotThreads(std::uint32_t) override {
        return std::vector<platform::ThreadEntry>{{1, Plain}};
    }
    Result<std::vector<std::uint32_t>> Identifiers(std::uint32_t) override {
        return std::vector<std::uint32_t>{Guarded, Plain};
    }
    Result<std::vector<std::string>> ModulePaths(std::uint32_t, std::uint32_t, std::uint32_t) override {
        return std::vector<std::string>{"b"};
    }
    Result<std::string> FirstModulePath(std::uint32_t, std::uint32_t, std::uint32_t) override {
        return std::string("b");
    }
    SysError CanOpen(std::uint32_t processId, std::uint32_t) override {
        return processId == Guarded ? SysError::InvalidParameter : SysError::Success;
    }
    Result<std::unique_ptr<platform::Process>> Open(std::uint32_t processId, std::uint32_t) override {
        if (processId == Guarded) {
            return SysError::InvalidParameter;
        }
        return FakeProcess::Make([=, this](std::uint32_t) {
            changes.push_back("process " + std::to_string(processId));
            return SysError::Success;
        });
    }
    SysError EndThread(std::uint32_t threadId, std::uint32_t, std::uint32_t) override {
        changes.push_back("thread " + std::to_string(threadId));
        return SysError::Success;
    }
};

// The shell remembers what it starts.
class StartingShell : public decorators::ForwardingShell {
public:
    using ForwardingShell::ForwardingShell;
    std::vector<std::string> started;

    SysError Execute(std::string_view operation, std::string_view file, std::string_view parameters,
                     int show) override {
        started.push_back(std::string(operation) + " " + std::string(file) + " " + std::string(parameters) + " " +
                          std::to_string(show));
        return SysError::Success;
    }
};

class ProcessDecorators : public ::testing::Test {
protected:
    ProcessDecorators() {
        view_.processes = &processes_;
        view_.services = &services_;
        view_.shell = &shell_;
    }
    static SysError End(const platform::Platform& view, std::uint32_t processId) {
        const auto process = view.processes->Open(processId, 1025);
        return process ? (*process)->End(1) : process.Error();
    }
    static SysError Start(const platform::Platform& view) { return view.shell->Execute("open", "C:\\a.exe", "-1", 0); }
    static SysError Stop(const platform::Platform& view, std::string_view name) {
        const auto manager = view.services->OpenManager("", "ServicesActive", 0);
        if (!manager) {
            return manager.Error();
        }
        const auto service = (*manager)->Open(name, 0);
        return service ? (*service)->Control(1) : service.Error();
    }

    ScratchMachine machine_;
    platform::Platform view_ = machine_.View();
    MadeProcesses processes_{*view_.processes};
    FakeServices services_;
    StartingShell shell_{*view_.shell};
};

using FaultyProcesses = ProcessDecorators;

TEST_F(FaultyProcesses, WithoutFaultsEverythingIsPassedOn) {
    const FaultInjectingPlatform faults(view_);
    platform::Processes& processes = *faults.View().processes;
    EXPECT_EQ(processes.Snapshot()->size(), 2U);
    EXPECT_EQ(processes.SnapshotThreads(0)->size(), 1U);
    EXPECT_EQ(*processes.SnapshotModules(Plain), std::vector<std::string>{"a"});
    EXPECT_EQ(*processes.ModulePaths(Plain, 512, 512), std::vector<std::string>{"b"});
    EXPECT_EQ(*processes.Identifiers(512), (std::vector<std::uint32_t>{Guarded, Plain}));
    EXPECT_EQ(*processes.FirstModulePath(Plain, 2048, 512), "b");
    EXPECT_EQ(processes.CanOpen(Plain, 1040), SysError::Success);
    EXPECT_EQ(*(*processes.Open(Plain, 1025))->ExitCode(), FakeProcess::StillActive);
    EXPECT_EQ(End(faults.View(), Plain), SysError::Success);
    EXPECT_EQ(processes.EndThread(1, 1, 0), SysError::Success);
    EXPECT_EQ(Start(faults.View()), SysError::Success);
    EXPECT_EQ(Stop(faults.View(), "Spy"), SysError::Success);
    EXPECT_EQ(Stop(faults.View(), "absent"), SysError::ServiceDoesNotExist);
    EXPECT_THAT(processes_.changes, ElementsAre("process 8", "thread 1"));
    EXPECT_THAT(services_.controls, ElementsAre(1));
    EXPECT_THAT(shell_.started, ElementsAre("open C:\\a.exe -1 0"));
    EXPECT_EQ(faults.Writes(), 4U);
}

TEST_F(FaultyProcesses, ListsThatFailFailByEveryCall) {
    FaultInjectingPlatform faults(view_);
    faults.FailProcessLists(SysError::NotEnoughMemory);
    platform::Processes& processes = *faults.View().processes;
    EXPECT_EQ(processes.Snapshot().Error(), SysError::NotEnoughMemory);
    EXPECT_EQ(processes.SnapshotThreads(0).Error(), SysError::NotEnoughMemory);
    EXPECT_EQ(processes.SnapshotModules(Plain).Error(), SysError::NotEnoughMemory);
    EXPECT_EQ(processes.ModulePaths(Plain, 512, 512).Error(), SysError::NotEnoughMemory);
    EXPECT_EQ(processes.Identifiers(512).Error(), SysError::NotEnoughMemory);
    faults.Clear();
    EXPECT_TRUE(processes.Snapshot().Ok());
}

TEST_F(FaultyProcesses, AProtectedProcessIsNeitherOpenedNorReadNorEnded) {
    FaultInjectingPlatform faults(view_);
    faults.FailProcess(Plain, SysError::AccessDenied);
    platform::Processes& processes = *faults.View().processes;
    EXPECT_EQ(processes.CanOpen(Plain, 1040), SysError::AccessDenied);
    EXPECT_EQ(processes.FirstModulePath(Plain, 2048, 512).Error(), SysError::AccessDenied);
    EXPECT_EQ(processes.SnapshotModules(Plain).Error(), SysError::AccessDenied);
    EXPECT_EQ(processes.ModulePaths(Plain, 512, 512).Error(), SysError::AccessDenied);
    EXPECT_EQ(End(faults.View(), Plain), SysError::AccessDenied);
    EXPECT_EQ(faults.Writes(), 0U) << "what can't be opened is not ended";
    EXPECT_TRUE(processes.ModulePaths(Guarded, 512, 512).Ok());
    EXPECT_TRUE(processes.Snapshot().Ok());
    EXPECT_THAT(processes_.changes, IsEmpty());
}

TEST_F(FaultyProcesses, EndingAndControllingAreWritesThatCanFail) {
    FaultInjectingPlatform faults(view_);
    faults.FailWritesFrom(1, SysError::AccessDenied);
    EXPECT_EQ(End(faults.View(), Plain), SysError::AccessDenied);
    EXPECT_EQ(faults.View().processes->EndThread(1, 1, 0), SysError::AccessDenied);
    EXPECT_EQ(Stop(faults.View(), "Spy"), SysError::AccessDenied);
    EXPECT_EQ(Start(faults.View()), SysError::AccessDenied);
    EXPECT_EQ(faults.Writes(), 4U);
    EXPECT_THAT(shell_.started, IsEmpty());
    EXPECT_THAT(processes_.changes, IsEmpty());
    EXPECT_THAT(services_.controls, IsEmpty());
}

// Fetches nothing and remembers what for.
class HeardInternet : public platform::Internet {
public:
    std::vector<std::string> asked;
    SysError Download(std::string_view url, std::string_view path) override {
        asked.push_back(std::string(url) + " " + std::string(path));
        return SysError::Success;
    }
};

TEST_F(FaultyProcesses, ADownloadIsAWriteThatCanFail) {
    HeardInternet internet;
    view_.internet = &internet;
    FaultInjectingPlatform faults(view_);
    const platform::Platform view = faults.View();
    EXPECT_EQ(view.internet->Download("http://a", "C:\\a"), SysError::Success);
    EXPECT_EQ(faults.Writes(), 1U);
    faults.FailWrite(1, SysError::DiskFull);
    EXPECT_EQ(view.internet->Download("http://b", "C:\\b"), SysError::DiskFull);
    faults.Lock("C:\\c");
    EXPECT_EQ(view.internet->Download("http://c", "C:\\c"), SysError::SharingViolation);
    EXPECT_EQ(faults.Writes(), 2U);
    EXPECT_THAT(internet.asked, ElementsAre("http://a C:\\a"));
}

TEST_F(FaultyProcesses, TheServiceControlManagerCanBeAway) {
    FaultInjectingPlatform faults(view_);
    faults.FailServices(SysError::CallNotImplemented);
    EXPECT_EQ(Stop(faults.View(), "Spy"), SysError::CallNotImplemented);
}

using ReadOnlyProcesses = ProcessDecorators;

TEST_F(ReadOnlyProcesses, ListAndEndNothing) {
    const ReadOnlyPlatform readOnly(view_);
    platform::Processes& processes = *readOnly.View().processes;
    EXPECT_EQ(processes.Snapshot()->size(), 2U);
    EXPECT_EQ(*processes.ModulePaths(Plain, 512, 512), std::vector<std::string>{"b"});
    EXPECT_EQ(*(*processes.Open(Plain, 1025))->ExitCode(), FakeProcess::StillActive);
    EXPECT_EQ(End(readOnly.View(), Plain), SysError::AccessDenied);
    EXPECT_EQ(End(readOnly.View(), Guarded), SysError::InvalidParameter) << "it fails for a reason of its own";
    EXPECT_EQ(processes.EndThread(1, 1, 0), SysError::AccessDenied);
    EXPECT_THAT(processes_.changes, IsEmpty());
}

TEST_F(ReadOnlyProcesses, StartNoProgram) {
    const ReadOnlyPlatform readOnly(view_);
    EXPECT_EQ(Start(readOnly.View()), SysError::AccessDenied);
    EXPECT_THAT(shell_.started, IsEmpty());
}

TEST_F(ReadOnlyProcesses, OpenServicesAndControlNone) {
    const ReadOnlyPlatform readOnly(view_);
    EXPECT_EQ(Stop(readOnly.View(), "Spy"), SysError::AccessDenied);
    EXPECT_EQ(Stop(readOnly.View(), "absent"), SysError::ServiceDoesNotExist);
    EXPECT_EQ(readOnly.View().services->OpenManager("PC", "", 0).Error(), SysError::AccessDenied);
    EXPECT_THAT(services_.controls, IsEmpty());
}

TEST_F(ProcessDecorators, AForwardingPartPassesServicesOn) {
    decorators::ForwardingServices services(services_);
    platform::Platform view = view_;
    view.services = &services;
    EXPECT_EQ(Stop(view, "Spy"), SysError::Success);
    EXPECT_THAT(services_.controls, ElementsAre(1));
}

}  // namespace
}  // namespace kel::test
