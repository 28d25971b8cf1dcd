// The work at the start of the machine.
#pragma once

#include <string>
#include <vector>

#include "companions/Engine.h"
#include "companions/WorkLog.h"

namespace kel::companions {

/// Exit codes of the program.
enum class StartEnd : int {
    Done = 0,          ///< all that was listed is done, or nothing was
    Partly = 1,        ///< something stays: its entries do too, but for those of the four lists, which are worked once
    BadArguments = 2,  ///< nothing was done
    NoUserData = 3,    ///< the folder of the user's data is not known or can't be made; nothing was done
    NoEngine = 4,      ///< the engine could not be created; nothing was done
    UnreadableLists = 5  ///< one or more lists could not be read; the others were worked
};

/// Works what was left to this start: first the four lists of folders, files, registry keys and values, then the
/// threats of which something was left, then those that are to be destroyed. An entry of a threat goes when its work is
/// done. Without anything listed the engine is not created.
///
/// A threat of which no detected file is left is done. Of any other the removal is tried again, as a destruction when
/// it is to be destroyed. A threat is destroyed out of the quarantine once nothing of it is left on the disk.
/// @param userData the folder of the user's data, with a trailing backslash
/// @param isChosen the user named that folder: it stands against what another client of the engine chose
StartEnd WorkAtStart(Engine& engine, std::string userData, bool isChosen, WorkLog& log);

/// The program, with its arguments: none, or "/UserData" and a folder.
StartEnd RunCleanerProgram(Engine& engine, const std::vector<std::string>& arguments, WorkLog& log);

}  // namespace kel::companions
