// Enumerations in a dry run.
#include <algorithm>
#include <memory>
#include <utility>

#include "decorators/DryRunFiles.h"
#include "decorators/OverlayFind.h"

namespace kel::decorators {

using platform::FindData;
using platform::Result;
using platform::SysError;

namespace {

bool IsDots(std::string_view name) {
    return name == "." || name == "..";
}

}  // namespace

Result<std::unique_ptr<platform::Find>> DryRunFiles::FindFirst(std::string_view pattern, FindData& first) {
    return Idle(pattern) ? Inner().FindFirst(pattern, first) : Enumerate(pattern, first, false);
}

Result<std::unique_ptr<platform::Find>> DryRunFiles::FindNames(std::string_view pattern, FindData& first) {
    return Idle(pattern) ? Inner().FindNames(pattern, first) : Enumerate(pattern, first, true);
}

Result<std::unique_ptr<platform::Find>> DryRunFiles::Enumerate(std::string_view pattern, FindData& first,
                                                               bool namesOnly) {
    const auto parsed = Parse(pattern);
    if (!parsed) {
        return parsed.Error();
    }
    if (parsed->IsRoot() || parsed->trailingBackslash) {
        return SysError::FileNotFound;
    }
    const OverlayPlace folder = overlay_.Find(parsed->Parent());
    if (folder.error != SysError::Success) {
        return SysError::PathNotFound;
    }
    const std::string& name = parsed->parts.back();
    if (folder.node == nullptr || (folder.node->children.empty() && !folder.real.empty())) {
        // The pattern itself where it names the same: what is behind its last backslash may be told from a path's end.
        const std::string real = folder.asOnMachine && !current_ ? std::string(pattern) : Below(folder.real, name);
        return namesOnly ? Inner().FindNames(real, first) : Inner().FindFirst(real, first);
    }
    if (!folder.node->folder) {
        return SysError::PathNotFound;
    }
    std::vector<FindData> entries;
    if (IsPattern(name)) {
        auto merged = Merge(*folder.node, folder.path.IsRoot(), name);
        if (!merged) {
            return merged.Error();
        }
        entries = *std::move(merged);
        if (entries.empty()) {
            return SysError::FileNotFound;
        }
    } else {
        auto data = overlay_.Data(overlay_.Find(*parsed));
        if (!data) {
            return data.Error();
        }
        entries.push_back(*std::move(data));
    }
    first = std::move(entries.front());
    entries.erase(entries.begin());
    return std::unique_ptr<platform::Find>(std::make_unique<OverlayFind>(std::move(entries)));
}

Result<std::vector<FindData>> DryRunFiles::Merge(const OverlayNode& folder, bool root, std::string_view pattern) {
    std::vector<FindData> entries;
    if (!folder.origin.empty()) {
        const std::string real = Below(folder.origin, pattern);
        FindData entry;
        // With all details also where names are enough: the enumeration is not there any more when they are asked for.
        auto find = Inner().FindFirst(real, entry);
        SysError error = find.Error();
        if (!find && error != SysError::FileNotFound && error != SysError::NoMoreFiles) {
            return error;
        }
        while (error == SysError::Success) {
            if (!folder.children.contains(inner_.text->ToUpper(entry.name))) {
                entries.push_back(entry);
            }
            error = (*find)->Next(entry);
        }
    } else if (!root && (pattern == "*" || pattern == "*.*" || pattern == "*.")) {
        for (const char* name : {".", ".."}) {
            FindData self;
            self.attributes = platform::AttributeDirectory;
            self.name = name;
            self.creation = self.lastAccess = self.lastWrite = folder.made;
            entries.push_back(std::move(self));
        }
    }
    for (const auto& [key, child] : folder.children) {
        if (child->gone || (!MatchesPattern(*inner_.text, child->name, pattern) &&
                            (child->shortName.empty() || !MatchesPattern(*inner_.text, child->shortName, pattern)))) {
            continue;
        }
        // What went away from the machine meanwhile is left out.
        if (auto data = overlay_.Data(*child)) {
            entries.push_back(*std::move(data));
        }
    }
    const auto listed =
        std::find_if(entries.begin(), entries.end(), [](const auto& each) { return !IsDots(each.name); });
    std::vector<std::pair<std::string, std::size_t>> order;
    for (auto entry = listed; entry != entries.end(); ++entry) {
        order.emplace_back(inner_.text->ToUpper(entry->name), static_cast<std::size_t>(entry - entries.begin()));
    }
    std::sort(order.begin(), order.end());
    std::vector<FindData> sorted(entries.begin(), listed);
    for (const auto& [name, index] : order) {
        sorted.push_back(std::move(entries[index]));
    }
    return sorted;
}

bool DryRunFiles::IsEmptyFolder(const OverlayPlace& place) {
    FindData entry;
    auto find = Enumerate(Below(place.path.Text(), "*"), entry, true);
    SysError error = find.Error();
    while (error == SysError::Success && IsDots(entry.name)) {
        error = (*find)->Next(entry);
    }
    return error == SysError::NoMoreFiles || error == SysError::FileNotFound;
}

}  // namespace kel::decorators
