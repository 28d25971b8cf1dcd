// The files of a walk in the order in which it will come by them.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "system/LookAhead.h"

namespace kel {

/// Whether a walk enters a folder.
/// @param fullPath path of the folder, with its name
[[nodiscard]] bool MayBeEntered(std::string_view name, std::string_view fullPath);

/// The files of a folder, then those of its subfolders in their order, as Scanner's walk has it.
class WalkAhead : public AheadSource {
public:
    /// @param pattern names to take, as Files::MatchSpec has it; empty for all
    WalkAhead(std::string start, std::string pattern);
    bool Next(AheadItem& item, bool slow) override;

private:
    struct Level {
        std::shared_ptr<const AheadFolder> folder;
        std::size_t next = 0;
        bool enters = false;  ///< its files are through
        // Of its folders, those that were asked for: up to which entry, and how many of them were not entered yet.
        std::size_t askedTo = 0;
        unsigned asked = 0;
    };

    void Enter(std::string path);
    /// Nothing where the entry is no folder, or one that is not entered.
    static std::optional<std::string> PathToEnter(const Level& level, std::size_t index);
    static void AskForFolders(Level& level);

    std::string pattern_;
    std::vector<Level> levels_;
};

}  // namespace kel
