// The single record of process-wide state.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <typeindex>
#include <unordered_map>

#include "core/Collection.h"

namespace kel {

class Recordset;
class clsThreat;
class FileHash;
class SignatureTable;
struct clsResuscitator;

enum enLanguages : std::int32_t { LanguageEnglish = 0, LanguageSpanish = 1, LanguageFrench = 2 };
enum enVersionType : std::int32_t { VersionTypeClient = 0, VersionTypeServer = 1 };

/// The program that holds the engine, as the logic sees it.
struct AppInfo {
    std::string Path;  ///< folder of the executable, without a trailing backslash; the shipped tables lie there
    std::string EXEName = "kelThreatEngine";  ///< without its extension
    std::int32_t Major = 1;
    std::int32_t Minor = 0;
    std::int32_t Revision = 0;
};

/// What lower modules call upwards. The upper module installs its function; where none is installed, what the
/// function would do is not needed.
struct Hooks {
    /// CurrentScan.EventStartingLocation(location, scanType), from the listing procedures.
    std::function<void(std::string_view location, std::int32_t scanType)> StartingLocation;
    /// CurrentScan.FolderPaths.PathCookies.
    std::function<std::string()> ScanCookiesFolder;
};

/// All that the objects of the process share. Made when the process starts; outlives every object handed to clients.
/// The tables of the catalogue are declared there and owned here.
struct EngineState {
    AppInfo App;
    Hooks Calls;

    enLanguages CurrentLanguage = LanguageEnglish;
    enVersionType CurrentVersionType = VersionTypeClient;
    std::string UserDataRootPath;
    bool UserDataFolderIsSet = false;
    std::string UserDataFolder;
    bool DataInitialized = false;
    std::int32_t ThreatDataFileLength = 0;
    std::string ThreatDataVersion;

    std::shared_ptr<FileHash> FileHashObject;
    std::shared_ptr<Collection<std::shared_ptr<clsThreat>>> ThreatCatalog;

    std::shared_ptr<SignatureTable> CookieDataTable;
    std::shared_ptr<SignatureTable> MD5DataTable;
    std::shared_ptr<SignatureTable> FilePathDataTable;
    std::shared_ptr<SignatureTable> FolderDataTable;
    std::shared_ptr<Recordset> RegKeyRecordset;
    std::shared_ptr<Collection<std::shared_ptr<clsResuscitator>>> Resuscitators;
    std::string FileExtensionFilter;

    std::shared_ptr<Collection<std::int32_t>> IgnoredThreatIDs;

    std::shared_ptr<Recordset> RsScanHistory;
    std::shared_ptr<Recordset> RsQThreatHistory;
    std::shared_ptr<Recordset> RsDThreatHistory;
    std::shared_ptr<Recordset> RsDetHist;
    std::shared_ptr<Recordset> RsDetFileHist;
    std::shared_ptr<Recordset> RsDetFolderHist;
    std::shared_ptr<Recordset> RsDetCookieHist;
    std::shared_ptr<Recordset> RsDetRegHist;

    std::shared_ptr<Recordset> RsQuarantined;
    std::shared_ptr<Recordset> RsQCookies;
    std::shared_ptr<Recordset> RsQFiles;
    std::shared_ptr<Recordset> RsQFolders;
    std::shared_ptr<Recordset> RsQRegKeys;
    std::shared_ptr<Recordset> RsQSpecials;
};

/// The record itself.
EngineState& State();

/// Module-level values that stand beside the record.
bool& ScanAbortFlag();
std::int16_t& LastOptionalScan();
std::int16_t& OptMaxOptionLevel();
std::int32_t& OptMaxMD5Len();

/// Module-level data of one module: one T for each EngineScope, value-initialised at its first use. A module declares
/// a struct of its own for it.
void* ModuleSlot(std::type_index type, std::shared_ptr<void> (*make)());
template <class T>
T& ModuleData() {
    return *static_cast<T*>(ModuleSlot(typeid(T), []() -> std::shared_ptr<void> { return std::make_shared<T>(); }));
}

/// A fresh record and fresh module-level data for its lifetime; those before it come back afterwards. Tests make one
/// each, a program makes one.
class EngineScope {
public:
    EngineScope();
    ~EngineScope();
    EngineScope(const EngineScope&) = delete;
    EngineScope& operator=(const EngineScope&) = delete;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

/// Lets waiting calls in, through the platform's message loop; not during a look ahead (see Unnoticed).
void DoEvents();

}  // namespace kel
