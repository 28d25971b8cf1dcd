// The shipped tables by file name. They lie in the program's folder.
#pragma once

#include <string>
#include <string_view>

#include "core/EngineState.h"

namespace kel::shipped {

inline constexpr std::string_view ThreatData = "kelThreatData.sdb";
inline constexpr std::string_view Cookies = "KelThreatCookie.sdb";
inline constexpr std::string_view FileMD5 = "KelThreatFileMD5.sdb";
inline constexpr std::string_view FilePaths = "KelThreatFilePath.sdb";
inline constexpr std::string_view Folders = "KelThreatFolder.sdb";
inline constexpr std::string_view RegKeys = "KelThreatRegKey.sdb";
inline constexpr std::string_view Extensions = "KelFileExtensions.sdb";
inline constexpr std::string_view Resuscitators = "kelRes.sdb";

/// Path of a shipped table.
[[nodiscard]] inline std::string Path(std::string_view file) {
    return State().App.Path + "\\" + std::string(file);
}

}  // namespace kel::shipped
