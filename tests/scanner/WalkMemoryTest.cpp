// A walk keeps nothing of the files that it has passed.
#ifndef _WIN32
#include <gtest/gtest.h>
#include <malloc.h>

#include "decorators/ForwardingFiles.h"
#include "results/Scan.h"
#include "scanner/Scanner.h"
#include "scanner/modScannerFiles.h"
#include "support/EngineTest.h"
#include "system/clsFolderPaths.h"

namespace kel::test {
namespace {

// A folder of many files that exist only in its enumeration.
class ManyFiles : public decorators::ForwardingFiles {
public:
    ManyFiles(platform::Files& inner, int count) : ForwardingFiles(inner), count_(count) {}

    platform::Result<std::unique_ptr<platform::Find>> FindFirst(std::string_view, platform::FindData& first) override {
        auto find = std::make_unique<Numbers>(count_);
        find->Next(first);
        return std::unique_ptr<platform::Find>(std::move(find));
    }
    platform::Result<std::uint64_t> Length(std::string_view) override { return std::uint64_t{10}; }

private:
    class Numbers : public platform::Find {
    public:
        explicit Numbers(int count) : left_(count) {}
        platform::SysError Next(platform::FindData& entry) override {
            if (left_ == 0) {
                return platform::SysError::NoMoreFiles;
            }
            entry.attributes = platform::AttributeArchive;
            entry.name = "a program with a rather long name " + std::to_string(left_--) + ".exe";
            entry.alternateName = "APROGR~1.EXE";
            return platform::SysError::Success;
        }

    private:
        int left_;
    };
    int count_;
};

class WalkMemory : public EngineTest {};

TEST_F(WalkMemory, AHundredThousandFilesLeaveNothingBehind) {
    constexpr int Count = 100000;
    platform::Platform machine = Machine();
    ManyFiles files(*machine.files, Count);
    machine.files = &files;
    Install(machine);
    const auto scan = std::make_shared<Scan>();
    scan->Callback = std::make_shared<ScannerCallback>();
    SetCurrentScan(scan);
    std::size_t used = 0;
    std::size_t growth = 0;
    ScannerEvents events;
    events.StartingLocation = [&](std::string_view, enScanType, std::int32_t count) {
        const std::size_t now = mallinfo2().uordblks;
        if (count == 1000) {
            used = now;
        } else if (count == Count) {
            growth = now > used ? now - used : 0;
        }
    };
    scan->Callback->Subscribe(std::move(events));
    clsFolderPaths folders;
    folders.LoadFolderPaths();
    modScannerFiles::TakeFolders(folders);
    Scanner scanner;
    scanner.OptScanDepth = scanshallow;
    scanner.AddScanDriveAndPath("C:\\many");
    EXPECT_TRUE(scanner.ScanDriveOrFolder());
    Install(Machine());
    EXPECT_EQ(scan->ScannedFileCount, Count);
    EXPECT_LT(growth, 4096U);
    EXPECT_TRUE(Reported().empty());
}

}  // namespace
}  // namespace kel::test
#endif
