#include "decorators/OverlayPath.h"

#include <algorithm>

namespace kel::decorators {

using platform::Result;
using platform::SysError;

namespace {

char UpperLetter(char letter) {
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

void AddParts(std::vector<std::string>& parts, std::string_view rest) {
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('\\'), rest.size());
        const std::string_view part = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (part == "..") {
            if (!parts.empty()) {
                parts.pop_back();
            }
            continue;
        }
        // A pattern keeps its dots: `*.` is not `*`.
        const std::size_t last = part.find_last_not_of(IsPattern(part) ? " " : ". ");
        if (last != std::string_view::npos) {
            parts.emplace_back(part.substr(0, last + 1));
        }
    }
}

// `\\server\share` and what is behind it.
Result<OverlayPath> ParseShare(std::string_view path) {
    const std::size_t server = path.find('\\', 2);
    if (server == std::string_view::npos || server + 1 == path.size()) {
        return SysError::PathNotFound;
    }
    const std::size_t share = std::min(path.find('\\', server + 1), path.size());
    OverlayPath out;
    out.root = path.substr(0, share);
    AddParts(out.parts, path.substr(share));
    return out;
}

}  // namespace

std::string OverlayPath::Text() const {
    std::string text = root;
    for (const std::string& part : parts) {
        text += '\\';
        text += part;
    }
    return parts.empty() ? text + '\\' : text;
}

OverlayPath OverlayPath::Parent() const {
    OverlayPath parent{root, parts, false};
    if (!parent.parts.empty()) {
        parent.parts.pop_back();
    }
    return parent;
}

Result<OverlayPath> ParseOverlayPath(std::string_view path, const OverlayPath& current) {
    path = path.substr(0, path.find('\0'));
    if (path.starts_with("\\\\?\\") || path.starts_with("\\??\\")) {
        path.remove_prefix(4);
    }
    if (path.empty()) {
        return SysError::PathNotFound;
    }
    const bool trailing = path.ends_with('\\');
    if (path.starts_with("\\\\")) {
        auto share = ParseShare(path);
        if (share) {
            share->trailingBackslash = trailing;
        }
        return share;
    }
    OverlayPath out;
    out.trailingBackslash = trailing;
    out.root = current.root;
    bool relative = true;
    if (path.size() >= 2 && path[1] == ':') {
        out.root = std::string(1, UpperLetter(path[0])) + ':';
        relative = out.root == current.root;
        path.remove_prefix(2);
    }
    if (relative && !path.starts_with('\\')) {
        out.parts = current.parts;
    }
    AddParts(out.parts, path);
    return out;
}

std::string Below(std::string_view folder, std::string_view name) {
    std::string path(folder);
    if (!path.ends_with('\\')) {
        path += '\\';
    }
    return path += name;
}

bool IsImpossibleName(std::string_view name) {
    return std::any_of(name.begin(), name.end(), [](char byte) {
        return static_cast<unsigned char>(byte) < 0x20 ||
               std::string_view("<>\"|?*/:").find(byte) != std::string_view::npos;
    });
}

bool IsPattern(std::string_view name) {
    return name.find_first_of("*?<>\"") != std::string_view::npos;
}

}  // namespace kel::decorators
