// Tables in files, and filters over them.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <random>
#include <string>

#include "core/EngineState.h"
#include "core/Recordset.h"
#include "offline/OfflinePlatform.h"

namespace {

namespace fs = std::filesystem;
using namespace kel;

// A folder of the host as the only drive of a machine, for the life of the program.
class Workbench {
public:
    Workbench() {
        std::string pattern = (fs::temp_directory_path() / "kel-bench-XXXXXX").string();
        folder_ = mkdtemp(pattern.data());
        offline::MachineOptions options;
        options.drives.push_back({'C', folder_});
        options.writable = true;
        machine_.emplace(options);
        installed_.emplace(machine_->View());
    }
    ~Workbench() {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }

private:
    fs::path folder_;
    std::optional<offline::OfflinePlatform> machine_;
    std::optional<platform::PlatformScope> installed_;
    EngineScope scope_;
};

std::string RandomDigest(std::mt19937_64& random) {
    std::string text(32, '0');
    for (char& c : text) {
        c = "0123456789abcdef"[random() % 16];
    }
    return text;
}

// The table of file digests with that many rows; made once.
std::string DigestTable(std::int64_t rows) {
    const std::string path = "C:\\md5-" + std::to_string(rows) + ".sdb";
    if (platform::Current().files->PathExists(path)) {
        return path;
    }
    std::mt19937_64 random(static_cast<std::uint64_t>(rows));
    Recordset table;
    table.AppendField("ThreatID", FieldType::Integer);
    table.AppendField("MD5", FieldType::VarChar, 32);
    table.AppendField("OptionalScan", FieldType::SmallInt);
    table.Open();
    for (std::int64_t row = 0; row < rows; ++row) {
        table.AddNew();
        table.Set(std::size_t{0}, static_cast<std::int32_t>(row / 50));
        table.Set(std::size_t{1}, RandomDigest(random));
        table.Set(std::size_t{2}, static_cast<std::int32_t>(row % 100 == 0 ? 1 : 0));
    }
    table.Update();
    table.Save(path);
    return path;
}

void LoadDigests(benchmark::State& state) {
    const std::string path = DigestTable(state.range(0));
    for (auto _ : state) {
        Recordset table;
        table.Open(path);
        const auto threats = table.ReadColumn(0);
        const auto digests = table.ReadColumn(1);
        const auto levels = table.ReadColumn(2);
        std::uint32_t sum = 0;
        for (std::size_t row = 0; row < table.RowCount(); ++row) {
            sum += static_cast<std::uint32_t>(threats->Number(row) + levels->Number(row)) + digests->Digest(row)[0];
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(LoadDigests)->Arg(1000000)->Arg(5000000)->Unit(benchmark::kMillisecond);

// A table like the one of registry signatures.
void FillKeys(Recordset& table, std::int64_t rows) {
    table.AppendField("ThreatID", FieldType::Integer);
    table.AppendField("RegHive", FieldType::VarChar, 20);
    table.AppendField("RegKey", FieldType::VarChar, 255);
    table.AppendField("OptionalScan", FieldType::SmallInt);
    table.Open();
    for (std::int64_t row = 0; row < rows; ++row) {
        table.AddNew();
        table.Set("ThreatID", static_cast<std::int32_t>(row / 20));
        table.Set("RegHive", std::string(row % 2 == 0 ? "HKEY_LOCAL_MACHINE" : "HKEY_CURRENT_USER"));
        table.Set("RegKey", "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Product " + std::to_string(row));
        table.Set("OptionalScan", static_cast<std::int32_t>(row % 3));
    }
    table.Update();
}

void FilterByNumber(benchmark::State& state) {
    Recordset table;
    FillKeys(table, state.range(0));
    for (auto _ : state) {
        table.SetFilter("OptionalScan<=1");
        benchmark::DoNotOptimize(table.RecordCount());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(FilterByNumber)->Arg(100000)->Unit(benchmark::kMicrosecond);

// The first two uses walk the table, the later ones go by the index.
void FilterByKey(benchmark::State& state) {
    Recordset table;
    FillKeys(table, state.range(0));
    std::int64_t row = 0;
    for (auto _ : state) {
        table.SetFilter(
            "RegHive='hkey_local_machine' and RegKey='software\\microsoft\\windows\\currentversion\\"
            "uninstall\\product " +
            std::to_string(row) + "'");
        row = (row + 2) % state.range(0);
        if (table.Eof()) {
            state.SkipWithError("the row was not found");
        }
    }
}
BENCHMARK(FilterByKey)->Arg(100000)->Unit(benchmark::kMicrosecond);

void FilterByKeyWithoutIndex(benchmark::State& state) {
    Recordset table;
    FillKeys(table, state.range(0));
    for (auto _ : state) {
        table.SetFilter("RegKey>'t'");
        benchmark::DoNotOptimize(table.Eof());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(FilterByKeyWithoutIndex)->Arg(100000)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
    const Workbench workbench;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
