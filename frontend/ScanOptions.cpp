#include "frontend/ScanOptions.h"

#include <array>
#include <charconv>
#include <limits>

#include "frontend/OptionTable.h"

namespace kel::frontend {

namespace {

using Problem = std::optional<std::string>;

struct Word {
    std::string_view text;
    std::int32_t value;
};

template <class Enumeration>
constexpr Word Named(std::string_view text, Enumeration value) {
    return {text, static_cast<std::int32_t>(value)};
}

constexpr std::array Depths{Word{"shallow", 1}, Word{"medium", 2}, Word{"deep", 3}};
constexpr std::array Formats{Named("text", OutputFormat::Text), Named("jsonl", OutputFormat::Jsonl),
                             Named("xml", OutputFormat::Xml), Named("html", OutputFormat::Html)};
constexpr std::array Reports{Named("summary", ScanReport::Summary),   Named("full", ScanReport::Full),
                             Named("files", ScanReport::Files),       Named("folders", ScanReport::Folders),
                             Named("registry", ScanReport::Registry), Named("cookies", ScanReport::Cookies)};
// The system's numbers of its priority classes. The one above "high" would starve the machine.
constexpr std::array Priorities{Word{"idle", 0x40}, Word{"below-normal", 0x4000}, Word{"normal", 0x20},
                                Word{"above-normal", 0x8000}, Word{"high", 0x80}};

template <std::size_t N>
Problem SetWord(const std::array<Word, N>& words, const std::string& value, std::int32_t& into) {
    std::string expected;
    for (std::size_t at = 0; at < N; ++at) {
        if (words[at].text == value) {
            into = words[at].value;
            return std::nullopt;
        }
        expected += std::string(at == 0 ? "" : at + 1 == N ? " or " : ", ") + std::string(words[at].text);
    }
    return "expected " + expected + ", not '" + value + "'";
}

template <class Number>
Problem SetNumber(const std::string& value, Number least, Number& into) {
    Number number = 0;
    const char* end = value.data() + value.size();
    const auto [stop, error] = std::from_chars(value.data(), end, number);
    if (error != std::errc() || stop != end || number < least) {
        return "expected a number from " + std::to_string(least) + " to " +
               std::to_string(std::numeric_limits<Number>::max()) + ", not '" + value + "'";
    }
    into = number;
    return std::nullopt;
}

template <bool ScanOptions::*Member>
Problem TurnOn(ScanOptions& options, const std::string& /*value*/) {
    options.*Member = true;
    return std::nullopt;
}

bool BeginsWithLetter(std::string_view value) {
    return !value.empty() && ((value[0] >= 'A' && value[0] <= 'Z') || (value[0] >= 'a' && value[0] <= 'z'));
}

Problem AddPath(ScanOptions& options, const std::string& value) {
    if (!BeginsWithLetter(value) || value.size() < 2 || value[1] != ':') {
        return "expected a path of the machine that begins with its drive, like C:\\Temp, not '" + value + "'";
    }
    options.paths.push_back(value);
    return std::nullopt;
}

Problem SetDepth(ScanOptions& options, const std::string& value) {
    return SetWord(Depths, value, options.depth);
}

Problem SetMaxOption(ScanOptions& options, const std::string& value) {
    return SetNumber<std::int16_t>(value, 0, options.maxOption);
}

Problem SetMaxMd5Len(ScanOptions& options, const std::string& value) {
    return SetNumber<std::int32_t>(value, 1, options.maxMd5Len);
}

Problem SetPriority(ScanOptions& options, const std::string& value) {
    return SetWord(Priorities, value, options.priority);
}

Problem SetThreat(ScanOptions& options, const std::string& value) {
    Problem problem = SetNumber<std::int32_t>(value, 1, options.threat);
    if (!problem) {
        options.threats.push_back(options.threat);
    }
    return problem;
}

Problem SetReport(ScanOptions& options, const std::string& value) {
    std::int32_t report = 0;
    Problem problem = SetWord(Reports, value, report);
    if (!problem) {
        options.report = static_cast<ScanReport>(report);
    }
    return problem;
}

Problem SetFormat(ScanOptions& options, const std::string& value) {
    std::int32_t format = 0;
    Problem problem = SetWord(Formats, value, format);
    if (!problem) {
        options.format = static_cast<OutputFormat>(format);
        options.formatNamed = true;
    }
    return problem;
}

Problem SetOutput(ScanOptions& options, const std::string& value) {
    if (value.empty()) {
        return "expected the name of a file";
    }
    options.output = value;
    return std::nullopt;
}

using Row = OptionRow<ScanOptions>;

constexpr std::array Table{
    Row{"--full", "", false,
        "every stage: processes and their modules, the most common places, all fixed drives, registry, cookies. The "
        "default when neither a stage nor --path is named",
        TurnOn<&ScanOptions::full>},
    Row{"--processes", "", false, "the programs of the running processes", TurnOn<&ScanOptions::processes>},
    Row{"--modules", "", false, "these, and every module that they have loaded", TurnOn<&ScanOptions::modules>},
    Row{"--common", "", false, "the most common places: where programs hook themselves in, known files and folders",
        TurnOn<&ScanOptions::common>},
    Row{"--path", "PATH", true,
        "a folder of the machine to walk; with --full instead of all fixed drives, otherwise beside the stages that "
        "are named",
        AddPath},
    Row{"--registry", "", false, "the registry signatures", TurnOn<&ScanOptions::registry>},
    Row{"--cookies", "", false, "the cookies", TurnOn<&ScanOptions::cookies>},
    Row{"--all-users", "", false, "cookies and hooks of all users, not of the current one alone",
        TurnOn<&ScanOptions::allUsers>},
    Row{"--quarantine", "", false, "REMOVE the threats that were found into the quarantine, behind the scan",
        TurnOn<&ScanOptions::quarantine>},
    Row{"--destroy", "", false, "REMOVE them and keep nothing of them", TurnOn<&ScanOptions::destroy>},
    Row{"--yes", "", false, "remove without a question; needed where there is no terminal", TurnOn<&ScanOptions::yes>},
    Row{"--threat", "N", true,
        "with --quarantine or --destroy: remove this threat, and leave others that were found alone. Otherwise look "
        "for one threat alone, by its registry and path signatures. Running threats, whichever they are, may be ENDED "
        "first",
        SetThreat},
    Row{"--depth", "DEPTH", false,
        "shallow: by path; medium: by MD5; deep: by MD5, or by path where there is none (the default)", SetDepth},
    Row{"--max-option", "N", false, "apply signatures up to this option level (0, the default: only the sure ones)",
        SetMaxOption},
    Row{"--max-md5-len", "BYTES", false,
        "files that are larger have no MD5 and are known by path alone (2500000 by default)", SetMaxMd5Len},
    Row{"--zips", "", false, "look into zip archives", TurnOn<&ScanOptions::zips>},
    Row{"--skip-common-files", "", false, "the most common places without the walk for known kinds of files",
        TurnOn<&ScanOptions::skipCommonFiles>},
    Row{"--suspend-active", "", false,
        "ENDS the processes of threats that run, before the scan; unsaved work in them is lost",
        TurnOn<&ScanOptions::suspendActive>},
    Row{"--priority", "CLASS", false,
        "idle, below-normal, normal, above-normal or high; how the machine treats the scan", SetPriority},
    Row{"--format", "FORMAT", false,
        "text (the default); jsonl: one JSON object a line; xml: the full report; html: a page to read", SetFormat},
    Row{"--report", "KIND", false,
        "the engine's report as XML: summary, full, files, folders, registry or cookies; on standard output, in the "
        "place of the results, or in the file of -o",
        SetReport},
    Row{"-o,--output", "FILE", false, "the file for the report of --report, or without one for the results", SetOutput},
    Row{"--no-progress", "", false, "no progress line on the terminal", TurnOn<&ScanOptions::noProgress>},
};

}  // namespace

std::span<const OptionRow<ScanOptions>> ScanOptionTable() {
    return Table;
}

Problem CheckScanOptions(const ScanOptions& options) {
    if (Problem problem = CheckSessionOptions(options)) {
        return problem;
    }
    if (options.report && options.output.empty() && options.formatNamed) {
        return "--report and --format both go to standard output; name a file for the report with -o";
    }
    const bool stages = options.full || options.processes || options.modules || options.common || options.registry ||
                        options.cookies || !options.paths.empty();
    if (options.quarantine && options.destroy) {
        return "--quarantine keeps what --destroy does not; name one of them";
    }
    if (options.Cleans()) {
        return std::nullopt;
    }
    if (options.threats.size() > 1) {
        return "without --quarantine or --destroy one --threat is all that can be looked for";
    }
    if (options.threat != 0 && stages) {
        return "--threat looks for its threat everywhere; it goes with no stage and no --path";
    }
    return std::nullopt;
}

}  // namespace kel::frontend
