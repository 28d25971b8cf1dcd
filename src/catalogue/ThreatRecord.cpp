#include "catalogue/ThreatRecord.h"

#include "catalogue/modThreats.h"

namespace kel {

std::string ThreatRecord::GetAdviseTypeDescription() const {
    return modThreats::GetAdviseTypeDescription(AdviseType, Category, ThreatLevel);
}

std::string ThreatRecord::GetThreatTypeDescription() const {
    return modThreats::GetThreatTypeDescription(ThreatType);
}

std::string ThreatRecord::GetCategoryDescription() const {
    return modThreats::GetCategoryDescription(Category);
}

std::int32_t ThreatRecord::GetThreatLevel() const {
    return ThreatLevel != 0 ? ThreatLevel : modThreats::GetThreatLevelFromCategory(Category);
}

std::string ThreatRecord::GetThreatLevelDisplayName() const {
    return modThreats::GetThreatLevelDisplayName(GetThreatLevel());
}

std::string ThreatRecord::GetThreatLevelDescription() const {
    return modThreats::GetThreatLevelDescription(GetThreatLevel());
}

std::string ThreatRecord::GetAdviseDisplay() const {
    std::string display = GetAdviseTypeDescription();
    if (!AdviseDetails.empty()) {
        display += "\r\n";
        display += AdviseDetails;
    }
    return display;
}

std::string ThreatRecord::GetDescriptionDisplay() const {
    if (!DescriptionShort.empty()) {
        return DescriptionShort;
    }
    std::string description = GetCategoryDescription();
    return description.empty() ? GetThreatTypeDescription() : description;
}

}  // namespace kel
