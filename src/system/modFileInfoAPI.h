// Version resources as display strings.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/VersionResources.h"

namespace kel {

/// What a file's version resource says, as texts.
struct FileVersionInfo {
    std::string Status;
    std::string CompanyName;
    std::string FileDescription;
    std::string LegalCopyright;
    std::string InternalName;
    std::string FileVersion;           ///< the resource's own text
    std::string FileVersionNumber;     ///< " 1.2. 3.4": a blank before each high word
    std::string ProductVersionNumber;  ///< " 1.2": the two most significant words only
    std::string FileType;              ///< label of the file type; empty for one without a label
};

}  // namespace kel

namespace kel::modFileInfoAPI {

inline constexpr std::string_view StatusNone = "No version information available for this file";
inline constexpr std::string_view StatusNoFixed = "No fixed version information in this file";
inline constexpr std::string_view StatusFixed = "Fixed version information exists in this file ";

/// Fills `record` from a file. Without a version record only the status is filled.
void GetFileVersionInfoStrings(std::string_view path, FileVersionInfo& record);
/// The version string of that name, in English if the file has it: "Unavailable" when there is none, "None" when it is
/// empty.
std::string GetInfoString(std::string_view name, const platform::VersionBlock& data);
/// High and low word as signed numbers: " 1.2" for 0x00010002.
std::string CalcVersion(std::uint32_t value);

}  // namespace kel::modFileInfoAPI
