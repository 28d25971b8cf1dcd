// Version and environment of the chosen user of a machine that does not run.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "platform/SystemInfo.h"

namespace kel::offline {

/// Answers what it is given: the machine view finds it out.
class OfflineSystem : public platform::SystemInfo {
public:
    void SetVersion(std::optional<platform::OsVersion> version) { version_ = std::move(version); }
    /// A later value of a name takes the place of an earlier one. Names compare without regard to case.
    void SetVariable(std::string_view name, std::string value);
    /// Each `%NAME%` of a variable that is set is replaced; others stay.
    [[nodiscard]] std::string Expand(std::string_view text) const;

    platform::Result<platform::OsVersion> Version() override;
    std::string Environment(std::string_view name) override;

private:
    std::optional<platform::OsVersion> version_;
    std::map<std::string, std::string> variables_;
};

}  // namespace kel::offline
