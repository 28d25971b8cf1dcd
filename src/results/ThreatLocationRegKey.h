#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/Registry.h"

namespace kel {

/// One registry key or value of a threat. A detection fills all but `ThreatRegKeyID`. Fields in the order of the
/// interface.
class ThreatLocationRegKey {
public:
    ThreatLocationRegKey() = default;
    /// @param regHive a predefined key's number
    ThreatLocationRegKey(platform::Hive regHive, std::string_view regkey, std::string_view regValueName = {},
                         std::string_view regValueData = {})
        : regHive_(regHive), regkey_(regkey), regValueName_(regValueName), regValueData_(regValueData) {}
    ThreatLocationRegKey(const ThreatLocationRegKey&) = default;
    ThreatLocationRegKey& operator=(const ThreatLocationRegKey&) = delete;

    std::int32_t ThreatRegKeyID = 0;
    [[nodiscard]] platform::Hive RegHive() const { return regHive_; }
    void SetRegHive(platform::Hive hive);
    [[nodiscard]] const std::string& Regkey() const { return regkey_; }
    void SetRegkey(std::string_view key);
    [[nodiscard]] const std::string& RegValueName() const { return regValueName_; }
    void SetRegValueName(std::string_view name);
    [[nodiscard]] const std::string& RegValueData() const { return regValueData_; }
    void SetRegValueData(std::string_view data);
    std::int16_t OptionLevel = 0;

private:
    platform::Hive regHive_ = 0;
    std::string regkey_;
    std::string regValueName_;
    std::string regValueData_;
};

}  // namespace kel
