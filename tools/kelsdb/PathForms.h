// Whether a signature's path has the form in which the engine asks for paths.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "system/clsFolderPaths.h"

namespace kel::kelsdb {

struct PathFinding {
    std::string fault;
    bool unreachable = true;  ///< no lookup finds the key; else it is merely odd
};

/// Tries keys out on some usual machines, with the engine's own translation: the Windows folder, the profiles and the
/// start menu lie elsewhere on each of them.
class PathForms {
public:
    PathForms();

    /// Findings for the trimmed key of a file or of a folder; none for a good one. A folder is also asked for by its
    /// real path, and is found by a walk of the table; a file with wildcards only by such a walk.
    [[nodiscard]] std::vector<PathFinding> File(std::string_view key) const;
    [[nodiscard]] std::vector<PathFinding> Folder(std::string_view key) const;

private:
    [[nodiscard]] bool Reachable(const std::string& key, std::string& asked) const;

    std::vector<clsFolderPaths> machines_;
};

}  // namespace kel::kelsdb
