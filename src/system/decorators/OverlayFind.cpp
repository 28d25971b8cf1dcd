#include "decorators/OverlayFind.h"

#include <algorithm>
#include <string>

namespace kel::decorators {

namespace {

// `*` and `?` alone, both in upper case; a star gives back what it took too much.
bool MatchesSigns(platform::Text& text, std::string_view name, std::string_view pattern) {
    std::size_t star = std::string_view::npos;
    std::size_t resume = 0;
    std::size_t in = 0;
    std::size_t at = 0;
    const auto step = [&](std::size_t from) { return std::max<std::size_t>(text.Prefix(name.substr(from), 1), 1); };
    while (in < name.size()) {
        if (at < pattern.size() && pattern[at] == '*') {
            star = at++;
            resume = in;
        } else if (at < pattern.size() && pattern[at] == '?') {
            ++at;
            in += step(in);
        } else if (at < pattern.size() && pattern[at] == name[in]) {
            ++at;
            ++in;
        } else if (star != std::string_view::npos) {
            resume += step(resume);
            in = resume;
            at = star + 1;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of("*?", at) == std::string_view::npos;
}

}  // namespace

bool MatchesPattern(platform::Text& text, std::string_view name, std::string_view pattern) {
    if (pattern == "*" || pattern == "*.*") {
        return true;
    }
    const std::string folded = text.ToUpper(name);
    const std::string wanted = text.ToUpper(pattern);
    std::string_view signs = wanted;
    if (signs.ends_with('.')) {
        signs.remove_suffix(1);
        return folded.find('.') == std::string::npos && MatchesSigns(text, folded, signs);
    }
    if (MatchesSigns(text, folded, signs)) {
        return true;
    }
    return signs.ends_with(".*") && MatchesSigns(text, folded, signs.substr(0, signs.size() - 2));
}

}  // namespace kel::decorators
