// One threat in the quarantine.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "core/Collection.h"
#include "quarantine/QThreatLocationCookie.h"
#include "quarantine/QThreatLocationFile.h"
#include "quarantine/QThreatLocationFolder.h"
#include "quarantine/QThreatLocationRegKey.h"
#include "quarantine/QThreatLocationSpecial.h"

namespace kel {

class Threat;
class ThreatLite;

/// The record of what was taken away for one threat. Fields in the order of the interface. The collections are nothing
/// until somebody sets them; they have no keys.
class QuarantineThreat {
public:
    template <class Location>
    using Locations = std::shared_ptr<Collection<std::shared_ptr<Location>>>;

    /// Gives the record an identifier of its own.
    QuarantineThreat();

    std::string QuarantineThreatID;
    std::int32_t ThreatID = 0;
    std::string ThreatName;
    std::string Category;
    std::string ThreatAuthor;  ///< never filled by the readers
    std::string ScanID;
    std::string QuarantineDate;  ///< date and time as text of the machine's locale
    std::string QuarantinePath;  ///< the threat's folder in the quarantine, with its final backslash
    Locations<QThreatLocationCookie> QThreatLocationCookies;
    Locations<QThreatLocationFile> QThreatLocationFiles;
    Locations<QThreatLocationFolder> QThreatLocationFolders;
    Locations<QThreatLocationRegKey> QThreatLocationRegKeys;
    Locations<QThreatLocationSpecial> QThreatLocationSpecials;

    /// Kept as a client gave it; nothing in the engine looks at it.
    std::shared_ptr<ThreatLite> Threat;

    /// The catalogue's record of any threat; null for an unknown number.
    [[nodiscard]] static std::shared_ptr<kel::Threat> QThreat(std::int32_t ThreatID);
};

}  // namespace kel
