#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kel {

/// One folder of a threat. A detection fills the path at which it was found alone. Fields in the order of the
/// interface.
class ThreatLocationFolder {
public:
    ThreatLocationFolder() = default;
    /// @param detectedFolderPath full path of the folder that was found
    explicit ThreatLocationFolder(std::string_view detectedFolderPath) : detectedFolderPath_(detectedFolderPath) {}
    ThreatLocationFolder(const ThreatLocationFolder&) = default;
    ThreatLocationFolder& operator=(const ThreatLocationFolder&) = delete;

    std::int32_t ThreatFolderID = 0;
    std::string FolderPath;
    std::int16_t OptionLevel = 0;
    [[nodiscard]] const std::string& DetectedFolderPath() const { return detectedFolderPath_; }
    void SetDetectedFolderPath(std::string_view path);

private:
    std::string detectedFolderPath_;
};

}  // namespace kel
