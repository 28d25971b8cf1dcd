// The two ways in which names are matched: that of an enumeration and that of PathMatchSpec.
#pragma once

#include <string>
#include <string_view>

namespace kel::offline {

/// A pattern of FindFirstFile: `*` and `?` with the rules that it has kept from DOS: `*.*` is every name, `*.` every
/// name without a dot, `a.*` also `a`, and a `?` at the end also matches nothing.
class FindPattern {
public:
    explicit FindPattern(std::string_view pattern);

    [[nodiscard]] bool MatchesAll() const { return all_; }
    /// Whether `.` and `..` are enumerated too: for patterns that a name without a dot can match whole.
    [[nodiscard]] bool MatchesDots() const { return all_ || pattern_ == "<" || pattern_ == "*"; }
    /// @param folded a name in upper case
    [[nodiscard]] bool Matches(std::string_view folded) const;

    /// Whether the last component of a path is a pattern.
    [[nodiscard]] static bool IsPattern(std::string_view name);

private:
    std::string pattern_;  // in upper case, with the signs of the file system: < > and "
    bool all_ = false;
};

/// PathMatchSpec: a list of patterns with `;`.
[[nodiscard]] bool MatchSpecList(std::string_view name, std::string_view spec);

}  // namespace kel::offline
