// The small scripts that a threat's record may carry: what they change can't simply be deleted.
#pragma once

#include <string_view>

#include "cleaner/Enumerations.h"

/// What fails is reported under the module "modCleanerHelper" and the operation's name.
namespace kel::modCleanerHelper {

/// Runs the lines of a script that belong to a phase. A line is the phase, a command and its argument; one that is
/// none is passed over.
/// @param phase "PRE" or "POST"
/// @param script lines separated by CRLF
/// @return errCustomScriptFailedScriptBlank for a script of fewer than two characters, else errNone, whatever became
///         of its commands
enCleanerErrors RunCustomScript(std::string_view phase, std::string_view script);
/// Runs a script that it fetches first.
/// @return errCustomScriptFailedDownloadURLBlank for a text without "http", errCustomScriptFailedDownloadDataBlank when
///         nothing came, else the result of RunCustomScript
enCleanerErrors RunCustomScriptWithDownload(std::string_view phase, std::string_view url);

/// Takes the lines that contain the text out of the hosts file, system.ini or win.ini, and blank lines with them.
void RemoveHostFileLine(std::string_view text);
void RemoveSystemIniLine(std::string_view text);
void RemoveWinIniLine(std::string_view text);
/// Deletes the current user's zones of the browser whose domain contains the text.
void RemoveTrustedZone(std::string_view text);

}  // namespace kel::modCleanerHelper
