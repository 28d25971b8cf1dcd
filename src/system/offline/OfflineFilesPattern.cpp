#include "offline/OfflineFilesPattern.h"

#include <algorithm>
#include <vector>

#include "offline/OfflineText.h"

namespace kel::offline {

namespace {

// The file system's own signs: a star up to the last dot, a `?` that may match nothing at a name's or part's end, and
// a dot that may stand behind the end.
constexpr char DosStar = '<';
constexpr char DosQuestion = '>';
constexpr char DosDot = '"';

std::size_t Step(std::string_view text, std::size_t at) {
    return std::max<std::size_t>(CharacterLength(text, at), 1);
}

// One pattern of PathMatchSpec against a whole name, both in upper case; `*` gives back what it took too much.
bool MatchOne(std::string_view name, std::string_view pattern) {
    std::size_t star = std::string_view::npos;
    std::size_t resume = 0;
    std::size_t in = 0;
    std::size_t at = 0;
    while (in < name.size()) {
        if (at < pattern.size() && pattern[at] == '*') {
            star = at++;
            resume = in;
        } else if (at < pattern.size() && pattern[at] == '?') {
            ++at;
            in += Step(name, in);
        } else if (at < pattern.size() && pattern[at] == name[in]) {
            ++at;
            ++in;
        } else if (star != std::string_view::npos) {
            resume += Step(name, resume);
            in = resume;
            at = star + 1;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', at) == std::string_view::npos;
}

}  // namespace

bool FindPattern::IsPattern(std::string_view name) {
    return name.find_first_of("*?<>\"") != std::string_view::npos;
}

FindPattern::FindPattern(std::string_view pattern) : all_(pattern == "*" || pattern == "*.*") {
    pattern_ = FoldName(pattern);
    for (std::size_t at = 0; at < pattern_.size(); ++at) {
        const char next = at + 1 < pattern_.size() ? pattern_[at + 1] : '\0';
        if (pattern_[at] == '?') {
            pattern_[at] = DosQuestion;
        } else if (pattern_[at] == '.' && (next == '?' || next == '*')) {
            pattern_[at] = DosDot;
        } else if (pattern_[at] == '*' && next == '.') {
            pattern_[at] = DosStar;
        }
    }
    // A last dot is no part of a name.
    while (!pattern_.empty() && pattern_.back() == '.') {
        pattern_.pop_back();
    }
}

// All positions of the pattern that the name so far can have led to, moved on character by character: no pattern
// takes longer than its length times the name's.
bool FindPattern::Matches(std::string_view folded) const {
    if (all_) {
        return true;
    }
    const std::size_t lastDot = folded.rfind('.');
    std::vector<char> here(pattern_.size() + 1, 0);
    std::vector<char> after(pattern_.size() + 1, 0);
    here[0] = 1;
    // What the signs allow without a character; `atEnd`: the name's end or a dot comes next.
    const auto skip = [this](std::vector<char>& positions, bool atDot, bool atEnd) {
        for (std::size_t at = 0; at < pattern_.size(); ++at) {
            if (positions[at] == 0) {
                continue;
            }
            const char sign = pattern_[at];
            if (sign == '*' || sign == DosStar || (sign == DosQuestion && (atDot || atEnd)) ||
                (sign == DosDot && atEnd)) {
                positions[at + 1] = 1;
            }
        }
    };
    for (std::size_t in = 0; in < folded.size();) {
        const std::size_t length = Step(folded, in);
        skip(here, folded[in] == '.', false);
        std::fill(after.begin(), after.end(), char{0});
        for (std::size_t at = 0; at < pattern_.size(); ++at) {
            if (here[at] == 0) {
                continue;
            }
            const char sign = pattern_[at];
            if (sign == '*' || (sign == DosStar && in != lastDot)) {
                after[at] = 1;
            } else if (sign == DosQuestion ? folded[in] != '.' : sign == DosDot && folded[in] == '.') {
                after[at + 1] = 1;
            } else if (std::string_view(pattern_).substr(at).starts_with(folded.substr(in, length))) {
                after[at + length] = 1;
            }
        }
        here.swap(after);
        in += length;
    }
    skip(here, false, true);
    return here[pattern_.size()] != 0;
}

bool MatchSpecList(std::string_view name, std::string_view spec) {
    const std::string folded = FoldName(name);
    const std::string patterns = FoldName(spec);
    std::string_view rest = patterns;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(';'), rest.size());
        std::string_view pattern = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        pattern.remove_prefix(std::min(pattern.find_first_not_of(' '), pattern.size()));
        if (pattern == "*.*" || (!pattern.empty() && MatchOne(folded, pattern))) {
            return true;
        }
    }
    return false;
}

}  // namespace kel::offline
