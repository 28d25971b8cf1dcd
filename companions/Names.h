// Names that the companion programs share with the product.
#pragma once

#include <string_view>

namespace kel::companions {

/// Below the user's folder for local application data.
inline constexpr std::string_view ProductFolder = R"(Kelvane Software\Ombrelane\)";

inline constexpr const char* CleanerProgram = "kelASCleaner";
inline constexpr const char* TreeProgram = "kvASThreatAuditpk";

}  // namespace kel::companions
