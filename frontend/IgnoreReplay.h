// The user's ignore list in the engine.
#pragma once

#include <string>

#include "results/IgnoredThreats.h"

namespace kel::frontend {

class IgnoreList;

/// Makes the engine's list the user's. Belongs behind every load: what the engine saves of its list does not come back
/// as it was, and numbers that nobody ignored would grow from it with every run.
void Replay(const IgnoreList& list, kel::IgnoredThreats& engine);

/// The same with the list that a user data folder of the host keeps. Throws MachineError when it can't be read.
void ReplayIgnoreList(const std::string& userData, kel::IgnoredThreats& engine);

}  // namespace kel::frontend
