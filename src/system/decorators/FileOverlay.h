// Which files and folders a dry run shows otherwise than the machine has them.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "decorators/OverlayContent.h"
#include "decorators/OverlayPath.h"
#include "platform/Platform.h"

namespace kel::decorators {

/// An entry that differs from the machine's, or lies above one that does. It hides what the machine has in its place.
struct OverlayNode {
    std::string name;
    std::string shortName;  ///< 8.3 name, empty where there is none
    std::string origin;     ///< path of the machine's entry that shows here; empty: made in the dry run
    bool gone = false;
    bool folder = false;
    std::optional<std::uint32_t> attributes;                       ///< where they were set
    platform::FileTime made = 0;                                   ///< of what was made here
    std::shared_ptr<OverlayContent> content;                       ///< of a file that was made or written
    std::map<std::string, std::unique_ptr<OverlayNode>> children;  ///< by name in upper case
};

/// Where a path leads.
struct OverlayPlace {
    OverlayPath path;
    /// Why nothing can be there; Success when `node` or, on the machine, `real` may be.
    platform::SysError error = platform::SysError::Success;
    OverlayNode* node = nullptr;
    std::string real;          ///< path of the machine's entry that shows there; empty: none
    bool asOnMachine = false;  ///< `real` is the path itself
};

class FileOverlay {
public:
    explicit FileOverlay(const platform::Platform& inner);

    /// Nothing was changed.
    [[nodiscard]] bool Empty() const { return roots_.empty(); }
    /// Nothing was changed on that drive, given by its letter.
    [[nodiscard]] bool Untouched(char letter) const;

    [[nodiscard]] OverlayPlace Find(OverlayPath path) const;
    /// What the place shows; an error when nothing is there.
    [[nodiscard]] platform::Result<platform::FindData> Data(const OverlayPlace& place) const;
    [[nodiscard]] platform::Result<platform::FindData> Data(const OverlayNode& node) const;
    /// Attributes alone, which is cheaper.
    [[nodiscard]] platform::Result<std::uint32_t> Attributes(const OverlayPlace& place) const;

    /// The node of an existing place, made if need be.
    OverlayNode& Hold(const OverlayPlace& place);
    /// A new entry under the last component's name, in place of what may have been there. The folder exists.
    OverlayNode& Make(const OverlayPlace& place, bool folder);
    /// Takes away what is there.
    void Remove(const OverlayPlace& place);
    /// Puts what is at `from` to `to`, whose folder exists.
    void Move(const OverlayPlace& from, const OverlayPlace& to);
    /// Whether both lead to the same entry, whatever their case.
    [[nodiscard]] bool SameEntry(const OverlayPlace& left, const OverlayPlace& right) const;

private:
    [[nodiscard]] std::string Fold(std::string_view name) const { return inner_.text->ToUpper(name); }
    [[nodiscard]] OverlayNode* Child(const OverlayNode& folder, std::string_view name) const;
    /// The folder above, with nodes all the way.
    OverlayNode& HoldFolder(const OverlayPath& path);
    OverlayNode& Root(const std::string& root);
    OverlayNode& Adopt(OverlayNode& folder, const std::string& name, std::unique_ptr<OverlayNode> node);
    [[nodiscard]] std::unique_ptr<OverlayNode> Shown(const std::string& real) const;
    [[nodiscard]] std::string NewShortName(const OverlayNode& folder, const std::string& name) const;

    platform::Platform inner_;
    std::map<std::string, std::unique_ptr<OverlayNode>> roots_;
};

/// The 8.3 name that a file would get beside others; empty when its own name is one.
/// @param taken tells which names are in use
[[nodiscard]] std::string MakeShortName(platform::Text& text, std::string_view name,
                                        const std::function<bool(const std::string&)>& taken);

}  // namespace kel::decorators
