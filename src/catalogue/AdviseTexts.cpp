#include "catalogue/AdviseTexts.h"

#include <algorithm>
#include <array>

#include "catalogue/LevelTexts.h"

namespace kel::texts {

namespace {

constexpr std::string_view VeryHighRisk =
    "This is a very high risk threat and should be removed immediately as to prevent harm to your computer or your "
    "privacy.";
constexpr std::string_view HighRisk =
    "This is a high risk threat and should be removed or quarantined as to prevent harm to your computer or your "
    "privacy.";
constexpr std::string_view Quarantine = "This threat should be removed or quarantined.";
constexpr std::string_view LowRisk =
    "This is a low risk application and will not cause direct harm to your computer, removing it is not required.";
constexpr std::string_view ExtremelyHighRisk =
    "This is an extremely high risk threat and should be removed immediately as to prevent harm to your computer or "
    "your privacy.";
constexpr std::string_view QuarantineFromComputer = "This threat should be removed or quarantined from your computer.";
constexpr std::string_view LowRiskWithReview =
    "This is a low risk application and will not cause direct harm to your computer, removing it is not required. "
    "However, it is strongly recommended that you review this application's End User License Agreement (EULA) as well "
    "as review the application's privacy policies.";

struct CategoryText {
    std::string_view category;
    std::string_view text;
};

// These stand whatever the advise type and the level.
constexpr std::array CategoryTexts{
    CategoryText{
        "commercial remote control",
        "This is a potential high risk threat. However, if this application has been installed for standard remote "
        "computer administration by yourself or your administror this application is safe. If you are not aware of "
        "this application being installed remove it."},
    CategoryText{
        "low risk adware",
        "This is a low risk adware application and will not cause direct harm to your computer, removing it is not "
        "required. However, it is strongly recommended that you review this application's End User License Agreement "
        "(EULA) as well as review the application's privacy policies."},
    CategoryText{"potential privacy risk",
                 "This software is not necessarily hazardous however because of privacy concerns please review this "
                 "software's End User License Agreement (EULA) or privacy policy."},
    CategoryText{
        "enabler",
        "This software is not necessarily hazardous unless it is used by a particular spyware threat. If you "
        "quarantine or remove all of the spyware threats from your computer you do not necessarily need to remove this "
        "program. Please note: if a legitimate application is using functionality contained in an enabler application, "
        "removing the enabler may cause that application to cease functioning properly."},
    CategoryText{"adware bundler",
                 "This software is not necessarily adware. However, it does install other adware programs as well as "
                 "perform potential hazardous actions on your computer. In either case this software is not to be "
                 "trusted."},
};

enum class Condition { Category, Level, HighRiskCategory, Otherwise };

struct Rule {
    std::int32_t adviseType;
    Condition condition;
    std::string_view category;  ///< for Condition::Category
    std::int32_t level;         ///< for Condition::Level
    std::string_view text;
};

// The first rule that fits decides.
constexpr std::array Rules{
    Rule{0, Condition::Category, "cookie", 0, "This spyware cookie should be removed, as it serves no benefit to you."},
    Rule{0, Condition::Level, {}, 1, VeryHighRisk},
    Rule{0, Condition::Level, {}, 2, VeryHighRisk},
    Rule{0, Condition::Level, {}, 3, HighRisk},
    Rule{0, Condition::Level, {}, 4, Quarantine},
    Rule{0, Condition::Level, {}, 5, LowRisk},
    Rule{0, Condition::HighRiskCategory, {}, 0, ExtremelyHighRisk},
    Rule{1, Condition::Category, "cookie", 0, "This spyware cookie should be removed as it serves no benefit to you."},
    Rule{1, Condition::Level, {}, 1, VeryHighRisk},
    Rule{1, Condition::Level, {}, 2, VeryHighRisk},
    Rule{1, Condition::Level, {}, 3, HighRisk},
    Rule{1, Condition::Level, {}, 4, Quarantine},
    Rule{1, Condition::HighRiskCategory, {}, 0, ExtremelyHighRisk},
    Rule{1, Condition::Otherwise, {}, 0, QuarantineFromComputer},
    Rule{2, Condition::Level, {}, 5, LowRisk},
    Rule{2, Condition::Otherwise, {}, 0, LowRiskWithReview},
};

bool Fits(const Rule& rule, std::int32_t adviseType, std::string_view category, std::int32_t level) {
    if (rule.adviseType != adviseType) {
        return false;
    }
    switch (rule.condition) {
        case Condition::Category:
            return category == rule.category;
        case Condition::Level:
            return level == rule.level;
        case Condition::HighRiskCategory:
            return IsHighRiskCategory(category);
        case Condition::Otherwise:
            break;
    }
    return true;
}

}  // namespace

std::string_view AdviseText(std::int32_t adviseType, std::string_view category, std::int32_t level) {
    const auto own = std::find_if(CategoryTexts.begin(), CategoryTexts.end(),
                                  [&](const CategoryText& entry) { return entry.category == category; });
    if (own != CategoryTexts.end()) {
        return own->text;
    }
    const auto rule = std::find_if(Rules.begin(), Rules.end(),
                                   [&](const Rule& entry) { return Fits(entry, adviseType, category, level); });
    return rule == Rules.end() ? std::string_view() : rule->text;
}

}  // namespace kel::texts
