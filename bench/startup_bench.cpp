// The startup entries of a machine, tested by their hash with reading ahead (1) and without (0).
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "catalogue/SignatureTable.h"
#include "core/EngineState.h"
#include "offline/OfflinePlatform.h"
#include "results/Scan.h"
#include "scanner/Scanner.h"
#include "system/FileHash.h"
#include "system/clsFolderPaths.h"

namespace {

using namespace kel;
namespace fs = std::filesystem;

constexpr int Libraries = 3000;  // in the system folder
constexpr int Entries = 300;

// A machine with a run list, for the life of the program. Every second entry is found in the system folder.
class Prefix {
public:
    explicit Prefix(std::size_t bytes)
        : folder_(fs::temp_directory_path() / ("kel-startup-" + std::to_string(getpid()))) {
        const fs::path drive = folder_ / "drive_c";
        fs::create_directories(drive / "windows/system32");
        fs::create_directories(drive / "users/me");
        for (int number = 0; number < Libraries; ++number) {
            std::ofstream(drive / "windows/system32" / ("file" + std::to_string(number) + ".dll")) << number;
        }
        const std::string head = "WINE REGISTRY Version 2\n;; All keys relative to \\\\Machine\n\n#arch=win64\n";
        std::ofstream machine(folder_ / "system.reg");
        machine << head << "\n[Software\\\\Microsoft\\\\Windows\\\\CurrentVersion\\\\Run] 1700000000\n";
        for (int number = 0; number < Entries; ++number) {
            const std::string name = "started" + std::to_string(number);
            const bool own = number % 2 == 0;
            const fs::path folder = own ? drive / "Program Files" / name : drive / "windows/system32";
            fs::create_directories(folder);
            std::ofstream(folder / (name + ".exe")) << std::string(bytes, static_cast<char>(number));
            const std::string command =
                own ? R"(\"C:\\Program Files\\)" + name + R"(\\)" + name + R"(.exe\" /start)" : name + ".exe -quiet";
            machine << '"' << name << "\"=\"" << command << "\"\n";
        }
        std::ofstream(folder_ / "user.reg") << head;
        std::ofstream(folder_ / "userdef.reg") << head;
    }
    ~Prefix() { fs::remove_all(folder_); }
    Prefix(const Prefix&) = delete;
    Prefix& operator=(const Prefix&) = delete;

    [[nodiscard]] offline::MachineOptions Machine() const {
        offline::MachineOptions options;
        options.machine = folder_;
        options.user = "me";
        return options;
    }

private:
    fs::path folder_;
};

void StartupEntries(benchmark::State& state) {
    const Prefix prefix(static_cast<std::size_t>(state.range(0)));
    if (state.range(1) == 0) {
        setenv("KEL_READ_AHEAD", "0", 1);
    } else {
        unsetenv("KEL_READ_AHEAD");
    }
    offline::OfflinePlatform machine(prefix.Machine());
    const platform::PlatformScope installed(machine.View());
    const EngineScope engine;
    State().MD5DataTable = std::make_shared<SignatureTable>(KeyForm::Digests);
    State().FileHashObject = std::make_shared<FileHash>("startupbench");
    OptMaxMD5Len() = 5'000'000;
    const auto scan = std::make_shared<Scan>();
    scan->Callback = std::make_shared<ScannerCallback>();
    scan->FolderPaths = std::make_shared<clsFolderPaths>();
    scan->FolderPaths->LoadFolderPaths();
    SetCurrentScan(scan);
    Scanner scanner;
    scanner.OptScanDepth = scandeep;
    scanner.ScanCommonTactics();
    for ([[maybe_unused]] auto _ : state) {
        scanner.ScanCommonTactics();
    }
    state.SetItemsProcessed(state.iterations() * Entries);
    SetCurrentScan(nullptr);
}
BENCHMARK(StartupEntries)
    ->ArgNames({"bytes", "ahead"})
    ->ArgsProduct({{4'000, 50'000, 300'000}, {0, 1}})
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
