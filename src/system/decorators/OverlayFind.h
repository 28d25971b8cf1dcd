// Folders that a dry run shows otherwise than the machine has them, listed.
#pragma once

#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/Files.h"
#include "platform/Text.h"

namespace kel::decorators {

/// Whether FindFirst with that pattern finds the name: `*.*` is every name, `*.` every one without a dot, `a.*` also
/// `a`, and a `?` at the end also matches nothing.
[[nodiscard]] bool MatchesPattern(platform::Text& text, std::string_view name, std::string_view pattern);

/// A listing that was made when it was asked for.
class OverlayFind final : public platform::Find {
public:
    /// @param entries without the first, which was given already
    explicit OverlayFind(std::vector<platform::FindData> entries) : entries_(std::move(entries)) {}
    platform::SysError Next(platform::FindData& entry) override {
        if (next_ == entries_.size()) {
            return platform::SysError::NoMoreFiles;
        }
        entry = std::move(entries_[next_++]);
        return platform::SysError::Success;
    }

private:
    std::vector<platform::FindData> entries_;
    std::size_t next_ = 0;
};

}  // namespace kel::decorators
