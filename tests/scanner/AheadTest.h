// The fixture of tests that compare a scan that reads ahead with one that does not.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "CountingLoop.h"
#include "core/EngineState.h"
#include "decorators/ForwardingFiles.h"
#include "support/EnvironmentVariable.h"
#include "support/ScanTest.h"
#include "system/clsFolderPaths.h"

namespace kel::test {

/// Keeps count of the files that are opened, ahead and otherwise.
class CountedFiles : public decorators::ForwardingFiles {
public:
    using ForwardingFiles::ForwardingFiles;
    std::vector<std::string> ahead;   ///< names, in the order in which they were opened
    std::vector<std::string> opened;  ///< paths
    std::size_t bytesAhead = 0;
    std::size_t listed = 0;             ///< folders, ahead
    std::size_t asked = 0;              ///< of those ahead, the ones that the medium was told of
    std::chrono::microseconds slow{0};  ///< what each reading ahead takes longer
    std::optional<bool> inMemory;       ///< what the platform tells; nothing: it can't
    std::vector<std::string> folders;   ///< names of those that the medium was told of
    std::string locked;                 ///< the end of the names of those that others hold

    platform::Result<platform::FileStamp> Stamp(std::string_view path) override { return Inner().Stamp(path); }
    std::unique_ptr<platform::FolderAhead> Ahead(std::string_view folder) override {
        auto inner = Inner().Ahead(folder);
        ++listed;
        return inner ? std::make_unique<Folder>(std::move(inner), *this) : nullptr;
    }
    platform::Result<std::unique_ptr<platform::OpenFile>> Open(std::string_view path,
                                                               platform::OpenMode mode) override {
        opened.emplace_back(path);
        return IsLocked(path) ? platform::SysError::SharingViolation : Inner().Open(path, mode);
    }

private:
    [[nodiscard]] bool IsLocked(std::string_view name) const { return !locked.empty() && name.ends_with(locked); }

    class File : public platform::AheadFile {
    public:
        File(std::unique_ptr<platform::AheadFile> inner, CountedFiles& all) : inner_(std::move(inner)), all_(all) {
            stamp_ = inner_->Stamp();
        }
        bool Opened() override {
            const bool opened = inner_->Opened();
            stamp_ = inner_->Stamp();
            return opened;
        }
        bool IsAtRest() override { return inner_->IsAtRest(); }
        std::size_t Read(std::span<std::byte> into) override { return Counted(inner_->Read(into)); }
        bool BeginRead(std::span<std::byte> into) override { return inner_->BeginRead(into); }
        std::size_t EndRead() override { return Counted(inner_->EndRead()); }
        void WillBeRead() override {
            ++all_.asked;
            inner_->WillBeRead();
        }
        std::optional<bool> InMemory() override { return all_.inMemory; }

    private:
        std::size_t Counted(std::size_t got) {
            const auto until = std::chrono::steady_clock::now() + all_.slow;
            while (std::chrono::steady_clock::now() < until) {
            }
            all_.bytesAhead += got;
            return got;
        }

        std::unique_ptr<platform::AheadFile> inner_;
        CountedFiles& all_;
    };
    class Folder : public platform::FolderAhead {
    public:
        Folder(std::unique_ptr<platform::FolderAhead> inner, CountedFiles& all) : inner_(std::move(inner)), all_(all) {}
        [[nodiscard]] std::size_t Count() const override { return inner_->Count(); }
        [[nodiscard]] std::string_view Name(std::size_t index) const override { return inner_->Name(index); }
        Kind KindOf(std::size_t index) override { return inner_->KindOf(index); }
        std::unique_ptr<platform::AheadFile> Open(std::size_t index) override {
            return Counted(inner_->Name(index), inner_->Open(index));
        }
        std::unique_ptr<platform::AheadFile> OpenNamed(std::string_view name) override {
            return Counted(name, inner_->OpenNamed(name));
        }
        void WillBeEntered(std::size_t index) override {
            all_.folders.emplace_back(inner_->Name(index));
            inner_->WillBeEntered(index);
        }
        [[nodiscard]] std::size_t AtOnce() const override { return inner_->AtOnce(); }

    private:
        std::unique_ptr<platform::AheadFile> Counted(std::string_view name, std::unique_ptr<platform::AheadFile> file) {
            all_.ahead.emplace_back(name);
            return file && !all_.IsLocked(name) ? std::make_unique<File>(std::move(file), all_) : nullptr;
        }

        std::unique_ptr<platform::FolderAhead> inner_;
        CountedFiles& all_;
    };
};

/// All that a scan leaves.
struct Traces {
    std::vector<HeardStart> started;
    std::vector<HeardThreat> found;
    std::string records;
    std::string log;
    std::int32_t files = 0;
    int polls = 0;
    int yields = 0;
    friend bool operator==(const Traces&, const Traces&) = default;
};
inline void PrintTo(const Traces& traces, std::ostream* stream) {
    *stream << ::testing::PrintToString(traces.started) << ::testing::PrintToString(traces.found) << traces.records
            << traces.log << traces.files << " files, " << traces.polls << " polls, " << traces.yields << " yields";
}

class AheadTest : public ScanTest {
protected:
    AheadTest() : files(*Machine().files) {}
    void TearDown() override { Install(Machine()); }

    /// Works on a machine whose files are those of Machine().
    void InstallCounted(platform::Platform machine) {
        machine.files = &files;
        machine.loop = &loop;
        Install(machine);
    }
    /// What was written just now is not trusted to stay; a scan rarely comes so soon.
    static void Settle() {
        const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(60);
        while (std::chrono::steady_clock::now() < until) {
        }
    }
    /// What a run with the limit leaves, in megabytes or null for the default.
    Traces Run(const char* limit, const std::function<void()>& run, const char* kernel = nullptr) {
        const EnvironmentVariable megabytes("KEL_READ_AHEAD", limit);
        const EnvironmentVariable forced("KEL_MD5", kernel);
        const std::size_t before = Reported().size();
        started.clear();
        found.clear();
        polls = 0;
        files.ahead.clear();
        files.opened.clear();
        files.bytesAhead = 0;
        files.folders.clear();
        files.asked = 0;
        loop.turns = 0;
        scanner.ResetScan();
        ScanAbortFlag() = false;
        const auto scan = BareScan();
        scan->FolderPaths = std::make_shared<clsFolderPaths>();
        run();
        std::string log;
        for (std::size_t at = before; at < Reported().size(); ++at) {
            const FailureRecord& line = Reported()[at];
            log += line.module + "." + line.procedure + " " + line.number + " " + line.description + "\n";
        }
        return {started, found, scan->ScanResultsFull(), log, scan->ScannedFileCount, polls, loop.turns};
    }

    CountedFiles files;
    CountingLoop loop;
};

}  // namespace kel::test
