// One threat, looked for outside the frame of a scan.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "catalogue/SignatureTable.h"
#include "catalogue/modMain.h"
#include "core/EngineState.h"
#include "core/Failures.h"
#include "platform/Platform.h"
#include "rules/RunningPrograms.h"
#include "scanner/EngineData.h"
#include "scanner/RegistrySignatures.h"
#include "scanner/Scanner.h"
#include "scanner/ScannerModule.h"
#include "scanner/ThreatCleaner.h"
#include "scanner/modScannerFiles.h"
#include "system/modFiles.h"

namespace kel {

namespace {

constexpr const char* Module = "Scanner";

struct Cleaning {
    std::function<std::shared_ptr<ThreatCleaner>()> make;
    std::shared_ptr<ThreatCleaner> cleaner;  // of the scan that runs, or that ended too early
};

// A scan without a voice and without the machine's folders, in place of the one that was made before.
std::shared_ptr<Scan> BeginBareScan() {
    auto scan = std::make_shared<Scan>();
    SetCurrentScan(scan);
    SharedByScanners().threatsToClean.reset();
    auto& cleaning = ModuleData<Cleaning>();
    cleaning.cleaner = cleaning.make ? cleaning.make() : nullptr;
    scan->StartDate = platform::Current().clock->Now();
    return scan;
}

void TestRegistry(RegistrySignatures& signatures, std::int32_t threatID) {
    for (signatures.FilterByThreat(threatID); !signatures.Eof(); signatures.MoveNext()) {
        if (signatures.ReadPlace() && signatures.ReadQuestion()) {
            signatures.Test();
            DoEvents();
        }
    }
}

// Paths as the table has them: one that begins with a variable is never there.
void TestPaths(std::int32_t threatID) {
    const std::shared_ptr<SignatureTable> table = State().FilePathDataTable;
    if (!table) {
        Raise(ErrObjectNotSet);
    }
    for (std::size_t row = 1; row <= table->Count(); ++row) {
        const auto [path, signature] = table->At(row);
        if (signature.ThreatID == threatID && modFiles::FileExists(path)) {
            RequireCurrentScan()->AddDetectedThreatFile(ScanTypeFiles, threatID, {}, path);
            modScannerFiles::AddDetectedThreatFileRelations(threatID, path);
        }
    }
}

void DestroyWithoutHistory(Scan& scan, std::int32_t threatID) {
    bool& writesHistory = SharedByScanners().writeHistory;
    const bool before = std::exchange(writesHistory, false);
    if (const auto cleaner = ModuleData<Cleaning>().cleaner) {
        cleaner->DestroyThreat(scan, threatID);
    }
    writesHistory = before;
}

}  // namespace

void SetThreatCleaners(std::function<std::shared_ptr<ThreatCleaner>()> make) {
    ModuleData<Cleaning>().make = std::move(make);
}

bool Scanner::ScanThreat(std::int32_t ThreatID, bool CleanIt) {
    bool scanned = false;
    Trap(Module, "ScanThreat", [&] {
        if (SharedByScanners().scanInProgress) {
            return;
        }
        modCleanerHelper::SuspendActiveThreats();
        scanned = true;
        InitializeScan();
        const std::shared_ptr<kel::Scan> scan = BeginBareScan();
        if (!modMain::ThreatExists(ThreatID)) {
            return;
        }
        RegistrySignatures signatures(State().RegKeyRecordset);
        TestRegistry(signatures, ThreatID);
        TestPaths(ThreatID);
        if (CleanIt && scan->DetectedThreatCount() > 0) {
            DestroyWithoutHistory(*scan, ThreatID);
        }
        signatures.ClearFilter();
        SetCurrentScan(nullptr);
        SharedByScanners().threatsToClean.reset();
        ModuleData<Cleaning>().cleaner.reset();
    });
    return scanned;
}

void Scanner::ReloadThreatData() {
    Trap(Module, "ReloadThreatData", [] { modMain::LoadEngineData(); });
}

}  // namespace kel
