#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "results/Enumerations.h"

namespace kel {

/// One file of a threat. The catalogue fills the first fields; a detection fills `MD5`, `OptionLevel` and the path at
/// which it was found. Fields in the order of the interface.
class ThreatLocationFile {
public:
    ThreatLocationFile() = default;
    /// @param detectedFilePath full path of the file that was found
    explicit ThreatLocationFile(std::string_view detectedFilePath) : detectedFilePath_(detectedFilePath) {}
    ThreatLocationFile(const ThreatLocationFile&) = default;
    ThreatLocationFile& operator=(const ThreatLocationFile&) = delete;

    std::int32_t ThreatFileID = 0;
    enThreatFileTypes ThreatFileType = ThreatFileTypeGeneral;
    std::string FileName;
    std::string MD5;  ///< 32 lower-case hexadecimal digits, or empty for a file that has no hash
    std::int32_t CleanOrder = 0;
    bool CleanWithoutMD5 = false;
    std::int16_t OptionLevel = 0;
    [[nodiscard]] const std::string& DetectedFilePath() const { return detectedFilePath_; }
    void SetDetectedFilePath(std::string_view path);

private:
    std::string detectedFilePath_;
};

}  // namespace kel
