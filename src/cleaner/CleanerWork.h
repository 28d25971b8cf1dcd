// The removal of one threat.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "catalogue/ThreatRecord.h"
#include "cleaner/Cleaner.h"
#include "results/DetectedThreat.h"

namespace kel {

/// What one call of QuarantineThreat knows, and its stages. A failure in a stage is raised and ends the call.
struct Cleaner::Work {
    Cleaner& cleaner;
    std::int32_t threatID;
    bool forceDestroy;
    enCleanerErrors result = errNone;

    std::string name = {};
    std::string qThreatID = {};       ///< identifier in the quarantine
    std::string quarantinePath = {};  ///< folder in the quarantine, with its final backslash
    bool isQuarantine = false;        ///< the history counts it as one
    std::shared_ptr<DetectedThreat> detected = nullptr;
    enCustomRemovalType removalType = CustomRemovalTypeNone;
    std::string customData = {};

    // In the order of the work.

    void NoteAction() const;
    void Start();
    void OpenRow();
    /// @return false when the catalogue does not have the threat
    bool ReadCatalogue();
    /// @return false when nothing is known of where the threat is
    bool FindDetection();
    /// The part of a custom removal that comes first.
    /// @return whether it was all
    bool RunPreStep();
    void RemoveLocations();
    void RunPostStep();
    /// @param outQuarantineThreatID receives the identifier
    void Finish(std::string& outQuarantineThreatID);
    /// Raises nothing.
    void Store() const noexcept;

private:
    void RemoveFiles();
    void RemoveFolders();
    void RemoveRegistryEntries();
    void RemoveRegistryEntry(const ThreatLocationRegKey& location);
    void RemoveCookies();
    void CleanPolymorphicLocations();
    void Send(std::string_view details) const { cleaner.Send(details); }
};

}  // namespace kel
