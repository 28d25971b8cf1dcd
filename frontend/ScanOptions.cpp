#include "frontend/ScanOptions.h"

#include <array>
#include <charconv>

#include "frontend/OptionTable.h"

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

using Row = OptionRow<ScanOptions>;

constexpr std::array Table{
    Row{"--path", "PATH", true, "a folder of the machine to scan instead of all fixed drives", AddPath},
    Row{"--depth", "DEPTH", false,
        "shallow: by path; medium: by MD5; deep: by MD5, or by path where there is none (the default)", SetDepth},
    Row{"--max-option", "N", false, "apply signatures up to this option level (0, the default: only the sure ones)",
        SetMaxOption},
    Row{"--zips", "", false, "look into zip archives", SetZips},
    Row{"--format", "FORMAT", false, "text (the default) or jsonl: one JSON object a line on standard output",
        SetFormat},
    Row{"--no-progress", "", false, "no progress line on the terminal", SetNoProgress},
};

}  // namespace

std::span<const OptionRow<ScanOptions>> ScanOptionTable() {
    return Table;
}

Problem CheckScanOptions(const ScanOptions& options) {
    return CheckSessionOptions(options);
}

}  // namespace kel::frontend
