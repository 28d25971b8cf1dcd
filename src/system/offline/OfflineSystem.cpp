#include "offline/OfflineSystem.h"

#include "offline/RegistryText.h"

namespace kel::offline {

void OfflineSystem::SetVariable(std::string_view name, std::string value) {
    variables_[LowerAscii(name)] = std::move(value);
}

std::string OfflineSystem::Expand(std::string_view text) const {
    std::string expanded;
    while (!text.empty()) {
        const std::size_t open = text.find('%');
        const std::size_t close = open == std::string_view::npos ? open : text.find('%', open + 1);
        if (close == std::string_view::npos) {
            break;
        }
        const auto found = variables_.find(LowerAscii(text.substr(open + 1, close - open - 1)));
        if (found == variables_.end()) {
            // The second sign may begin a name of its own.
            expanded += text.substr(0, close);
            text.remove_prefix(close);
        } else {
            expanded += text.substr(0, open);
            expanded += found->second;
            text.remove_prefix(close + 1);
        }
    }
    expanded += text;
    return expanded;
}

platform::Result<platform::OsVersion> OfflineSystem::Version() {
    if (!version_) {
        return platform::SysError::NotSupported;
    }
    return *version_;
}

std::string OfflineSystem::Environment(std::string_view name) {
    const auto found = variables_.find(LowerAscii(name));
    return found == variables_.end() ? std::string() : found->second;
}

}  // namespace kel::offline
