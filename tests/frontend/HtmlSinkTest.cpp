// The page: its order, its texts, and that nothing of the machine becomes markup.
#include "frontend/HtmlSink.h"

#include <gmock/gmock.h>

#include "CapturedStream.h"
#include "frontend/Html.h"
#include "support/EngineTest.h"

namespace kel::frontend {
namespace {

using testing::HasSubstr;
using testing::Not;

class Page : public test::EngineTest {
protected:
    HtmlSink& Sink() { return sink_; }
    [[nodiscard]] std::string Text() const { return stream_.Text(); }

    static FindingRecord Found(std::int32_t threat, std::int32_t level, const std::string& kind,
                               const std::string& location) {
        FindingRecord finding;
        finding.threat = threat;
        finding.name = "Example." + std::to_string(threat);
        finding.category = "Adware";
        finding.level = level;
        finding.levelName = "Level" + std::to_string(level);
        finding.kind = kind;
        finding.location = location;
        finding.texts = std::make_shared<const ThreatTexts>(
            ThreatTexts{"It shows banners.", "It is bad.", "Remove it.\nThen restart.", "Example Ltd"});
        return finding;
    }
    static SummaryRecord Counts(std::int64_t threats, std::int64_t locations) {
        SummaryRecord summary;
        summary.complete = true;
        summary.threats = threats;
        summary.locations = locations;
        summary.files = 30;
        summary.registry = 1;
        summary.seconds = 1.25;
        return summary;
    }
    // What follows stands in the page in this order.
    void ExpectInOrder(const std::vector<std::string>& parts) const {
        const std::string page = Text();
        std::size_t from = 0;
        for (const std::string& part : parts) {
            const std::size_t at = page.find(part, from);
            ASSERT_NE(at, std::string::npos) << part;
            from = at + part.size();
        }
    }

private:
    test::CapturedStream stream_;
    Output out_{stream_.File()};
    HtmlSink sink_{out_};
};

TEST_F(Page, NothingIsWrittenBeforeTheSummary) {
    Sink().Start({});
    Sink().Finding(Found(1, 2, "file", "C:\\a.exe"));
    EXPECT_EQ(Text(), "");
    Sink().Summary(Counts(1, 1));
    EXPECT_THAT(Text(), testing::StartsWith("<!DOCTYPE html>\n<html lang=\"en\">\n"));
    EXPECT_THAT(Text(), testing::EndsWith("</body>\n</html>\n"));
}

TEST_F(Page, TellsWhatHowBadWhatToDoAndWhere) {
    Sink().Start({});
    Sink().Finding(Found(9001, 2, "registry", "HKEY_LOCAL_MACHINE\\Software\\X"));
    FindingRecord file = Found(9001, 2, "file", "C:\\a.exe");
    file.md5 = "0123456789abcdef0123456789abcdef";
    Sink().Finding(file);
    Sink().Summary(Counts(1, 2));
    ExpectInOrder({"<h1>1 threat found in 2 locations</h1>", "The most serious is Example.9001: Level2 risk.",
                   "<h2>What was found</h2>", "<a href=\"#threat-9001\">Example.9001</a>", "Adware", "Level2 risk",
                   "<section id=\"threat-9001\">", "<h3>What to do</h3>", "Remove it.<br>Then restart.",
                   "<h3>What it is</h3>", "It shows banners.", "<h3>How bad it is</h3>", "It is bad.", "Example Ltd",
                   "<h3>Files (1)</h3>", "<code>C:\\a.exe</code>", "MD5 0123456789abcdef0123456789abcdef",
                   "<h3>Registry entries (1)</h3>", "<code>HKEY_LOCAL_MACHINE\\Software\\X</code>"});
}

TEST_F(Page, TheWorstThreatComesFirst) {
    Sink().Start({});
    Sink().Finding(Found(1, 5, "cookie", "C:\\Cookies\\a.txt"));
    Sink().Finding(Found(2, 1, "folder", "C:\\b"));
    Sink().Finding(Found(3, 3, "custom", "C:\\c"));
    Sink().Summary(Counts(3, 3));
    ExpectInOrder({"<header class=\"l1\">", "The most serious is Example.2", "<section id=\"threat-2\">",
                   "<section id=\"threat-3\">", "<section id=\"threat-1\">"});
}

TEST_F(Page, ACleanMachineSaysSo) {
    Sink().Start({"ID", "/mnt/c", {"C:\\"}, "deep", "105", {"processes"}, {"common", "drives"}, 0, "1/2/2026"});
    Sink().Summary(Counts(0, 0));
    ExpectInOrder({"<header class=\"clean\">", "<h1>No threats found</h1>", "There is nothing to do.",
                   "<dt>Machine</dt><dd>/mnt/c</dd>", "<dt>Began</dt><dd>1/2/2026</dd>",
                   "<dt>Drives and folders</dt><dd>C:\\</dd>", "<dt>Stages</dt><dd>common, drives</dd>",
                   "<dt>Not available</dt><dd>processes</dd>",
                   "<dt>Looked at</dt><dd>30 files and folders, 1 registry entry</dd>"});
    EXPECT_THAT(Text(), Not(HasSubstr("What was found")));
}

TEST_F(Page, NothingFoundIsNotCleanWhenSomethingCouldNotBeLookedAt) {
    Sink().Start({});
    Sink().Error({"unreadable", "can't be read (error 5)", "C:\\locked.exe"});
    Sink().Error({"engine", "modX.Load: it failed", {}});
    SummaryRecord summary = Counts(0, 0);
    summary.errors = summary.unreadable = 1;
    Sink().Summary(summary);
    ExpectInOrder({"<header class=\"partial\">", "Not everything could be looked at",
                   "1 file or folder that could not be read", "<code>C:\\locked.exe</code> can&#39;t be read (error 5)",
                   "1 failure of the scan itself", "modX.Load: it failed"});
    EXPECT_THAT(Text(), Not(HasSubstr("nothing to do")));
}

TEST_F(Page, AnAbortedScanSaysWhy) {
    Sink().Start({});
    SummaryRecord summary = Counts(0, 0);
    summary.complete = false;
    summary.abortReason = "Interrupted by the user";
    Sink().Summary(summary);
    EXPECT_THAT(Text(), HasSubstr("The scan is not complete (Interrupted by the user)"));
    EXPECT_THAT(Text(), HasSubstr("<header class=\"partial\">"));
}

TEST_F(Page, AThreatThatTheCatalogueDoesNotKnowIsNamedByItsNumber) {
    Sink().Start({});
    FindingRecord finding;
    finding.threat = 77;
    finding.kind = "file";
    finding.location = "C:\\x";
    Sink().Finding(finding);
    Sink().Summary(Counts(1, 1));
    ExpectInOrder({"<header class=\"l0\">", "Threat 77", "Unknown risk", "The catalogue of threats says nothing"});
}

TEST_F(Page, WithACleanItIsWrittenBehindItAndTellsOfEachThreat) {
    StartRecord start;
    start.cleans = true;
    Sink().Start(start);
    Sink().Finding(Found(7, 2, "file", "C:\\a.exe"));
    Sink().Summary(Counts(1, 1));
    EXPECT_EQ(Text(), "") << "the clean is still to come";
    Sink().CleanStart({});
    CleanRecord gone;
    gone.threat = 7;
    gone.name = "Example.<7>";
    gone.quarantine = "AB-12";
    gone.items = {{"file", "C:\\<a>.exe", CleanItem::Result::Removed}, {"folder", "C:\\b", CleanItem::Result::Left}};
    gone.result = CleanRecord::Result::Partial;
    gone.reason = "not everything could be removed";
    Sink().Cleaned(gone);
    CleanRecord skipped;
    skipped.threat = 8;
    skipped.result = CleanRecord::Result::Skipped;
    skipped.reason = "interrupted by the user";
    Sink().Cleaned(skipped);
    CleanSummaryRecord summary;
    summary.partial = 1;
    summary.skipped = 1;
    summary.removed = 1;
    summary.left = 1;
    summary.interrupted = true;
    summary.nextStart = true;
    Sink().CleanSummary(summary);
    ExpectInOrder(
        {"What this program has removed stands below.", "<h2>What was removed</h2>",
         "<p>0 threats removed, 1 location in all; 1 in part</p>",
         "<p>What is left is removed at the next start of the machine</p>",
         "<p>Interrupted by the user: what was begun is done, the rest was left alone</p>",
         "Example.&lt;7&gt;  (threat 7): is in the quarantine in part as AB-12: not everything could be removed",
         "<li>removed: <code>C:\\&lt;a&gt;.exe</code></li>", "<li>left: <code>C:\\b</code></li>",
         "(threat 8): left alone: interrupted by the user"});
    EXPECT_THAT(Text(), Not(HasSubstr("<a>.exe")));
}

TEST_F(Page, ADryRunOfACleanListsTheWrites) {
    StartRecord start;
    start.cleans = true;
    Sink().Start(start);
    Sink().Finding(Found(7, 2, "file", "C:\\a.exe"));
    Sink().Summary(Counts(1, 1));
    Sink().Write({"file_removed", "C:\\<a>.exe", "", "would delete C:\\<a>.exe"});
    CleanSummaryRecord summary;
    summary.cleaned = 1;
    summary.dryRun = true;
    Sink().CleanSummary(summary);
    ExpectInOrder({"This program has removed nothing.", "<p>1 threat would be removed, 0 locations in all</p>",
                   "<p>This was a dry run: nothing was changed</p>", "<h2>What would have been written</h2>",
                   "would delete C:\\&lt;a&gt;.exe"});
}

TEST_F(Page, OfALongListTheRestIsFolded) {
    Sink().Start({});
    for (int number = 0; number < 60; ++number) {
        Sink().Finding(Found(1, 2, "file", "C:\\" + std::to_string(100 + number)));
    }
    Sink().Summary(Counts(1, 60));
    ExpectInOrder(
        {"<h3>Files (60)</h3>", "C:\\149", "<details><summary>10 more</summary>", "C:\\150", "C:\\159", "</details>"});
}

TEST_F(Page, NoTextOfTheMachineBecomesMarkup) {
    const std::string evil = "\"'><script>alert(1)</script>&amp;<img src=x onerror=alert(1)>\x1b[2J";
    Sink().Start({evil, evil, {evil}, evil, evil, {evil}, {evil}, 0, evil});
    FindingRecord finding = Found(1, 2, "file", evil);
    finding.name = finding.category = finding.levelName = finding.md5 = evil;
    finding.texts = std::make_shared<const ThreatTexts>(ThreatTexts{evil, evil, evil, evil});
    Sink().Finding(finding);
    Sink().Error({"unreadable", evil, evil});
    Sink().Error({"engine", evil, {}});
    SummaryRecord summary = Counts(1, 1);
    summary.complete = false;
    summary.abortReason = evil;
    Sink().Summary(summary);
    const std::string page = Text();
    EXPECT_THAT(page, Not(HasSubstr("<script")));
    EXPECT_THAT(page, Not(HasSubstr("<img")));
    EXPECT_EQ(page.find('\x1b'), std::string::npos);
    EXPECT_THAT(page, HasSubstr("&quot;&#39;&gt;&lt;script&gt;alert(1)&lt;/script&gt;&amp;amp;&lt;img"));
}

TEST_F(Page, NeedsNothingBesideIt) {
    Sink().Start({});
    Sink().Finding(Found(1, 2, "file", "C:\\a.exe"));
    Sink().Summary(Counts(1, 1));
    for (const char* outside : {"http:", "https:", "src=", "<link", "@import", "url("}) {
        EXPECT_THAT(Text(), Not(HasSubstr(outside)));
    }
    EXPECT_THAT(Text(), HasSubstr("content=\"default-src 'none'; style-src 'unsafe-inline'\""));
}

TEST_F(Page, TextOfTheMachineIsShownInUtf8) {
    EXPECT_EQ(Html(platform::Current().text->FromUtf8("Caf\xC3\xA9 <&>")), "Caf\xC3\xA9 &lt;&amp;&gt;");
}

}  // namespace
}  // namespace kel::frontend
