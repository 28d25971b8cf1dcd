#include "catalogue/modThreats.h"

#include <utility>

#include "catalogue/AdviseTexts.h"
#include "catalogue/LevelTexts.h"
#include "catalogue/Threats.h"
#include "catalogue/TypeTexts.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "core/Value.h"

namespace kel::modThreats {

namespace {

std::string TypeDescription(std::string_view key, std::string_view procedure) {
    std::string description;
    Trap("modThreats", procedure, [&] { description = texts::TypeText(LCase(key)); });
    return description;
}

}  // namespace

std::string GetThreatTypeDescription(std::string_view Key) {
    return TypeDescription(Key, "GetThreatTypeDescription");
}

std::string GetCategoryDescription(std::string_view Key) {
    return TypeDescription(Key, "GetCategoryDescription");
}

std::string GetThreatLevelDisplayName(std::int32_t Level) {
    std::string name;
    Trap("modThreats", "GetThreatLevelDisplayName", [&] { name = texts::OfLevel(Level).name; });
    return name;
}

std::string GetThreatLevelDescription(std::int32_t Level) {
    std::string description;
    Trap("modThreats", "GetThreatLevelDescription", [&] { description = texts::OfLevel(Level).description; });
    return description;
}

std::int32_t GetThreatLevelFromCategory(std::string_view Category) {
    return texts::LevelOfCategory(LCase(Category));
}

std::string GetAdviseTypeDescription(std::int32_t AdviseType, std::string_view Category, std::int32_t ThreatLevel) {
    std::string description;
    Trap("modThreats", "GetAdviseTypeDescription",
         [&] { description = texts::AdviseText(AdviseType, LCase(Category), ThreatLevel); });
    return description;
}

std::shared_ptr<ThreatLite> GetThreatLiteByThreatID(std::int32_t ThreatID) {
    auto lite = std::make_shared<ThreatLite>();
    Trap("modThreats", "GetThreatLiteByThreatID", [&] {
        const Threats threats;
        if (const auto threat = threats.GetThreatByThreatID(ThreatID)) {
            // Every field that the catalogue fills is one that both records have.
            static_cast<ThreatRecord&>(*lite) = *threat;
        }
    });
    return lite;
}

std::shared_ptr<ThreatLiteKvo> CreateThreatLiteKvo(std::int32_t ThreatID) {
    std::shared_ptr<ThreatLiteKvo> kvo;
    Trap("modThreats", "CreateThreatLiteKvo", [&] {
        const Threats threats;
        const auto threat = threats.GetThreatByThreatID(ThreatID);
        if (!threat) {
            return;
        }
        kvo = std::make_shared<ThreatLiteKvo>();
        const auto add = [&](std::string_view tag, std::string value) { kvo->Add(std::move(value), tag); };
        const auto addFilled = [&](std::string_view tag, const std::string& value) {
            if (!value.empty()) {
                add(tag, value);
            }
        };
        addFilled("TN", threat->ThreatName);
        addFilled("C", threat->Category);
        add("TT", threat->ThreatType);
        addFilled("D", threat->DescriptionShort);
        addFilled("A", threat->Author);
        addFilled("AU", threat->AuthorURL);
        add("TL", Text(threat->ThreatLevel));
        add("AT", Text(threat->AdviseType));
        addFilled("AD", threat->AdviseDetails);
        add("CQ", ToText(threat->CanQuarantine));
        add("CRT", Text(threat->CustomRemovalType));
        addFilled("CD", threat->CustomData);
    });
    return kvo;
}

}  // namespace kel::modThreats
