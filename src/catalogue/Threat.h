// A threat of the catalogue, as clients see it.
#pragma once

#include <memory>

#include "catalogue/ThreatRecord.h"
#include "core/Collection.h"

namespace kel {

class ThreatLocationCookie;
class ThreatLocationFile;
class ThreatLocationFolder;
class ThreatLocationRegKey;

/// The record with its locations. The catalogue has none: the four collections are there for clients, and nothing
/// until one sets them.
class Threat : public ThreatRecord {
public:
    template <class Location>
    using Locations = std::shared_ptr<Collection<std::shared_ptr<Location>>>;

    Locations<ThreatLocationCookie> ThreatLocationCookies;
    Locations<ThreatLocationFile> ThreatLocationFiles;
    Locations<ThreatLocationFolder> ThreatLocationFolders;
    Locations<ThreatLocationRegKey> ThreatLocationRegKeys;
};

}  // namespace kel
