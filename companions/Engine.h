// The engine, as the program of the machine's start drives it.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kel::companions {

/// A call to the engine that did not come through: the text tells which and why.
class EngineFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// One engine, whichever way it is reached. What the engine itself reports stands in its own log; here only what kept a
/// call from reaching it is raised, as EngineFailure.
class Engine {
public:
    virtual ~Engine() = default;

    /// Creates the engine. Called once, first; the folder of the user's data must be set before anything but that is
    /// asked of it. Its cleaner knows what drives it, and writes its log.
    virtual void Start() = 0;
    /// The folder of the user's data that some client of the engine chose; empty: none did.
    virtual std::string UserDataFolder() = 0;
    virtual void SetUserDataFolder(std::string_view folder) = 0;

    // The cleaner. The four lists, each of which it works once and deletes.

    virtual void RunAllCleanerFolders() = 0;
    virtual void RunAllCleanerFiles() = 0;
    virtual void RunAllCleanerRegistryKeys() = 0;
    virtual void RunAllCleanerRegistryValues() = 0;

    /// Opens the stores of the quarantine.
    virtual void InitializeClean(std::string_view scanID) = 0;
    virtual void UninitializeClean() = 0;
    /// 0 when nothing failed.
    virtual std::int32_t QuarantineThreat(std::int32_t threatID) = 0;
    virtual void DestroyThreat(std::int32_t threatID) = 0;

    // The quarantine, which InitializeClean opens.

    /// Identifier of the first record of a threat; empty without one.
    virtual std::string QuarantineID(std::int32_t threatID) = 0;
    virtual bool IsQuarantined(std::string_view quarantineID) = 0;
    /// Forgets a record and removes what is kept of it. False when its folder stays.
    virtual bool DestroyQuarantined(std::string_view quarantineID) = 0;

    // The history.

    /// Paths of the files and cookies that a scan found of a threat.
    virtual std::vector<std::string> DetectedPaths(std::string_view scanID, std::int32_t threatID) = 0;
    /// Notes that a threat is gone for good.
    virtual void AddDeletedThreat(std::string_view scanID, std::int32_t threatID) = 0;
    virtual void PersistHistory() = 0;
};

}  // namespace kel::companions
