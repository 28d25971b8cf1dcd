// What Threat and ThreatLite have in common.
#pragma once

#include <cstdint>
#include <string>

namespace kel {

enum enCustomRemovalType : std::int32_t {
    CustomRemovalTypeNone = 0,
    CustomRemovalTypeNone1 = 1,
    CustomRemovalTypeLSP = 2,
    customRemovalTypeUninstaller = 3,
    CustomRemovalTypeCustomScriptDownload = 4,
    CustomRemovalTypeCustomScript = 5,
    CustomRemovalTypeCustomScriptDownloadOnly = 6,
    CustomRemovalTypeCustomScriptOnly = 7,
};

/// One threat as clients see it, with its display texts. Fields and operations in the order of the interface.
class ThreatRecord {
public:
    std::int32_t ThreatID = 0;
    std::string ThreatName;
    std::string Category;
    std::string ThreatType;
    std::string DescriptionShort;
    std::string Author;
    std::string AuthorURL;
    std::int32_t ThreatLevel = 0;  ///< 1, the worst, to 5; 0: it follows from the category
    std::string ThreatGeneralDeatils;
    std::string ThreatSecurityDetails;
    std::string ThreatPrivacyDetails;
    std::string ThreatStabilityDetails;
    std::int32_t AdviseType = 0;
    std::string AdviseDetails;
    std::int16_t OptionLevel = 0;
    bool CanQuarantine = false;
    enCustomRemovalType CustomRemovalType = CustomRemovalTypeNone;
    std::string CustomData;

    /// By the level of the record itself, not the derived one.
    [[nodiscard]] std::string GetAdviseTypeDescription() const;
    [[nodiscard]] std::string GetThreatTypeDescription() const;
    [[nodiscard]] std::string GetCategoryDescription() const;
    /// `ThreatLevel`, or the category's level where that is 0.
    [[nodiscard]] std::int32_t GetThreatLevel() const;
    [[nodiscard]] std::string GetThreatLevelDisplayName() const;
    [[nodiscard]] std::string GetThreatLevelDescription() const;
    /// The advise description, and `AdviseDetails` on a line of its own if there are any.
    [[nodiscard]] std::string GetAdviseDisplay() const;
    /// The first that is not empty: `DescriptionShort`, the category's description, the type's.
    [[nodiscard]] std::string GetDescriptionDisplay() const;

protected:
    ThreatRecord() = default;
};

}  // namespace kel
