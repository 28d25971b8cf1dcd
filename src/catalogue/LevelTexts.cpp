#include "catalogue/LevelTexts.h"

#include <algorithm>
#include <array>

namespace kel::texts {

namespace {

// Level 1 comes first.
constexpr std::array<LevelText, 5> Levels{{
    {"Severe",
     "Severe threats typically are remotely exploitable vulnerabilities, which can lead to system compromise. "
     "Successful exploitation does not normally require any interaction and exploits are in the wild. There exists a "
     "high possibility of potential system damage or security flaw. Attacker has complete control over your computer "
     "or install new software on your machine."},
    {"High",
     "High risk threats typically are remotely exploitable vulnerabilities, which can lead to system compromise. "
     "Successful exploitation does not normally require any interaction. May open up communication ports, use "
     "polymorphic tactics, stealth installations, and/or anti-spy counter measures. May us a security flaw in the "
     "operating system to gain access to your computer."},
    {"Elevated",
     "Elevated threats are usually threats that fall into the range of adware in which data about a user's habits are "
     "tracked and sent back to a server for analysis without your consent or knowledge."},
    {"Moderate",
     "Moderate threats may profile users online habits or broadcast data back to a server with 'opt-out' permission. "
     "In most cases this type of threat is more along the lines of commercial type adware that offer a premium service "
     "in exchange for tracking your user online performance."},
    {"Low",
     "Low risk threats pose a very low risk or no immediate danger to your computer or your privacy, however these "
     "types of applications may profile user online habits, but only according to specific privacy policies stated in "
     "the applications End-User License. These types of threats generally borderline on being a threat to being a "
     "standard application that has a complex license agreement that you knowingly installed."},
}};

struct CategoryLevel {
    std::string_view category;
    std::int32_t level;
};

constexpr std::array CategoryLevels{
    CategoryLevel{"cookie", 5},
    CategoryLevel{"enabler", 5},
    CategoryLevel{"commercial rat", 1},
    CategoryLevel{"rat", 1},
    CategoryLevel{"dialer", 1},
    CategoryLevel{"hijacker", 1},
    CategoryLevel{"key logger", 1},
    CategoryLevel{"commercial adware", 2},
    CategoryLevel{"adware", 2},
    CategoryLevel{"spyware", 2},
    CategoryLevel{"commercial spyware", 2},
    CategoryLevel{"trojan", 2},
    CategoryLevel{"commercial remote control", 3},
    CategoryLevel{"low risk adware", 3},
};
constexpr std::int32_t LevelOfOtherCategories = 2;

constexpr std::array<std::string_view, 5> HighRisk{"commercial rat", "rat", "dialer", "hijacker", "key logger"};

}  // namespace

LevelText OfLevel(std::int32_t level) {
    if (level < 1 || level > static_cast<std::int32_t>(Levels.size())) {
        return {};
    }
    return Levels[static_cast<std::size_t>(level - 1)];
}

std::int32_t LevelOfCategory(std::string_view category) {
    const auto found = std::find_if(CategoryLevels.begin(), CategoryLevels.end(),
                                    [&](const CategoryLevel& entry) { return entry.category == category; });
    return found == CategoryLevels.end() ? LevelOfOtherCategories : found->level;
}

bool IsHighRiskCategory(std::string_view category) {
    return std::find(HighRisk.begin(), HighRisk.end(), category) != HighRisk.end();
}

}  // namespace kel::texts
