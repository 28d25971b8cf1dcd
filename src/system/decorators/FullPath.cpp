#include "decorators/FullPath.h"

#include <algorithm>
#include <vector>

namespace kel::decorators {

namespace {

std::string_view WithoutTrailing(std::string_view part) {
    const std::size_t last = part.find_last_not_of(". ");
    return last == std::string_view::npos ? std::string_view() : part.substr(0, last + 1);
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
        } else if (const std::string_view name = WithoutTrailing(part); !name.empty()) {
            parts.emplace_back(name);
        }
    }
}

}  // namespace

std::string FullPath(const platform::Platform& platform, std::string_view path) {
    path = path.substr(0, path.find('\0'));
    if (path.starts_with("\\\\?\\")) {
        path.remove_prefix(4);
    }
    const std::string current = platform.text->ToLower(platform.files->CurrentFolder());
    const std::string wanted = platform.text->ToLower(path);
    std::string_view rest = wanted;
    std::string drive = current.substr(0, 2);
    std::vector<std::string> parts;
    bool relative = true;
    if (rest.size() >= 2 && rest[1] == ':') {
        relative = rest.substr(0, 2) == drive;
        drive = rest.substr(0, 2);
        rest.remove_prefix(2);
    }
    if (relative && !rest.starts_with('\\') && current.size() > 2) {
        AddParts(parts, std::string_view(current).substr(2));
    }
    AddParts(parts, rest);
    std::string full = drive;
    for (const std::string& part : parts) {
        full += '\\';
        full += part;
    }
    return parts.empty() ? full + '\\' : full;
}

bool IsInside(std::string_view path, std::string_view folder) {
    if (!path.starts_with(folder)) {
        return false;
    }
    return path.size() == folder.size() || folder.ends_with('\\') || path[folder.size()] == '\\';
}

}  // namespace kel::decorators
