#include <gmock/gmock.h>

#include <array>
#include <string>
#include <string_view>

#include "catalogue/modThreats.h"
#include "support/EngineTest.h"

namespace kel::test {
namespace {

using namespace modThreats;

struct Expected {
    std::string_view key;
    std::size_t length;
    std::string_view begin;
};

constexpr std::array TypeTexts{
    Expected{"adware", 460, "Adware is generally software that displays advertisements."},
    Expected{"adware bundler", 365,
             "A Bundler is a software program that installs adware on your computer either with your permission or "
             "without."},
    Expected{"aol exploit", 152,
             "An AOL exploit is a Trojan program that installs taking advantage of a user's AOL software."},
    Expected{"backdoor", 305,
             "A backdoor is a means of access to a computer program that bypasses any computer security mechanisms."},
    Expected{"browser hijacker", 303,
             "Browser hijackers are malicious programs that change a user's web browser settings, usually altering "
             "designated default start and search pages."},
    Expected{"browser plug-in", 457,
             "A browser plug-in is an application that can be installed within a user's web browser."},
    Expected{"commercial", 229,
             "A commercial application is software that can be purchased from a software vendor either online, or "
             "through a retail store."},
    Expected{"commercial adware", 460, "Adware is generally software that displays advertisements."},
    Expected{"commercial key logger", 316,
             "A commercial key logger is a program that is installed by a user of a computer to explicitly monitor "
             "the activity of other users."},
    Expected{"commercial rat", 556,
             "A commercial remote administration Tool (RAT) is software that is designed to provide a means for a "
             "remote user (server) to connect to a computer"},
    Expected{"commercial remote control", 320,
             "Yourself or your administrator for the purpose of managing a computer remotely installs a commercial "
             "remote control tool unlike a commercial RAT or a"},
    Expected{"cookie", 228,
             "Spyware cookies are designed to be shared among multiple unrelated sites for the purpose of tracking "
             "a user's usage and browsing patterns, gathering"},
    Expected{"dialer", 206, "A dialer is software that dials a phone number using your computer's modem."},
    Expected{"e-mail flooder", 338,
             "An e-mail flooder is an application that is usually installed on a user's computer by stealth means "
             "to send out spam (commercial bulk email) to"},
    Expected{"enabler", 579,
             "While not spyware, it provides functionality that spyware products have been known to exploit."},
    Expected{"file sharing program", 451,
             "File sharing programs, also known as P2P (peer to peer), are popular applications used to share "
             "files of any type such as movies and music across the"},
    Expected{"hostile activex control", 325,
             "A hostile ActiveX control is an application installed in Internet Explorer, usually by a "
             "drive-by-download."},
    Expected{"icq exploit", 156,
             "An ICQ exploit is a trojan program that installs taking advantage of a user's ICQ software."},
    Expected{"joke program", 127,
             "A joke program is a program that will typically fake the actions of a virus but will cause no harm "
             "at all to a user's computer."},
    Expected{"key logger", 241,
             "A key logger program runs in the background, recording all the keystrokes made by a user."},
    Expected{"low risk adware", 376,
             "Low risk adware is an adware application that is designed to potential show advertisements via "
             "popups."},
    Expected{"nuker", 144,
             "A nuker is a program designed to crash the user's personal computer or attempt to crash a remote "
             "computer using various known computer exploits."},
    Expected{"password hijacker", 222,
             "A password hijacker is a Trojan program used to steal the passwords from a user's computer such as "
             "its login passwords or passwords for many of the"},
    Expected{"potential privacy risk", 423,
             "Many applications that fit into this category offer highly valuable services, or tools to their "
             "customers free, using marketing data collection as a"},
    Expected{"rat", 348,
             "A Remote Administration Tool (RAT) is a Trojan type of software that when run, provides an attacker "
             "with the capability of remotely controlling a"},
    Expected{"remote installer", 271,
             "A remote installer is a program that is installed on a user's computer mostly via a stealth install."},
    Expected{"search hijacker", 392,
             "A Hijacker is software that resets your browser's settings to point to other sites."},
    Expected{"security disabler", 336,
             "A security disabler program is designed to install itself on a user's computer with the sole purpose "
             "to disable or remove common anti-virus, software"},
    Expected{"spyware", 417,
             "Spyware's primary purpose is to collect demographic and usage information from your computer, "
             "usually for advertising purposes."},
    Expected{"stealth loader", 0, ""},
    Expected{"stealth notifier", 320,
             "A stealth notifier, also know as a call-home Trojan, is a Trojan program that will connect to a "
             "remote server via a stealth connection and notify the"},
    Expected{"toolbar", 389,
             "An Internet Explorer toolbar is a plug-in to Internet Explorer that installs a toolbar within the "
             "web browser."},
    Expected{"trojan", 228,
             "A Trojan software is any software on a user's computer that the user is not aware or intentionally "
             "installed."},
    Expected{"trojan downloader", 332,
             "A Trojan Downloader is a program that is installed on a user's computer mostly via a stealth "
             "installation or bundled with other spyware threats."},
    Expected{"trojan ftp", 190,
             "A Trojan FTP is an FTP server that is installed on the user's computer by stealth means."},
    Expected{"trojan telnet", 283,
             "A Trojan Telnet is a Telnet server that that is installed on a user's computer by stealth means."},
    Expected{"worm", 172, "A worm is program that propagates by attacking other computers and copying itself to them."},
    Expected{"virus", 166,
             "A virus is a computer program that can reproduce by changing other programs to include a copy of "
             "itself."},
};

class DisplayTexts : public EngineTest {};

TEST_F(DisplayTexts, EachTypeHasItsFirstSentenceAndLength) {
    static_assert(TypeTexts.size() == 38);
    for (const Expected& expected : TypeTexts) {
        const std::string text = GetThreatTypeDescription(expected.key);
        EXPECT_EQ(text.size(), expected.length) << expected.key;
        EXPECT_TRUE(text.starts_with(expected.begin)) << text;
        EXPECT_EQ(GetCategoryDescription(expected.key), text);
    }
}

TEST_F(DisplayTexts, TypesReadAsSentences) {
    for (const Expected& expected : TypeTexts) {
        const std::string text = GetThreatTypeDescription(expected.key);
        for (const char c : text) {
            EXPECT_TRUE(c >= ' ' && c <= '~') << expected.key;
        }
        EXPECT_TRUE(text.empty() || text.back() == '.') << text;
        EXPECT_EQ(text.find("  "), std::string::npos) << text;
        EXPECT_EQ(text.find(" ,"), std::string::npos) << text;
        EXPECT_EQ(text.find(" ."), std::string::npos) << text;
    }
}

TEST_F(DisplayTexts, CaseOfAKeyDoesNotCount) {
    EXPECT_EQ(GetThreatTypeDescription("Adware"), GetThreatTypeDescription("adware"));
    EXPECT_EQ(GetThreatLevelFromCategory("COOKIE"), 5);
    EXPECT_EQ(GetAdviseTypeDescription(0, "Cookie", 0), GetAdviseTypeDescription(0, "cookie", 0));
}

TEST_F(DisplayTexts, CommercialAdwareReadsLikeAdwareAndStealthLoaderHasNoText) {
    EXPECT_EQ(GetThreatTypeDescription("commercial adware"), GetThreatTypeDescription("adware"));
    EXPECT_EQ(GetThreatTypeDescription("stealth loader"), "");
}

TEST_F(DisplayTexts, UnknownTypesHaveNoText) {
    EXPECT_EQ(GetThreatTypeDescription("hijacker"), "");
    EXPECT_EQ(GetThreatTypeDescription(""), "");
    EXPECT_EQ(GetCategoryDescription("no such thing"), "");
}

TEST_F(DisplayTexts, LevelsHaveNames) {
    EXPECT_EQ(GetThreatLevelDisplayName(1), "Severe");
    EXPECT_EQ(GetThreatLevelDisplayName(2), "High");
    EXPECT_EQ(GetThreatLevelDisplayName(3), "Elevated");
    EXPECT_EQ(GetThreatLevelDisplayName(4), "Moderate");
    EXPECT_EQ(GetThreatLevelDisplayName(5), "Low");
}

TEST_F(DisplayTexts, LevelsHaveDescriptions) {
    EXPECT_EQ(GetThreatLevelDescription(1),
              "Severe threats typically are remotely exploitable vulnerabilities, which can lead to system "
              "compromise. Successful exploitation does not normally require any interaction and exploits are in "
              "the wild. There exists a high possibility of potential system damage or security flaw. Attacker has "
              "complete control over your computer or install new software on your machine.");
    EXPECT_EQ(GetThreatLevelDescription(2),
              "High risk threats typically are remotely exploitable vulnerabilities, which can lead to system "
              "compromise. Successful exploitation does not normally require any interaction. May open up "
              "communication ports, use polymorphic tactics, stealth installations, and/or anti-spy counter "
              "measures. May us a security flaw in the operating system to gain access to your computer.");
    EXPECT_EQ(GetThreatLevelDescription(3),
              "Elevated threats are usually threats that fall into the range of adware in which data about a "
              "user's habits are tracked and sent back to a server for analysis without your consent or knowledge.");
    EXPECT_EQ(GetThreatLevelDescription(4),
              "Moderate threats may profile users online habits or broadcast data back to a server with 'opt-out' "
              "permission. In most cases this type of threat is more along the lines of commercial type adware "
              "that offer a premium service in exchange for tracking your user online performance.");
    EXPECT_EQ(GetThreatLevelDescription(5),
              "Low risk threats pose a very low risk or no immediate danger to your computer or your privacy, "
              "however these types of applications may profile user online habits, but only according to specific "
              "privacy policies stated in the applications End-User License. These types of threats generally "
              "borderline on being a threat to being a standard application that has a complex license agreement "
              "that you knowingly installed.");
}

TEST_F(DisplayTexts, OtherLevelsHaveNeither) {
    for (const std::int32_t level : {-1, 0, 6, 100}) {
        EXPECT_EQ(GetThreatLevelDisplayName(level), "");
        EXPECT_EQ(GetThreatLevelDescription(level), "");
    }
}

TEST_F(DisplayTexts, CategoriesHaveLevels) {
    for (const char* category : {"cookie", "enabler"}) {
        EXPECT_EQ(GetThreatLevelFromCategory(category), 5) << category;
    }
    for (const char* category : {"commercial rat", "rat", "dialer", "hijacker", "key logger"}) {
        EXPECT_EQ(GetThreatLevelFromCategory(category), 1) << category;
    }
    for (const char* category :
         {"commercial adware", "adware", "spyware", "commercial spyware", "trojan", "worm", "no such thing", ""}) {
        EXPECT_EQ(GetThreatLevelFromCategory(category), 2) << category;
    }
    for (const char* category : {"commercial remote control", "low risk adware"}) {
        EXPECT_EQ(GetThreatLevelFromCategory(category), 3) << category;
    }
}

// The texts that several rules share.
constexpr std::string_view VeryHigh =
    "This is a very high risk threat and should be removed immediately as to prevent harm to your computer or your "
    "privacy.";
constexpr std::string_view High =
    "This is a high risk threat and should be removed or quarantined as to prevent harm to your computer or your "
    "privacy.";
constexpr std::string_view Quarantine = "This threat should be removed or quarantined.";
constexpr std::string_view Low =
    "This is a low risk application and will not cause direct harm to your computer, removing it is not required.";
constexpr std::string_view Extreme =
    "This is an extremely high risk threat and should be removed immediately as to prevent harm to your computer "
    "or your privacy.";
constexpr std::string_view LowWithReview =
    "This is a low risk application and will not cause direct harm to your computer, removing it is not required. "
    "However, it is strongly recommended that you review this application's End User License Agreement (EULA) as well "
    "as review the application's privacy policies.";

TEST_F(DisplayTexts, SomeCategoriesHaveAnAdviseOfTheirOwnWhateverTypeAndLevel) {
    for (const std::int32_t type : {0, 1, 2, 3}) {
        for (const std::int32_t level : {0, 1, 5}) {
            EXPECT_EQ(GetAdviseTypeDescription(type, "commercial remote control", level),
                      "This is a potential high risk threat. However, if this application has been installed for "
                      "standard remote computer administration by yourself or your administror this application is "
                      "safe. If you are not aware of this application being installed remove it.");
            EXPECT_EQ(GetAdviseTypeDescription(type, "low risk adware", level),
                      "This is a low risk adware application and will not cause direct harm to your computer, "
                      "removing it is not required. However, it is strongly recommended that you review this "
                      "application's End User License Agreement (EULA) as well as review the application's privacy "
                      "policies.");
            EXPECT_EQ(GetAdviseTypeDescription(type, "potential privacy risk", level),
                      "This software is not necessarily hazardous however because of privacy concerns please "
                      "review this software's End User License Agreement (EULA) or privacy policy.");
            EXPECT_EQ(GetAdviseTypeDescription(type, "enabler", level),
                      "This software is not necessarily hazardous unless it is used by a particular spyware "
                      "threat. If you quarantine or remove all of the spyware threats from your computer you do "
                      "not necessarily need to remove this program. Please note: if a legitimate application is "
                      "using functionality contained in an enabler application, removing the enabler may cause "
                      "that application to cease functioning properly.");
            EXPECT_EQ(GetAdviseTypeDescription(type, "adware bundler", level),
                      "This software is not necessarily adware. However, it does install other adware programs as "
                      "well as perform potential hazardous actions on your computer. In either case this software "
                      "is not to be trusted.");
        }
    }
}

TEST_F(DisplayTexts, AdviseOfType0FollowsTheLevel) {
    EXPECT_EQ(GetAdviseTypeDescription(0, "cookie", 1),
              "This spyware cookie should be removed, as it serves no benefit to you.");
    EXPECT_EQ(GetAdviseTypeDescription(0, "spyware", 1), VeryHigh);
    EXPECT_EQ(GetAdviseTypeDescription(0, "spyware", 2), VeryHigh);
    EXPECT_EQ(GetAdviseTypeDescription(0, "rat", 3), High);
    EXPECT_EQ(GetAdviseTypeDescription(0, "rat", 4), Quarantine);
    EXPECT_EQ(GetAdviseTypeDescription(0, "rat", 5), Low);
    for (const char* category : {"commercial rat", "rat", "dialer", "hijacker", "key logger"}) {
        EXPECT_EQ(GetAdviseTypeDescription(0, category, 0), Extreme) << category;
        EXPECT_EQ(GetAdviseTypeDescription(0, category, 6), Extreme) << category;
    }
    EXPECT_EQ(GetAdviseTypeDescription(0, "spyware", 0), "");
}

TEST_F(DisplayTexts, AdviseOfType1HasNoSpecialCaseForLevel5) {
    EXPECT_EQ(GetAdviseTypeDescription(1, "cookie", 1),
              "This spyware cookie should be removed as it serves no benefit to you.");
    EXPECT_EQ(GetAdviseTypeDescription(1, "spyware", 1), VeryHigh);
    EXPECT_EQ(GetAdviseTypeDescription(1, "spyware", 2), VeryHigh);
    EXPECT_EQ(GetAdviseTypeDescription(1, "spyware", 3), High);
    EXPECT_EQ(GetAdviseTypeDescription(1, "spyware", 4), Quarantine);
    EXPECT_EQ(GetAdviseTypeDescription(1, "dialer", 5), Extreme);
    EXPECT_EQ(GetAdviseTypeDescription(1, "spyware", 5),
              "This threat should be removed or quarantined from your computer.");
    EXPECT_EQ(GetAdviseTypeDescription(1, "spyware", 0),
              "This threat should be removed or quarantined from your computer.");
}

TEST_F(DisplayTexts, AdviseOfType2AsksForAReviewExceptAtLevel5) {
    EXPECT_EQ(GetAdviseTypeDescription(2, "cookie", 5), Low);
    EXPECT_EQ(GetAdviseTypeDescription(2, "rat", 1), LowWithReview);
    EXPECT_EQ(GetAdviseTypeDescription(2, "", 0), LowWithReview);
}

TEST_F(DisplayTexts, OtherAdviseTypesHaveNoText) {
    EXPECT_EQ(GetAdviseTypeDescription(3, "rat", 1), "");
    EXPECT_EQ(GetAdviseTypeDescription(-1, "cookie", 0), "");
}

}  // namespace
}  // namespace kel::test
