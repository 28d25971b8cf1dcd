// A threat that a scan found, with the locations that belong to it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "core/Collection.h"
#include "results/Enumerations.h"
#include "results/LocationIndex.h"
#include "results/ThreatLocationCookie.h"
#include "results/ThreatLocationCustom.h"
#include "results/ThreatLocationFile.h"
#include "results/ThreatLocationFolder.h"
#include "results/ThreatLocationRegKey.h"

namespace kel {

class ThreatLite;

/// One for each threat number in a scan. Fields in the order of the interface; the five collections are there, empty,
/// from the start, have no keys, and keep the order of detection.
class DetectedThreat {
public:
    template <class Location>
    using Locations = std::shared_ptr<Collection<std::shared_ptr<Location>>>;

    std::int32_t ThreatID = 0;
    std::string ScanID;
    enScanType ScanType{};         ///< of the first finding; later ones do not change it
    std::int16_t OptionLevel = 0;  ///< level of the signature that matched at the first finding
    Locations<ThreatLocationCookie> ThreatLocationCookies = MakeLocations<ThreatLocationCookie>();
    Locations<ThreatLocationFile> ThreatLocationFiles = MakeLocations<ThreatLocationFile>();
    Locations<ThreatLocationFolder> ThreatLocationFolders = MakeLocations<ThreatLocationFolder>();
    Locations<ThreatLocationRegKey> ThreatLocationRegKeys = MakeLocations<ThreatLocationRegKey>();
    Locations<ThreatLocationCustom> ThreatLocationCustoms = MakeLocations<ThreatLocationCustom>();
    enDetectedThreatAction DetectedThreatAction = DetectedThreatActionNone;
    std::shared_ptr<ThreatLite> Threat;  ///< the catalogue's record, kept as given

    /// Whether one of the file locations was found at this path, without regard to case. The time that it takes does
    /// not grow with the locations.
    [[nodiscard]] bool HasFile(std::string_view path);
    /// The same for the folder locations.
    [[nodiscard]] bool HasFolder(std::string_view path);
    /// Whether one of the registry locations is exactly this one.
    [[nodiscard]] bool HasRegKey(platform::Hive hive, std::string_view key, std::string_view valueName,
                                 std::string_view valueData);
    /// Whether one of the custom locations has this number.
    [[nodiscard]] bool HasCustom(std::int32_t customID);

private:
    template <class Location>
    static Locations<Location> MakeLocations() {
        return std::make_shared<Collection<std::shared_ptr<Location>>>();
    }

    static std::string FileKey(const ThreatLocationFile& location);
    static std::string FolderKey(const ThreatLocationFolder& location);
    static std::string RegKeyKey(const ThreatLocationRegKey& location);
    static std::int32_t CustomKey(const ThreatLocationCustom& location);

    LocationIndex<ThreatLocationFile, &DetectedThreat::FileKey> files_;
    LocationIndex<ThreatLocationFolder, &DetectedThreat::FolderKey> folders_;
    LocationIndex<ThreatLocationRegKey, &DetectedThreat::RegKeyKey> regKeys_;
    LocationIndex<ThreatLocationCustom, &DetectedThreat::CustomKey> customs_;
};

}  // namespace kel
