// Stages that ask of each signature whether its place exists: what a signature costs that names nothing on the machine,
// and what it costs when the place is there.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "catalogue/SignatureTable.h"
#include "core/EngineState.h"
#include "core/Recordset.h"
#include "offline/OfflinePlatform.h"
#include "results/Scan.h"
#include "scanner/Scanner.h"
#include "system/clsFolderPaths.h"

namespace {

using namespace kel;
namespace fs = std::filesystem;

constexpr std::int64_t Keys = 20000;
constexpr std::int64_t Threats = 1000;

std::string KeyName(std::int64_t number) {
    return "Software\\Bench\\{" + std::to_string(number % 200) + "}\\" + std::to_string(number);
}

// A machine with a registry of its own and some folders, for the life of the program.
class Prefix {
public:
    Prefix() : folder_(fs::temp_directory_path() / ("kel-places-" + std::to_string(getpid()))) {
        fs::create_directories(folder_ / "drive_c/windows/system32");
        fs::create_directories(folder_ / "drive_c/users/me");
        for (int i = 0; i < 3000; ++i) {
            std::ofstream(folder_ / "drive_c/windows/system32" / ("file" + std::to_string(i) + ".dll")) << i;
        }
        const std::string head = "WINE REGISTRY Version 2\n;; All keys relative to \\\\Machine\n\n#arch=win64\n";
        std::ofstream machine(folder_ / "system.reg");
        machine << head;
        for (std::int64_t i = 0; i < Keys; ++i) {
            std::string key = KeyName(i);
            for (std::size_t at = key.find('\\'); at != std::string::npos; at = key.find('\\', at + 2)) {
                key.insert(at, "\\");
            }
            machine << "\n[" << key << "] 1700000000\n\"Name\"=\"Data\"\n";
        }
        std::ofstream(folder_ / "user.reg") << head;
        std::ofstream(folder_ / "userdef.reg") << head;
    }
    ~Prefix() { fs::remove_all(folder_); }
    Prefix(const Prefix&) = delete;
    Prefix& operator=(const Prefix&) = delete;

    [[nodiscard]] const fs::path& Folder() const { return folder_; }

private:
    fs::path folder_;
};

offline::MachineOptions Machine() {
    static const Prefix prefix;
    offline::MachineOptions options;
    options.machine = prefix.Folder();
    options.user = "me";
    return options;
}

std::shared_ptr<Scan> BeginScan() {
    const auto scan = std::make_shared<Scan>();
    scan->Callback = std::make_shared<ScannerCallback>();
    scan->FolderPaths = std::make_shared<clsFolderPaths>();
    scan->FolderPaths->LoadFolderPaths();
    SetCurrentScan(scan);
    ScanAbortFlag() = false;
    return scan;
}

// A signature in a thousand of a threat of its own, as catalogues have them.
std::shared_ptr<Recordset> RegistryRows(std::int64_t rows, bool there) {
    auto table = std::make_shared<Recordset>();
    table->AppendField("ThreatID", FieldType::Integer);
    for (const char* name : {"RegHive", "RegKey", "RegValueName", "RegValueData"}) {
        table->AppendField(name, FieldType::VarChar, 255);
    }
    table->AppendField("OptionalScan", FieldType::SmallInt);
    table->Open();
    for (std::int64_t i = 0; i < rows; ++i) {
        table->AddNew();
        table->Set("ThreatID", static_cast<std::int32_t>(1 + i % Threats));
        table->Set("RegHive", std::string("HKEY_LOCAL_MACHINE"));
        table->Set("RegKey", there ? KeyName(i % Keys) : KeyName(i) + "\\Missing");
        if (i % 3 != 0) {
            table->Set("RegValueName", std::string("Name"));
        }
        if (i % 3 == 2) {
            table->Set("RegValueData", std::string("data"));
        }
        table->Set("OptionalScan", std::int32_t{0});
        table->Update();
    }
    return table;
}

void Finish(benchmark::State& run) {
    run.SetItemsProcessed(run.iterations() * run.range(0));
    run.counters["seconds/signature"] = benchmark::Counter(static_cast<double>(run.iterations() * run.range(0)),
                                                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void Registry(benchmark::State& run) {
    offline::OfflinePlatform machine(Machine());
    const platform::PlatformScope installed(machine.View());
    const EngineScope engine;
    State().RegKeyRecordset = RegistryRows(run.range(0), run.range(1) != 0);
    Scanner scanner;
    for (auto _ : run) {
        const auto scan = BeginScan();
        scanner.ScanRegistry();
        if (scan->ScannedRegistryCount != run.range(0)) {
            run.SkipWithError("not every signature was asked");
        }
    }
    Finish(run);
}
BENCHMARK(Registry)
    ->ArgNames({"rows", "there"})
    ->Args({10000, 0})
    ->Args({100000, 0})
    ->Args({10000, 1})
    ->Args({100000, 1})
    ->Unit(benchmark::kMillisecond);

void RegistryQuestions(benchmark::State& run) {
    offline::OfflinePlatform machine(Machine());
    const platform::PlatformScope installed(machine.View());
    const EngineScope engine;
    State().RegKeyRecordset = RegistryRows(run.range(0), true);
    Scanner scanner;
    std::int64_t number = 0;
    for (auto _ : run) {
        benchmark::DoNotOptimize(
            scanner.IsRegKeyThreat("HKEY_LOCAL_MACHINE", KeyName(number++ % Keys), "Name", Empty{}));
    }
}
BENCHMARK(RegistryQuestions)->ArgNames({"rows"})->Arg(100000);

void Paths(benchmark::State& run) {
    offline::OfflinePlatform machine(Machine());
    const platform::PlatformScope installed(machine.View());
    const EngineScope engine;
    const auto table = std::make_shared<SignatureTable>(KeyForm::Texts);
    for (std::int64_t i = 0; i < run.range(0); ++i) {
        const char* const folder = i % 2 == 0 ? "%system%\\" : "c:\\program files\\gone\\";
        table->Add(folder + ("bad" + std::to_string(i) + ".exe"), {1, 0});
    }
    State().FilePathDataTable = table;
    State().IgnoredThreatIDs = std::make_shared<Collection<std::int32_t>>();
    if (run.range(1) != 0) {
        State().IgnoredThreatIDs->Add(9, "9");
    }
    Scanner scanner;
    for (auto _ : run) {
        const auto scan = BeginScan();
        scanner.ScanKnownLocations();
        if (scan->ScannedFileCount != run.range(0)) {
            run.SkipWithError("not every path was asked");
        }
    }
    Finish(run);
}
BENCHMARK(Paths)
    ->ArgNames({"rows", "ignored"})
    ->Args({10000, 1})
    ->Args({100000, 1})
    ->Args({100000, 0})
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
