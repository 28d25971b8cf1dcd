// Helpers that every part uses.
#pragma once

#include <string>

namespace kel::modCommon {

/// The user's folder for local application data, with a trailing backslash, as the registry names it; empty when there
/// is none. The folder that a client chose for the engine's own data plays no part here.
std::string PathLocalAppData();

}  // namespace kel::modCommon
