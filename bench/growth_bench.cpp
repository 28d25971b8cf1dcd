// What one more item costs where many are there: one kind of work at one size, for bench/growth.
#include <sys/resource.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "catalogue/ThreatLite.h"
#include "catalogue/clsThreat.h"
#include "cleaner/Cleaner.h"
#include "core/EngineState.h"
#include "core/Recordset.h"
#include "core/Text.h"
#include "offline/OfflinePlatform.h"
#include "quarantine/Quarantine.h"
#include "quarantine/QuarantineTables.h"
#include "results/IgnoredThreats.h"
#include "results/Scan.h"
#include "results/ScanHistory.h"
#include "results/modDataManager.h"
#include "results/modIgnoredThreats.h"
#include "rules/modCleanerHelper.h"

namespace {

using namespace kel;
namespace fs = std::filesystem;

using Work = std::function<void()>;

// An engine over an empty drive, for one measurement.
class Bench {
public:
    explicit Bench(std::int32_t count) : count_(count) {
        fs::create_directories(folder_ / "user");
        offline::MachineOptions options;
        options.drives.push_back({'C', folder_});
        options.writable = true;
        machine_.emplace(options);
        installed_.emplace(machine_->View());
        engine_.emplace();
        State().UserDataFolder = "C:\\user";
        State().ThreatCatalog = std::make_shared<Collection<std::shared_ptr<clsThreat>>>();
        scan_ = NewScan();
        SetCurrentScan(scan_);
        // A list that is not empty is not read again at each question. The first question makes its file.
        static_cast<void>(modIgnoredThreats::IsIgnoredThreatID(-1));
        IgnoredThreats().AddIgnoredThreat(-1);
    }
    ~Bench() {
        scan_.reset();
        engine_.reset();
        installed_.reset();
        machine_.reset();
        fs::remove_all(folder_);
    }
    Bench(const Bench&) = delete;
    Bench& operator=(const Bench&) = delete;

    [[nodiscard]] std::int32_t Count() const { return count_; }
    [[nodiscard]] Scan& TheScan() { return *scan_; }
    [[nodiscard]] const std::shared_ptr<Scan>& SharedScan() const { return scan_; }

    static std::shared_ptr<Scan> NewScan() {
        auto scan = std::make_shared<Scan>();
        scan->Callback = std::make_shared<ScannerCallback>();
        return scan;
    }
    // A threat that was found, as the history wants it.
    static void Detect(Scan& scan, std::int32_t threat) {
        auto detected = std::make_shared<DetectedThreat>();
        detected->ThreatID = threat;
        detected->Threat = std::make_shared<ThreatLite>();
        detected->Threat->ThreatName = "Threat " + Text(threat);
        detected->ThreatLocationRegKeys->Add(
            std::make_shared<ThreatLocationRegKey>(1, "software\\key " + Text(threat)));
        scan.DetectedThreats()->Add(detected, "ThreatID:" + Text(threat));
    }
    // Rows of the quarantine: each threat with a row, a file, and two registry values.
    void FillQuarantine() const {
        quarantine::OpenTables();
        for (std::int32_t i = 1; i <= count_; ++i) {
            const std::string id = QuarantineID(i);
            Recordset& threats = quarantine::Opened(quarantine::Threats);
            threats.AddNew();
            threats.Set("QThreatID", id);
            threats.Set("ThreatID", i);
            for (const char* column : {"ThreatName", "Category", "ScanID", "QuarantineDate", "QuarantinePath"}) {
                threats.Set(column, std::string("x"));
            }
            threats.Update();
            Recordset& files = quarantine::Opened(quarantine::Files);
            files.AddNew();
            files.Set("QThreatID", id);
            files.Set("QFileName", id);
            files.Set("OriginalFilePath", "C:\\files\\" + id);
            files.Set("ActionRegisterFile", false);
            files.Set("ThreatTypeFile", std::int32_t{0});
            files.Set("RestoreOrder", std::int32_t{0});
            files.Update();
            Recordset& keys = quarantine::Opened(quarantine::RegKeys);
            for (const char* name : {"one", "two"}) {
                keys.AddNew();
                keys.Set("QThreatID", id);
                keys.Set("RegHive", std::string("-2147483646"));
                keys.Set("RegKey", "Software\\" + id);
                keys.Set("RegValueName", std::string(name));
                keys.Set("RegValueData", std::string("data"));
                keys.Set("RegValueDataType", std::int32_t{1});
                keys.Update();
            }
        }
    }
    static std::string QuarantineID(std::int32_t number) { return "Q-" + Text(1'000'000 + number); }

private:
    std::int32_t count_;
    fs::path folder_ = fs::temp_directory_path() / ("kel-growth-" + std::to_string(getpid()));
    std::optional<offline::OfflinePlatform> machine_;
    std::optional<platform::PlatformScope> installed_;
    std::optional<EngineScope> engine_;
    std::shared_ptr<Scan> scan_;
};

struct Case {
    std::string_view name;
    Work (*prepare)(Bench&);  // what it gives is measured
};

template <class Each>
Work ForEach(Bench& bench, Each each) {
    return [&bench, each] {
        for (std::int32_t i = 1; i <= bench.Count(); ++i) {
            each(bench, i);
        }
    };
}

void AddKey(Bench& bench, std::int32_t i) {
    // Reported twice, as two signatures of one threat do; stored in lower case, so that the second one is refused.
    for (int again = 0; again < 2; ++again) {
        bench.TheScan().AddDetectedThreatRegKey(ScanTypeRegistry, 1, 1, "software\\key " + Text(i), "name", "data");
    }
}

constexpr Case Cases[] = {
    {"detect-registry", [](Bench& bench) { return ForEach(bench, AddKey); }},
    {"detect-folder",
     [](Bench& bench) {
         return ForEach(bench, [](Bench& on, std::int32_t i) {
             on.TheScan().AddDetectedThreatFolder(ScanTypeFiles, 1, "C:\\Folder " + Text(i));
         });
     }},
    {"detect-custom",
     [](Bench& bench) {
         return ForEach(bench, [](Bench& on, std::int32_t i) {
             on.TheScan().AddDetectedThreatCustom(ScanTypeFiles, 1, std::make_shared<ThreatLocationCustom>(i));
         });
     }},
    {"detect-threat",
     [](Bench& bench) {
         return ForEach(bench, [](Bench& on, std::int32_t i) {
             on.TheScan().AddDetectedThreatRegKey(ScanTypeRegistry, i, 1, "software\\key");
         });
     }},
    {"report",
     [](Bench& bench) -> Work {
         for (std::int32_t i = 1; i <= bench.Count(); ++i) {
             Bench::Detect(bench.TheScan(), i);
         }
         return [&bench] { static_cast<void>(bench.TheScan().ScanResultsFull()); };
     }},
    {"history-one-scan",
     [](Bench& bench) -> Work {
         for (std::int32_t i = 1; i <= bench.Count(); ++i) {
             Bench::Detect(bench.TheScan(), i);
         }
         modDataManager::InitializeScanHistoryData();
         return [&bench] { ScanHistory().Add(bench.SharedScan()); };
     }},
    {"history-many-scans",
     [](Bench& bench) -> Work {
         modDataManager::InitializeScanHistoryData();
         return ForEach(bench, [](Bench&, std::int32_t i) {
             const auto scan = Bench::NewScan();
             Bench::Detect(*scan, i);
             ScanHistory().Add(scan);
         });
     }},
    {"quarantine-read",
     [](Bench& bench) -> Work {
         bench.FillQuarantine();
         return ForEach(bench, [](Bench&, std::int32_t i) {
             static_cast<void>(Quarantine().GetQuarantineThreat(Bench::QuarantineID(i)));
         });
     }},
    {"quarantine-by-threat",
     [](Bench& bench) -> Work {
         bench.FillQuarantine();
         return ForEach(
             bench, [](Bench&, std::int32_t i) { static_cast<void>(Quarantine().GetQuarantineThreatByThreatID(i)); });
     }},
    {"quarantine-fill", [](Bench& bench) -> Work { return [&bench] { bench.FillQuarantine(); }; }},
    {"quarantine-report",
     [](Bench& bench) -> Work {
         bench.FillQuarantine();
         return [] { static_cast<void>(Quarantine().GetQuarantineXML()); };
     }},
    {"quarantine-destroy",
     [](Bench& bench) -> Work {
         bench.FillQuarantine();
         quarantine::SaveTables();
         return ForEach(bench, [](Bench&, std::int32_t i) {
             static_cast<void>(Quarantine().DestroyThreat(Bench::QuarantineID(i)));
         });
     }},
    {"ignore-ask",
     [](Bench& bench) -> Work {
         for (std::int32_t i = 1; i <= bench.Count(); ++i) {
             State().IgnoredThreatIDs->Add(i, Text(i));
         }
         return ForEach(bench,
                        [](Bench&, std::int32_t i) { static_cast<void>(modIgnoredThreats::IsIgnoredThreatID(i)); });
     }},
    {"ignore-ask-empty",
     [](Bench& bench) -> Work {
         IgnoredThreats().RemoveIgnoredThreat(-1);
         return ForEach(bench,
                        [](Bench&, std::int32_t i) { static_cast<void>(modIgnoredThreats::IsIgnoredThreatID(i)); });
     }},
    {"ignore-add",
     [](Bench& bench) { return ForEach(bench, [](Bench&, std::int32_t i) { IgnoredThreats().AddIgnoredThreat(i); }); }},
    {"cleaner-log",
     [](Bench& bench) {
         Cleaner().SetEnableLog(true);
         return ForEach(bench, [](Bench&, std::int32_t i) { modCleanerHelper::CleanerLog("line " + Text(i)); });
     }},
};

double CpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

}  // namespace

// A function of its own, so that callgrind can be told to count in it alone.
extern "C" __attribute__((noinline)) void GrowthWork(const Work& work) {
    work();
}

// growth_bench: the names of all cases. growth_bench CASE COUNT: CPU time of each item, in nanoseconds.
int main(int argc, char** argv) {
    if (argc != 3) {
        for (const Case& one : Cases) {
            std::printf("%s\n", std::string(one.name).c_str());
        }
        return argc == 1 ? 0 : 2;
    }
    for (const Case& one : Cases) {
        if (one.name == argv[1]) {
            Bench bench(std::atoi(argv[2]));
            const Work work = one.prepare(bench);
            const double before = CpuSeconds();
            GrowthWork(work);
            std::printf("%.0f\n", (CpuSeconds() - before) * 1e9 / bench.Count());
            return 0;
        }
    }
    std::fprintf(stderr, "growth_bench: no case %s\n", argv[1]);
    return 2;
}
