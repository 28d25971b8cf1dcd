#include "frontend/HtmlSink.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

#include "frontend/CleanTexts.h"
#include "frontend/ExitCodes.h"
#include "frontend/Html.h"

namespace kel::frontend {

namespace {

// A list of more is folded from here on; it opens with a click.
constexpr std::size_t Shown = 50;

struct Kind {
    std::string_view kind;
    std::string_view title;
};
constexpr std::array Kinds{Kind{"file", "Files"}, Kind{"folder", "Folders"}, Kind{"registry", "Registry entries"},
                           Kind{"cookie", "Cookies"}, Kind{"custom", "Settings and other places"}};

std::string Counted(std::int64_t count, std::string_view one, std::string_view many) {
    return std::to_string(count) + " " + std::string(count == 1 ? one : many);
}

// Level 0 is a threat that the catalogue doesn't know: nobody can say that it is harmless.
std::int32_t Rank(std::int32_t level) {
    return level == 0 ? 2 : level;
}

std::string LevelClass(std::int32_t level) {
    return "l" + std::to_string(level >= 1 && level <= 5 ? level : 0);
}

std::string Badge(const FindingRecord& finding) {
    return "<span class=\"badge " + LevelClass(finding.level) + "\">" +
           (finding.levelName.empty() ? "Unknown risk" : Html(finding.levelName) + " risk") + "</span>";
}

std::string NameOf(const FindingRecord& finding) {
    return finding.name.empty() ? "Threat " + std::to_string(finding.threat) : Html(finding.name);
}

std::string Title(const SummaryRecord& summary) {
    if (summary.threats > 0) {
        return Counted(summary.threats, "threat", "threats") + " found in " +
               Counted(summary.locations, "location", "locations");
    }
    return "No threats found";
}

std::string Paragraph(std::string_view title, const std::string& text, std::string_view attributes = {}) {
    if (text.empty()) {
        return {};
    }
    std::string page = "<h3>" + std::string(title) + "</h3>\n";
    // The texts of the catalogue may have lines.
    std::string inner = Html(text.substr(0, text.find_first_of("\r\n")));
    for (std::size_t at = text.find_first_of("\r\n"); at != std::string::npos;) {
        const std::size_t from = text.find_first_not_of("\r\n", at);
        if (from == std::string::npos) {
            break;
        }
        at = text.find_first_of("\r\n", from);
        inner += "<br>" + Html(text.substr(from, at - from));
    }
    return page + "<p" + std::string(attributes) + ">" + inner + "</p>\n";
}

// Items as a list, of which a long rest is folded.
std::string List(const std::vector<std::string>& items) {
    std::string page = "<ul>\n";
    for (std::size_t at = 0; at < items.size(); ++at) {
        if (at == Shown && items.size() > Shown + 1) {
            page += "</ul>\n<details><summary>" + std::to_string(items.size() - Shown) + " more</summary>\n<ul>\n";
        }
        page += "<li>" + items[at] + "</li>\n";
    }
    return page + (items.size() > Shown + 1 ? "</ul>\n</details>\n" : "</ul>\n");
}

std::string Fact(std::string_view name, const std::string& html) {
    return html.empty() ? "" : "<dt>" + std::string(name) + "</dt><dd>" + html + "</dd>\n";
}

std::string Joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : ", ") + Html(word);
    }
    return text;
}

std::string Scanned(const SummaryRecord& summary) {
    std::string text;
    const auto add = [&](std::int64_t count, std::string_view one, std::string_view many) {
        if (count > 0) {
            text += (text.empty() ? "" : ", ") + Counted(count, one, many);
        }
    };
    add(summary.processes, "program or module that runs", "programs and modules that run");
    add(summary.files, "file or folder", "files and folders");
    add(summary.registry, "registry entry", "registry entries");
    add(summary.cookies, "cookie", "cookies");
    return text.empty() ? "nothing" : text;
}

std::string Advice(const SummaryRecord& summary, const FindingRecord* worst, const CleanSummaryRecord* clean) {
    std::string text;
    if (worst != nullptr) {
        text = "The most serious is " + NameOf(*worst) + ": " +
               (worst->levelName.empty() ? "unknown" : Html(worst->levelName)) +
               " risk. What to do stands beside each threat. " +
               (clean == nullptr || clean->dryRun || clean->cleaned + clean->partial + clean->failed == 0
                    ? "This program has removed nothing."
                    : "What this program has removed stands below.");
    } else if (Verdict(summary) == ExitClean) {
        text = "Nothing that the signatures know is here. There is nothing to do.";
    }
    const auto add = [&](const std::string& sentence) { text += (text.empty() ? "" : " ") + sentence; };
    if (!summary.complete) {
        add("The scan is not complete" + (summary.abortReason.empty() ? "" : " (" + Html(summary.abortReason) + ")") +
            ": run it again to its end before you rely on it.");
    } else if (summary.unreadable + summary.errors > 0) {
        add("Not everything could be looked at; what is left out stands at the end.");
    }
    return text;
}

std::string Overview(const std::vector<const std::vector<FindingRecord>*>& threats) {
    std::string page =
        "<section>\n<h2>What was found</h2>\n<table>\n<thead><tr><th>Threat</th><th>Kind</th><th>Risk</th>"
        "<th>Locations</th></tr></thead>\n<tbody>\n";
    for (const auto* threat : threats) {
        const FindingRecord& first = threat->front();
        page += "<tr><td><a href=\"#threat-" + std::to_string(first.threat) + "\">" + NameOf(first) + "</a></td><td>" +
                Html(first.category) + "</td><td>" + Badge(first) + "</td><td>" + std::to_string(threat->size()) +
                "</td></tr>\n";
    }
    return page + "</tbody>\n</table>\n</section>\n";
}

std::string Places(const std::vector<FindingRecord>& findings) {
    std::string page;
    for (const Kind& kind : Kinds) {
        std::vector<std::string> items;
        for (const FindingRecord& finding : findings) {
            if (finding.kind == kind.kind) {
                items.push_back(
                    "<code>" + Html(finding.location) + "</code>" +
                    (finding.md5.empty() ? "" : " <span class=\"faint\">MD5 " + Html(finding.md5) + "</span>"));
            }
        }
        if (!items.empty()) {
            page += "<h3>" + std::string(kind.title) + " (" + std::to_string(items.size()) + ")</h3>\n" + List(items);
        }
    }
    return page;
}

std::string ThreatSection(const std::vector<FindingRecord>& findings) {
    const FindingRecord& first = findings.front();
    std::string page = "<section id=\"threat-" + std::to_string(first.threat) + "\">\n<h2>" + NameOf(first) + " " +
                       Badge(first) + "</h2>\n<p class=\"faint\">" +
                       (first.category.empty() ? "" : Html(first.category) + ", ") + "threat " +
                       std::to_string(first.threat) + "</p>\n";
    if (first.texts) {
        page += Paragraph("What to do", first.texts->advice, " class=\"todo\"");
        page += Paragraph("What it is", first.texts->description);
        page += Paragraph("How bad it is", first.texts->levelDescription);
        page += Paragraph("Who makes it", first.texts->author);
    } else {
        page += Paragraph("What it is", "The catalogue of threats says nothing about it.");
    }
    return page + Places(findings) + "</section>\n";
}

std::string Failures(const std::vector<ErrorRecord>& errors) {
    std::vector<std::string> unreadable;
    std::vector<std::string> engine;
    for (const ErrorRecord& error : errors) {
        if (error.kind == "unreadable") {
            unreadable.push_back("<code>" + Html(error.location) + "</code> " + Html(error.message));
        } else {
            engine.push_back(Html(error.message));
        }
    }
    std::string page;
    if (!unreadable.empty()) {
        page += "<section id=\"unreadable\">\n<h2>" +
                Counted(static_cast<std::int64_t>(unreadable.size()), "file or folder", "files and folders") +
                " that could not be read</h2>\n<p>A threat in one of them would not have been found. Give the scan the "
                "rights to read them, or close the programs that hold them, and scan again.</p>\n" +
                List(unreadable) + "</section>\n";
    }
    if (!engine.empty()) {
        page += "<section id=\"failures\">\n<h2>" +
                Counted(static_cast<std::int64_t>(engine.size()), "failure", "failures") +
                " of the scan itself</h2>\n<p>They are in errors.log too.</p>\n" + List(engine) + "</section>\n";
    }
    return page;
}

std::string CleanSection(const std::vector<CleanRecord>& threats, const CleanSummaryRecord& clean) {
    std::string page = "<section id=\"clean\">\n<h2>What was removed</h2>\n";
    for (const std::string& line : Conclusion(clean)) {
        page += "<p>" + Html(line) + "</p>\n";
    }
    for (const CleanRecord& threat : threats) {
        page += "<h3>" + Html(Outcome(threat, clean.destroys)) + "</h3>\n";
        std::vector<std::string> items;
        for (const CleanItem& item : threat.items) {
            items.push_back(std::string(NameOf(item.result)) + ": <code>" + Html(item.location) + "</code>");
        }
        if (!items.empty()) {
            page += List(items);
        }
    }
    return page + "</section>\n";
}

std::string WriteSection(const std::vector<WriteRecord>& writes) {
    if (writes.empty()) {
        return {};
    }
    std::vector<std::string> items;
    items.reserve(writes.size());
    for (const WriteRecord& write : writes) {
        items.push_back("<code>" + Html(write.text) + "</code>");
    }
    return "<section id=\"writes\">\n<h2>What would have been written</h2>\n<p>This was a dry run.</p>\n" +
           List(items) + "</section>\n";
}

}  // namespace

std::vector<const HtmlSink::Findings*> HtmlSink::ByLevel() const {
    std::vector<const Findings*> threats;
    for (const auto& [threat, findings] : findings_) {
        threats.push_back(&findings);
    }
    std::stable_sort(threats.begin(), threats.end(), [](const Findings* left, const Findings* right) {
        return Rank(left->front().level) < Rank(right->front().level);
    });
    return threats;
}

void HtmlSink::Summary(const SummaryRecord& record) {
    summary_ = record;
    if (!start_.cleans) {
        WritePage(nullptr);
    }
}

void HtmlSink::CleanSummary(const CleanSummaryRecord& record) {
    WritePage(&record);
}

void HtmlSink::WritePage(const CleanSummaryRecord* clean) {
    const SummaryRecord& record = summary_;
    const std::vector<const Findings*> threats = ByLevel();
    const FindingRecord* worst = threats.empty() ? nullptr : &threats.front()->front();
    const std::string banner = worst != nullptr               ? LevelClass(worst->level)
                               : Verdict(record) == ExitClean ? "clean"
                                                              : "partial";
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%.1f s", record.seconds);

    std::string page =
        "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'unsafe-inline'\">\n"
        "<meta name=\"referrer\" content=\"no-referrer\">\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>";
    page += Title(record) + " - " + Html(start_.machine) + "</title>\n<style>" + std::string(HtmlStyle()) +
            "</style>\n</head>\n<body>\n<header class=\"" + banner + "\"><div>\n<p>Ombrelane scan report</p>\n<h1>" +
            Title(record) + "</h1>\n<p>" + Advice(record, worst, clean) + "</p>\n</div></header>\n<main>\n";
    if (!threats.empty()) {
        page += Overview(threats);
    }
    if (clean != nullptr) {
        page += CleanSection(cleaned_, *clean);
    }
    for (const Findings* threat : threats) {
        page += ThreatSection(*threat);
    }
    page += "<section id=\"scan\">\n<h2>This scan</h2>\n<dl>\n" + Fact("Machine", Html(start_.machine)) +
            Fact("Began", Html(start_.date)) + Fact("Took", seconds) +
            Fact("Looked for", start_.threat == 0 ? "" : "threat " + std::to_string(start_.threat) + " alone") +
            Fact("Drives and folders", Joined(start_.targets)) + Fact("Stages", Joined(start_.stages)) +
            Fact("Not available", Joined(start_.notAvailable)) + Fact("Depth", Html(start_.depth)) +
            Fact("Looked at", Scanned(record)) + Fact("Signature data", Html(start_.dataVersion)) +
            Fact("Scan", Html(start_.scanId)) + "</dl>\n</section>\n" + Failures(errors_) + WriteSection(writes_) +
            "</main>\n<footer>ombrelane " KEL_VERSION "</footer>\n</body>\n</html>\n";
    out_.Write(page);
}

}  // namespace kel::frontend
