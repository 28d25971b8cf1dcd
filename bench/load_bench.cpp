// Loading of an MD5 table from its file into the signature table, and lookups in it.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "catalogue/SignatureLoader.h"
#include "catalogue/SignatureTable.h"
#include "core/Recordset.h"
#include "offline/OfflinePlatform.h"
#include "platform/Platform.h"

namespace {

using namespace kel;

std::string RandomMD5(std::mt19937_64& random) {
    constexpr std::string_view Digits = "0123456789abcdef";
    std::string text;
    for (std::uint64_t bits = random(); text.size() < 16; bits >>= 4) {
        text += Digits[bits & 15];
    }
    for (std::uint64_t bits = random(); text.size() < 32; bits >>= 4) {
        text += Digits[bits & 15];
    }
    return text;
}

// A folder of table files by row count, for the life of the program.
class Tables {
public:
    Tables() : folder_(std::filesystem::temp_directory_path() / ("kel-load-" + std::to_string(getpid()))) {
        std::filesystem::create_directory(folder_);
        root_ = platform_.MountHost(folder_);
        installed_.emplace(platform_.View());
    }
    ~Tables() { std::filesystem::remove_all(folder_); }
    Tables(const Tables&) = delete;
    Tables& operator=(const Tables&) = delete;

    std::string Path(std::int64_t rows, bool ordered = true) {
        const std::string name = std::to_string(rows) + (ordered ? ".sdb" : "-any.sdb");
        if (!std::filesystem::exists(folder_ / name)) {
            Make(root_ + name, rows, ordered);
        }
        return root_ + name;
    }

private:
    static void Make(const std::string& path, std::int64_t rows, bool ordered) {
        std::mt19937_64 random(42);
        Recordset table;
        table.AppendField("ThreatID", FieldType::Integer);
        table.AppendField("Key", FieldType::VarChar, 32);
        table.AppendField("OptionalScan", FieldType::SmallInt);
        table.Open();
        for (std::int64_t row = 0; row < rows; ++row) {
            table.AddNew();
            table.Set(0, static_cast<std::int32_t>(random() % 40000 + 1));
            table.Set(1, RandomMD5(random));
            table.Set(2, static_cast<std::int32_t>(random() % 3));
            table.Update();
        }
        if (ordered) {
            table.SaveInOrder(1, path);
        } else {
            table.Save(path);
        }
    }

    std::filesystem::path folder_;
    offline::OfflinePlatform platform_{offline::MachineOptions{}};
    std::string root_;
    std::optional<platform::PlatformScope> installed_;
};

Tables& AllTables() {
    static Tables tables;
    return tables;
}

std::unique_ptr<SignatureTable> Load(const std::string& path) {
    auto table = std::make_unique<SignatureTable>(KeyForm::Digests);
    Recordset rows;
    rows.Open(path);
    LoadSignatures(rows, *table, NullKey::Failure);
    rows.Close();
    return table;
}

// Bytes of memory that the process has, pages of mapped files included.
std::int64_t ResidentBytes() {
    std::ifstream statistics("/proc/self/statm");
    std::array<std::int64_t, 2> pages{};
    statistics >> pages[0] >> pages[1];
    return pages[1] * sysconf(_SC_PAGESIZE);
}

// The most memory that the process had since the last call, pages of mapped files included; starts to count anew.
double PeakMebibytes() {
    double peak = 0;
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:")) {
            peak = std::stod(line.substr(6)) / 1024;
        }
    }
    std::ofstream("/proc/self/clear_refs") << "5";
    return peak;
}

// With rows in the order of their keys, as kelsdb writes them, or in any order.
void LoadMd5Table(benchmark::State& state, bool ordered) {
    const std::int64_t rows = state.range(0);
    const std::string path = AllTables().Path(rows, ordered);
    double bytesPerRow = 0;
    double peak = 0;
    for (auto _ : state) {
        state.PauseTiming();
        malloc_trim(0);
        const std::int64_t before = ResidentBytes();
        PeakMebibytes();
        state.ResumeTiming();
        auto table = Load(path);
        state.PauseTiming();
        peak = PeakMebibytes();
        bytesPerRow = static_cast<double>(ResidentBytes() - before) / static_cast<double>(rows);
        table.reset();
        state.ResumeTiming();
    }
    state.counters["bytes_per_row"] = bytesPerRow;
    state.counters["peak_MiB"] = peak;
    state.counters["rows_per_s"] =
        benchmark::Counter(static_cast<double>(rows), benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK_CAPTURE(LoadMd5Table, ordered, true)
    ->Arg(1'000'000)
    ->Arg(5'000'000)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly();
BENCHMARK_CAPTURE(LoadMd5Table, unordered, false)
    ->Arg(1'000'000)
    ->Arg(5'000'000)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly();

void LookUpMd5(benchmark::State& state, bool present) {
    const auto table = Load(AllTables().Path(state.range(0)));
    std::mt19937_64 random(present ? 42 : 43);
    std::vector<std::string> keys;
    for (int i = 0; i < 65536; ++i) {
        if (present) {
            random();  // the threat's draw of the row
        }
        keys.push_back(RandomMD5(random));
        if (present) {
            random();  // the level's
        }
    }
    std::size_t next = 0;
    std::size_t hits = 0;
    for (auto _ : state) {
        hits += table->Find(keys[next++ & 65535]).has_value() ? 1 : 0;
    }
    state.counters["hit_rate"] = static_cast<double>(hits) / static_cast<double>(state.iterations());
}
BENCHMARK_CAPTURE(LookUpMd5, hit, true)->Arg(1'000'000)->Arg(5'000'000);
BENCHMARK_CAPTURE(LookUpMd5, miss, false)->Arg(1'000'000)->Arg(5'000'000);

void LookUpPath(benchmark::State& state) {
    SignatureTable table(KeyForm::Texts);
    std::vector<std::string> keys;
    for (int i = 0; i < 100'000; ++i) {
        keys.push_back("%windows%\\system32\\component" + std::to_string(i * 7919) + "\\module.dll");
        table.Add(keys.back(), {i + 1, 0});
    }
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(table.Find(keys[next++ % keys.size()]));
    }
}
BENCHMARK(LookUpPath);

}  // namespace

BENCHMARK_MAIN();
