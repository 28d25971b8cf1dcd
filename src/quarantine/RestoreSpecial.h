// Bringing back the lines of ini files.
#pragma once

#include "quarantine/QThreatLocationSpecial.h"

namespace kel::quarantine {

/// Appends the line to win.ini or system.ini, unless it is there, or the file is empty or missing.
void RestoreSpecial(const QThreatLocationSpecial& special);

}  // namespace kel::quarantine
