// The version of the system as the rules see it, and whether a program runs.
#pragma once

#include <string>
#include <string_view>

namespace kel::modWinAPI {

/// The operating-system word: "3x", "95", "98", "ME", "NT" (also for Windows 2000) or "XP", empty for later versions.
/// @param field a member of the platform's version record ("dwMajorVersion", "szCSDVersion"...): then its value as
/// text.
std::string GetOSVersionName(std::string_view field = {});

/// Whether a process runs whose name in the machine's list contains `name`, without regard to case; never where the
/// operating-system word is "NT". Not trapped here.
/// @param kill end the first such process with exit code 0. Whether that worked is not told.
bool IsProcessRunning(std::string_view name, bool kill);

}  // namespace kel::modWinAPI
