// Paths taken apart, as the overlay of files walks them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/Result.h"

namespace kel::decorators {

/// An absolute path. `.`, `..`, doubled backslashes and the trailing dots and blanks of its components are gone.
struct OverlayPath {
    std::string root;                ///< `C:` or `\\server\share`
    std::vector<std::string> parts;  ///< as they were written
    bool trailingBackslash = false;

    /// `C:\folder\name`; a drive alone is `C:\`.
    [[nodiscard]] std::string Text() const;
    [[nodiscard]] bool IsRoot() const { return parts.empty(); }
    /// The folder above; a root is its own.
    [[nodiscard]] OverlayPath Parent() const;
};

/// @param current what a relative path starts at
/// @return PathNotFound for an empty path and one without a root that can be told
[[nodiscard]] platform::Result<OverlayPath> ParseOverlayPath(std::string_view path, const OverlayPath& current);

/// Folder and name put together.
[[nodiscard]] std::string Below(std::string_view folder, std::string_view name);

/// Whether no file can have that name.
[[nodiscard]] bool IsImpossibleName(std::string_view name);
/// Whether the last component of a path is a pattern.
[[nodiscard]] bool IsPattern(std::string_view name);

}  // namespace kel::decorators
