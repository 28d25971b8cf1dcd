// The version of the system as the rules see it.
#pragma once

#include <string>
#include <string_view>

namespace kel::modWinAPI {

/// The operating-system word: "3x", "95", "98", "ME", "NT" (also for Windows 2000) or "XP", empty for later versions.
/// @param field a member of the platform's version record ("dwMajorVersion", "szCSDVersion"...): then its value as
/// text.
std::string GetOSVersionName(std::string_view field = {});

}  // namespace kel::modWinAPI
