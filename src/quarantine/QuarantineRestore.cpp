// The way back, and the way out.
#include <cstdint>
#include <string>

#include "core/Failures.h"
#include "core/Recordset.h"
#include "core/SourceLocation.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Platform.h"
#include "quarantine/Quarantine.h"
#include "quarantine/QuarantineTables.h"
#include "quarantine/RestoreSpecial.h"
#include "results/Required.h"
#include "rules/modCleanerHelper.h"
#include "system/modFiles.h"
#include "system/modHelper.h"
#include "system/modRegistry.h"

namespace kel {

namespace {

using quarantine::OfThreat;
using quarantine::Opened;

constexpr const char* Module = "Quarantine";
// This spelling is in the log of both operations: its readers look for it.
constexpr const char* DestroyProcedure = "DestoryThreat";
constexpr std::int32_t FolderNotRemovedEvent = 32;

void ReportItem(const std::string& text, SourceLocation where = SourceLocation::current()) {
    ReportError("ln " + Text(where.line()) + ":" + text, "0", Module, DestroyProcedure);
}

// Each of these answers whether all came back.

bool MakeFolder(const std::string& path) {
    if (modFiles::CreateFolderPath(path) == modFiles::Done) {
        return true;
    }
    ReportItem("Could not create folder for threat restore (" + path + ")");
    return false;
}

bool RestoreFolders(const QuarantineThreat& threat) {
    bool all = true;
    for (const auto& folder : Required(threat.QThreatLocationFolders)) {
        all = MakeFolder(folder->OriginalFolderPath) && all;
    }
    return all;
}

bool RestoreFile(const QThreatLocationFile& file, const std::string& quarantinePath) {
    bool all = true;
    const std::string folder = modHelper::FolderFromFilePath(file.OriginalFilePath);
    if (!modFiles::FolderExists(folder)) {
        all = MakeFolder(folder);
    }
    const std::string source = quarantinePath + file.QuarantineFileName;
    if (modFiles::FileMove(source, file.OriginalFilePath, modFiles::MoveAndUnmark) != modFiles::Done) {
        ReportItem("Could not move file for threat restore (" + source + " To " + file.OriginalFilePath + ")");
        all = false;
    }
    if (file.ActionRegisterFile) {
        modCleanerHelper::RegisterCOM(file.OriginalFilePath);
    }
    return all;
}

bool RestoreFiles(const QuarantineThreat& threat) {
    bool all = true;
    for (const auto& file : Required(threat.QThreatLocationFiles)) {
        all = RestoreFile(*file, threat.QuarantinePath) && all;
    }
    return all;
}

void RestoreCookies(const QuarantineThreat& threat) {
    for (const auto& cookie : Required(threat.QThreatLocationCookies)) {
        modFiles::FileMove(threat.QuarantinePath + cookie->QuarantineFileName, cookie->OriginalFilePath,
                           modFiles::MoveOnly);
    }
}

void RestoreRegistry(const QuarantineThreat& threat) {
    for (const auto& entry : Required(threat.QThreatLocationRegKeys)) {
        if (entry->Regkey.empty()) {
            continue;
        }
        if (entry->RegValueName.empty()) {
            modRegistry::CreateRegistryKey(entry->RegHive, entry->Regkey);
            continue;
        }
        const bool hasData = !entry->RegValueData.empty() && entry->RegValueDataType > 0;
        modRegistry::SetRegistryValue(entry->RegHive, entry->Regkey, entry->RegValueName,
                                      hasData ? Value(entry->RegValueData) : Value(Empty{}), entry->RegValueDataType);
    }
}

void RestoreSpecials(const QuarantineThreat& threat) {
    for (const auto& special : Required(threat.QThreatLocationSpecials)) {
        quarantine::RestoreSpecial(*special);
    }
}

// False, with a line in the log of events, when that failed. A folder that is not there is a failure.
bool RemoveFolder(std::int32_t ThreatID, const std::string& path) {
    if (modFiles::FolderRemove(path, true) == modFiles::Done) {
        return true;
    }
    EventLog(FolderNotRemovedEvent,
             "ThreatID " + Text(ThreatID) + ": failed to remove the quarantine folder " + path + ".");
    return false;
}

void RemoveRows(const std::string& filter) {
    for (const quarantine::Table* table : quarantine::Tables) {
        Recordset& rows = Opened(*table);
        rows.SetFilter(filter);
        for (; !rows.Eof(); rows.MoveNext()) {
            rows.Delete();
        }
        rows.SetFilter({});
    }
}

}  // namespace

enQuarantineErrors Quarantine::RestoreThreat(std::string_view QuarantineThreatID) {
    auto result = enQuarantineErrors::errNone;
    const bool finished = Trap(Module, "RestoreThreat", [&] {
        if (!QuarantineThreatIDExists(QuarantineThreatID)) {
            result = enQuarantineErrors::errInvalidThreatID;
            return;
        }
        const auto threat = GetQuarantineThreat(QuarantineThreatID);
        if (!threat || threat->ThreatID == 0) {
            result = enQuarantineErrors::errInvalidThreatID;
            return;
        }
        // What an earlier operation removed without saving its record must not go with the commit below.
        platform::Current().registry->Discard();
        RestoreCookies(*threat);
        RestoreRegistry(*threat);
        bool all = RestoreFolders(*threat);
        all = RestoreFiles(*threat) && all;
        RestoreSpecials(*threat);
        // Before anything of the record goes: what can't be brought back stays in the quarantine.
        quarantine::CommitRegistry();
        all = RemoveFolder(threat->ThreatID, threat->QuarantinePath) && all;
        if (!all) {
            result = enQuarantineErrors::errRestoreFailed;
        }
        RemoveRows(OfThreat(QuarantineThreatID));
        quarantine::SaveTables();
    });
    if (!finished) {
        platform::Current().registry->Discard();
        result = enQuarantineErrors::errRestoreFailed;
    }
    return result;
}

bool Quarantine::DestroyThreat(std::string_view QuarantineThreatID) {
    bool result = true;
    const bool finished = Trap(Module, DestroyProcedure, [&] {
        const std::string filter = OfThreat(QuarantineThreatID);
        Recordset& index = Opened(quarantine::Threats);
        index.SetFilter(filter);
        // Fails for an unknown identifier.
        const std::string path = ToText(index.Get("QuarantinePath"));
        result = RemoveFolder(ToLong(index.Get("ThreatID")), path);
        RemoveRows(filter);
        quarantine::SaveTables();
    });
    if (!finished) {
        ResumeNext([] { Opened(quarantine::Threats).SetFilter({}); });
    }
    return finished && result;
}

}  // namespace kel
