// The walk of a folder, without the hashing: what a file costs that matches nothing, and whether memory grows.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>

#include "catalogue/SignatureTable.h"
#include "core/EngineState.h"
#include "offline/OfflinePlatform.h"
#include "results/Scan.h"
#include "scanner/Scanner.h"
#include "scanner/modScannerFiles.h"
#include "system/FileHash.h"
#include "system/clsFolderPaths.h"

namespace {

using namespace kel;

constexpr std::int64_t FilesInAFolder = 500;

// A drive with a folder of small files by their number, for the life of the program.
class Drive {
public:
    Drive() : folder_(std::filesystem::temp_directory_path() / ("kel-walk-" + std::to_string(getpid()))) {
        std::filesystem::create_directories(folder_);
    }
    ~Drive() { std::filesystem::remove_all(folder_); }
    Drive(const Drive&) = delete;
    Drive& operator=(const Drive&) = delete;

    const std::filesystem::path& With(std::int64_t files) {
        const std::filesystem::path top = folder_ / std::to_string(files);
        for (std::int64_t i = 0; i < files && !std::filesystem::exists(top / "complete"); ++i) {
            const std::filesystem::path folder = top / std::to_string(i / FilesInAFolder);
            std::filesystem::create_directories(folder);
            std::ofstream(folder / ("program number " + std::to_string(i) + ".exe")) << i;
        }
        std::filesystem::create_directories(top / "complete");
        return folder_;
    }

private:
    std::filesystem::path folder_;
};

Drive& Files() {
    static Drive drive;
    return drive;
}

double ResidentKilobytes() {
    std::ifstream status("/proc/self/statm");
    double total = 0;
    double resident = 0;
    status >> total >> resident;
    return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1024;
}

void Walk(benchmark::State& run) {
    offline::MachineOptions options;
    options.drives = {{'C', Files().With(run.range(0))}};
    offline::OfflinePlatform machine(options);
    const platform::PlatformScope installed(machine.View());
    const EngineScope engine;
    State().FilePathDataTable = std::make_shared<SignatureTable>(KeyForm::Texts);
    State().FilePathDataTable->Add("c:\\nowhere\\bad.exe", {1, 0});
    State().MD5DataTable = std::make_shared<SignatureTable>(KeyForm::Digests);
    State().FileHashObject = std::make_shared<FileHash>("walk-bench-1");
    Scanner scanner;
    scanner.OptScanDepth = static_cast<enScanDepth>(run.range(1));
    scanner.SetOptMaxMD5Len(2500000);
    scanner.AddScanDriveAndPath("C:\\" + std::to_string(run.range(0)));
    clsFolderPaths folders;
    folders.LoadFolderPaths();
    modScannerFiles::TakeFolders(folders);
    double before = 0;
    for (auto _ : run) {
        const auto scan = std::make_shared<Scan>();
        scan->Callback = std::make_shared<ScannerCallback>();
        SetCurrentScan(scan);
        scanner.ScanDriveOrFolder();
        if (scan->ScannedFileCount != run.range(0)) {
            run.SkipWithError("not every file was walked");
        }
        before = before == 0 ? ResidentKilobytes() : before;
    }
    run.SetItemsProcessed(run.iterations() * run.range(0));
    run.counters["seconds/file"] = benchmark::Counter(static_cast<double>(run.iterations() * run.range(0)),
                                                      benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    run.counters["kB grown since first walk"] = ResidentKilobytes() - before;
}
BENCHMARK(Walk)
    ->ArgNames({"files", "depth"})
    ->Args({10000, scanshallow})
    ->Args({100000, scanshallow})
    ->Args({100000, scandeep})
    ->Unit(benchmark::kMillisecond)
    ->MinTime(2.0);

}  // namespace

BENCHMARK_MAIN();
