// The page of a scan in a browser: what a person reads there, that it fits, and that it is alone.
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include <nlohmann/json.hpp>

#include "PrefixRun.h"
#include "frontend/ExitCodes.h"

namespace kel::test {
namespace {

namespace fs = std::filesystem;
using frontend::ExitThreats;
using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

// The program that opens pages; empty when there is none.
std::string Browser() {
    std::istringstream folders(std::getenv("PATH") != nullptr ? std::getenv("PATH") : "");
    for (std::string folder; std::getline(folders, folder, ':');) {
        for (const char* name : {"chromium", "chromium-headless-shell"}) {
            if (::access((folder + "/" + name).c_str(), X_OK) == 0) {
                return folder + "/" + name;
            }
        }
    }
    return {};
}

class HtmlPage : public PrefixRun {
protected:
    void SetUp() override {
        if (Browser().empty()) {
            GTEST_SKIP() << "chromium is not installed";
        }
    }

    /// Scans into a page, opens it in a frame of a width, and gives what can be read and measured in there.
    json Opened(const std::vector<std::string>& more, int width) {
        std::vector<std::string> arguments{"--format", "html", "-o", (Root() / "page.html").string()};
        arguments.insert(arguments.end(), more.begin(), more.end());
        outcome = Scan(arguments);
        EXPECT_EQ(outcome.out, "");
        return Read(width);
    }

    json Read(int width) const {
        // The page runs no script, so one around it asks.
        Write("frame.html", "<!DOCTYPE html><meta charset=utf-8><iframe id=f style='width:" + std::to_string(width) +
                                R"(px;height:800px;border:0' src=page.html></iframe><pre id=told></pre><script>
f.onload = () => {
  const page = f.contentDocument, root = page.documentElement;
  const ranked = [...page.querySelectorAll('main > section[id^=threat]')].map(s => s.id);
  told.textContent = 'BEGIN' + btoa(unescape(encodeURIComponent(JSON.stringify({
    text: page.body.innerText, title: page.title, lang: root.lang, threats: ranked,
    links: [...page.querySelectorAll('a')].every(a => page.getElementById(a.hash.slice(1))),
    scripts: page.scripts.length + page.querySelectorAll('img,iframe,object,embed,link').length,
    resources: f.contentWindow.performance.getEntriesByType('resource').length,
    width: root.clientWidth, wide: root.scrollWidth,
    headings: [...page.querySelectorAll('h1,h2,h3')].map(h => h.localName).join(' '),
    banner: f.contentWindow.getComputedStyle(page.querySelector('header')).backgroundColor,
  })))) + '.END';
};
</script>)");
        const std::string dump = Dump((Root() / "frame.html").string());
        const std::size_t begin = dump.find("BEGIN");
        const std::size_t end = dump.find(".END", begin);  // no letter of what is between is a dot
        // The script itself has both words too, but not before the text that it makes.
        if (begin == std::string::npos || end == std::string::npos) {
            ADD_FAILURE() << dump;
            return {};
        }
        return json::parse(Decoded(dump.substr(begin + 5, end - begin - 5)));
    }

    Outcome outcome;

private:
    // What the browser makes of a page, as text.
    std::string Dump(const std::string& page) const {
        const std::string out = (Root() / "dump.html").string();
        const pid_t child = ::fork();
        if (child == 0) {
            const std::string profile = "--user-data-dir=" + (Root() / "browser").string();
            if (std::freopen(out.c_str(), "w", stdout) == nullptr ||
                std::freopen("/dev/null", "w", stderr) == nullptr) {
                ::_exit(126);
            }
            ::setenv("HOME", Root().c_str(), 1);
            ::execl("/usr/bin/timeout", "timeout", "-k", "5", "60", Browser().c_str(), "--headless", "--no-sandbox",
                    "--disable-gpu", "--disable-dev-shm-usage", "--allow-file-access-from-files", profile.c_str(),
                    "--virtual-time-budget=5000", "--dump-dom", ("file://" + page).c_str(), nullptr);
            ::_exit(127);
        }
        int status = 0;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
        std::ostringstream text;
        text << std::ifstream(out, std::ios::binary).rdbuf();
        return text.str();
    }

    static std::string Decoded(const std::string& base64) {
        static constexpr std::string_view Digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        std::string text;
        unsigned bits = 0;
        int held = 0;
        for (const char digit : base64) {
            const std::size_t value = Digits.find(digit);
            if (value == std::string_view::npos) {
                continue;
            }
            bits = (bits << 6) | static_cast<unsigned>(value);
            held += 6;
            if (held >= 8) {
                held -= 8;
                text += static_cast<char>((bits >> held) & 0xFFU);
            }
        }
        return text;
    }
};

TEST_F(HtmlPage, APersonReadsWhatWasFoundHowBadWhereAndWhatToDo) {
    const json page = Opened({}, 1000);
    EXPECT_EQ(outcome.code, ExitThreats);
    const std::string text = page.at("text");
    for (const char* part :
         {"4 threats found in 6 locations",
          "The most serious is Example.Path: Severe risk",
          "What was found",
          "Severe risk",
          "Low risk",
          "What to do",
          "This is a very high risk threat and should be removed immediately as to prevent harm to your computer or "
          "your privacy.",
          "This spyware cookie should be removed, as it serves no benefit to you.",
          "What it is",
          "A Trojan software is any software on a user's computer",
          "How bad it is",
          "Severe threats typically are remotely exploitable vulnerabilities",
          "Files (2)",
          "C:\\windows\\system32\\TIN.DLL",
          "Registry entries (1)",
          "HKEY_LOCAL_MACHINE\\Software\\Example [Banner]",
          "Cookies (1)",
          "ada@crumb.example[1].txt",
          "Folders (1)",
          "This scan",
          "common, drives, registry, cookies",
          "processes"}) {
        EXPECT_THAT(text, HasSubstr(part));
    }
    EXPECT_EQ(page.at("threats").front(), "threat-1");
    EXPECT_THAT(page.at("title"), HasSubstr("4 threats found in 6 locations"));
    EXPECT_EQ(page.at("lang"), "en");
    EXPECT_EQ(page.at("links"), true);
    EXPECT_THAT(page.at("headings"), testing::StartsWith("h1 h2 h2 h3"));
    EXPECT_EQ(page.at("banner"), "rgb(140, 16, 36)");
}

TEST_F(HtmlPage, ItIsAloneAndFitsOnAPhoneAndOnAScreen) {
    Write("machine/drive_c/" + std::string(100, 'w') + "/" + std::string(200, 'x') + ".exe", Bad());
    Opened({}, 1000);
    for (const int width : {360, 1400}) {
        const json page = Read(width);
        EXPECT_THAT(page.at("text"), HasSubstr(std::string(200, 'x')));
        EXPECT_EQ(page.at("scripts"), 0);
        EXPECT_EQ(page.at("resources"), 0);
        EXPECT_GT(page.at("width").get<int>(), width - 20) << "but for the bar at its side";
        EXPECT_LE(page.at("wide"), page.at("width")) << "in " << width;
    }
}

TEST_F(HtmlPage, NamesOfTheMachineAreTextAndNothingElse) {
    const std::string evil = "<img src=x onerror=document.title=1>&amp;`{{x}}";
    Write("machine/system.reg",
          std::string(SystemReg) + "\n[Software\\\\" + evil + "] 1700000000\n#time=1da1747c9e5c000\n");
    Tables tables = Planted();
    tables.regkeys = "2,HKEY_LOCAL_MACHINE,Software\\" + evil + ",,,0\n";
    MakeTables(tables);
    const std::string turned = "photo\xE2\x80\xAEgpj'.exe";
    Write("machine/drive_c/" + turned, Bad());
    const json page = Opened({}, 1000);
    EXPECT_EQ(outcome.code, ExitThreats);
    EXPECT_EQ(page.at("scripts"), 0);
    EXPECT_THAT(page.at("text"), HasSubstr("HKEY_LOCAL_MACHINE\\Software\\" + evil + "\n"));
    EXPECT_THAT(page.at("text"), HasSubstr("C:\\photo?gpj'.exe"));
    EXPECT_THAT(page.at("title"), testing::StartsWith("4 threats found"));
}

TEST_F(HtmlPage, ACleanMachineIsGreen) {
    const json page = Opened({"--path", "C:\\Program Files"}, 1000);
    EXPECT_EQ(outcome.code, frontend::ExitClean);
    EXPECT_THAT(page.at("text"), HasSubstr("No threats found\n"));
    EXPECT_THAT(page.at("text"), HasSubstr("There is nothing to do."));
    EXPECT_THAT(page.at("text"), Not(HasSubstr("What was found")));
    EXPECT_EQ(page.at("banner"), "rgb(23, 102, 58)");
}

}  // namespace
}  // namespace kel::test
