#include "frontend/ScanOptions.h"

#include <array>
#include <charconv>

namespace kel::frontend {

namespace {

using Problem = std::optional<std::string>;

struct Word {
    std::string_view text;
    std::int32_t value;
};

constexpr std::array Depths{Word{"shallow", 1}, Word{"medium", 2}, Word{"deep", 3}};
constexpr std::array Formats{Word{"text", static_cast<std::int32_t>(OutputFormat::Text)},
                             Word{"jsonl", static_cast<std::int32_t>(OutputFormat::Jsonl)}};

template <std::size_t N>
std::optional<std::int32_t> Find(const std::array<Word, N>& words, std::string_view text) {
    for (const Word& word : words) {
        if (word.text == text) {
            return word.value;
        }
    }
    return std::nullopt;
}

Problem SetMachine(ScanOptions& options, const std::string& value) {
    options.machine = value;
    return std::nullopt;
}

bool BeginsWithLetter(std::string_view value) {
    return !value.empty() && ((value[0] >= 'A' && value[0] <= 'Z') || (value[0] >= 'a' && value[0] <= 'z'));
}

Problem AddDrive(ScanOptions& options, const std::string& value) {
    if (!BeginsWithLetter(value) || value.size() < 3 || value[1] != '=') {
        return "expected LETTER=DIR, not '" + value + "'";
    }
    options.drives.push_back(value);
    return std::nullopt;
}

Problem SetUser(ScanOptions& options, const std::string& value) {
    options.user = value;
    return std::nullopt;
}

Problem SetData(ScanOptions& options, const std::string& value) {
    options.data = value;
    return std::nullopt;
}

Problem SetUserData(ScanOptions& options, const std::string& value) {
    options.userData = value;
    return std::nullopt;
}

Problem AddPath(ScanOptions& options, const std::string& value) {
    if (!BeginsWithLetter(value) || value.size() < 2 || value[1] != ':') {
        return "expected a path of the machine that begins with its drive, like C:\\Temp, not '" + value + "'";
    }
    options.paths.push_back(value);
    return std::nullopt;
}

Problem SetDepth(ScanOptions& options, const std::string& value) {
    const auto depth = Find(Depths, value);
    if (!depth) {
        return "expected shallow, medium or deep, not '" + value + "'";
    }
    options.depth = *depth;
    return std::nullopt;
}

Problem SetMaxOption(ScanOptions& options, const std::string& value) {
    const char* end = value.data() + value.size();
    const auto [stop, error] = std::from_chars(value.data(), end, options.maxOption);
    if (error != std::errc() || stop != end || options.maxOption < 0) {
        return "expected a number from 0 to 32767, not '" + value + "'";
    }
    return std::nullopt;
}

Problem SetZips(ScanOptions& options, const std::string& /*value*/) {
    options.zips = true;
    return std::nullopt;
}

Problem SetFormat(ScanOptions& options, const std::string& value) {
    const auto format = Find(Formats, value);
    if (!format) {
        return "expected text or jsonl, not '" + value + "'";
    }
    options.format = static_cast<OutputFormat>(*format);
    return std::nullopt;
}

Problem SetNoProgress(ScanOptions& options, const std::string& /*value*/) {
    options.noProgress = true;
    return std::nullopt;
}

constexpr std::array Table{
#ifdef _WIN32
    OptionRow{"--machine", "DIR", false, "not on Windows, where the running machine is scanned", SetMachine},
#else
    OptionRow{"--machine", "DIR", false, "the machine: a Wine prefix, or the root of a Windows disk", SetMachine},
#endif
    OptionRow{"--drive", "LETTER=DIR", true, "a further drive of the machine; it counts as a fixed one", AddDrive},
    OptionRow{"--user", "NAME", false, "whose registry and folders are the current user's", SetUser},
    OptionRow{"--data", "DIR", false, "the folder of the signature tables (kelThreatData.sdb and its like)", SetData},
    OptionRow{"--user-data", "DIR", false, "the folder for logs, history and ignore list; made if missing",
              SetUserData},
    OptionRow{"--path", "PATH", true, "a folder of the machine to scan instead of all fixed drives", AddPath},
    OptionRow{"--depth", "DEPTH", false,
              "shallow: by path; medium: by MD5; deep: by MD5, or by path where there is none (the default)", SetDepth},
    OptionRow{"--max-option", "N", false,
              "apply signatures up to this option level (0, the default: only the sure ones)", SetMaxOption},
    OptionRow{"--zips", "", false, "look into zip archives", SetZips},
    OptionRow{"--format", "FORMAT", false, "text (the default) or jsonl: one JSON object a line on standard output",
              SetFormat},
    OptionRow{"--no-progress", "", false, "no progress line on the terminal", SetNoProgress},
};

}  // namespace

std::span<const OptionRow> ScanOptionTable() {
    return Table;
}

Problem CheckScanOptions(const ScanOptions& options) {
    if (options.data.empty()) {
        return "--data is required";
    }
    if (options.userData.empty()) {
        return "--user-data is required";
    }
#ifdef _WIN32
    if (!options.machine.empty() || !options.drives.empty() || !options.user.empty()) {
        return "--machine, --drive and --user belong to a machine that does not run; here the running one is scanned";
    }
#else
    if (options.machine.empty() && options.drives.empty()) {
        return "--machine or --drive is required";
    }
#endif
    return std::nullopt;
}

}  // namespace kel::frontend
