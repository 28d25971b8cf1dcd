#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "core/Collection.h"
#include "quarantine/Enumerations.h"
#include "quarantine/QuarantineThreat.h"

namespace kel {

/// What the cleaner took away, and the way back. Without state: every object works on the six tables of the process,
/// which only Cleaner.InitializeClean opens. The cleaner writes them; here they are read, restored from and emptied.
///
/// Failures are reported under the module "Quarantine" and the operation's name, and the result is then empty. Each
/// operation leaves the tables without a filter, but for a failure half-way.
class Quarantine {
public:
    using QuarantineThreats = Collection<std::shared_ptr<QuarantineThreat>>;

    // In slot order.

    // Two operations of a store that the engine no longer has: they fail, say so in the log, and answer errNone.
    enQuarantineErrors Add(const std::shared_ptr<QuarantineThreat>& oQuarantineThreat);
    enQuarantineErrors Delete(std::string_view QuarantineThreatID);

    /// The record with its cookies, files, folders and registry entries; the lines of ini files stay behind. Null for
    /// an unknown identifier.
    [[nodiscard]] std::shared_ptr<QuarantineThreat> GetQuarantineThreat(std::string_view QuarantineThreatID);
    /// The same for the first record of that threat.
    [[nodiscard]] std::shared_ptr<QuarantineThreat> GetQuarantineThreatByThreatID(std::int32_t ThreatID);
    /// All records, without their locations. Null after a failure only.
    [[nodiscard]] std::shared_ptr<QuarantineThreats> GetQuarantineThreats();
    /// Those of one scan, without regard to case; null when there is none.
    [[nodiscard]] std::shared_ptr<QuarantineThreats> GetQuarantineThreatsByScanID(std::string_view ScanID);
    /// Does nothing. @return always null
    [[nodiscard]] std::shared_ptr<QuarantineThreats> GetQuarantineThreatsByCategory(std::string_view Category);
    /// Those with a date; null when there is none. Any part but 0 is a failure: dates can't be asked by parts.
    [[nodiscard]] std::shared_ptr<QuarantineThreats> GetQuarantineThreatsByDate(std::int16_t intYear = 0,
                                                                                std::int16_t intMonth = 0,
                                                                                std::int16_t intDay = 0);
    [[nodiscard]] bool QuarantineThreatIDExists(std::string_view QuarantineThreatID);
    [[nodiscard]] bool QuarantineThreatExists(std::int32_t ThreatID);
    /// Identifier of the first record of that threat. Without one, the log says so and lists the threats that are
    /// there; the answer is then empty.
    [[nodiscard]] std::string GetQuarantineThreatIDFromThreatID(std::int32_t ThreatID);
    [[nodiscard]] std::int32_t Count();

    /// Puts everything back that is on record, and forgets the threat: what did not come back then is lost. A failure
    /// that is trapped ends it where it stands and keeps the record.
    /// @return errNone, errInvalidThreatID or errRestoreFailed
    enQuarantineErrors RestoreThreat(std::string_view QuarantineThreatID);
    /// Forgets the threat, and removes its folder with all that is in it.
    /// @return false when the folder could not be removed, was not there, or for an unknown identifier
    bool DestroyThreat(std::string_view QuarantineThreatID);

    /// The index as text in the form of XML; no value is escaped.
    [[nodiscard]] std::string GetQuarantineXML();
};

}  // namespace kel
