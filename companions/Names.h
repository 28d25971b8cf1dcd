// Names that the companion programs share with the product.
#pragma once

#include <string_view>

namespace kel::companions {

inline constexpr std::string_view ProductKey = R"(SOFTWARE\Kelvane Software\Ombrelane)";
/// Written by a front end that gives the engine another folder for the user's data than the engine's own choice.
inline constexpr std::string_view UserDataValue = "UserDataRootPath";
/// Below the user's folder for local application data.
inline constexpr std::string_view ProductFolder = R"(Kelvane Software\Ombrelane\)";

inline constexpr const char* CleanerProgram = "kelASCleaner";
inline constexpr const char* TreeProgram = "kvASThreatAuditpk";

}  // namespace kel::companions
