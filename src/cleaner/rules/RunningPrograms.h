// What runs on the machine, and its end: one program, a program with its whole tree, programs that start each other
// again, and all threats at once.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "catalogue/clsBadProcess.h"
#include "core/Collection.h"

/// What fails is reported under the module "modCleanerHelper", and the result is the default (false, 0, empty). On a
/// machine that does not run there are no processes, so nothing is found and nothing ends. The engine's own process is
/// never ended. Where the operating-system word is "NT" processes are listed by the process status calls, elsewhere,
/// and where it says so, by a snapshot.
namespace kel::modCleanerHelper {

/// Results of the operations that end a process. 0 is success.
enum KillResult : std::int32_t {
    errProcessCannotOpenProcessFailed = 300,
    errProcessGetExitCodeProcessFailed = 301,
    errProcessTerminateProcessFailed = 302,
};

// Whether something runs.

/// With `md5`: whether a process runs whose program has that hash. Without: whether the program of the first process
/// that has a path is named in `path`; the others are not looked at. On "NT" as IsProcessRunningNT.
[[nodiscard]] bool IsProcessRunning(std::string_view path, std::string_view md5 = {});
/// Whether a process runs that program, by its path.
/// @param md5 not used
[[nodiscard]] bool IsProcessRunningNT(std::string_view path, std::string_view md5 = {});
/// Whether a process runs a program with the same contents, by a snapshot on every system.
/// @param processId set to that process, if there is one
[[nodiscard]] bool IsRunningProcess(std::string_view path, std::int32_t& processId);
/// The same, of a process whose number is not 0.
[[nodiscard]] bool IsRunningProcessId(std::string_view path);

// Ending.

/// Whether a program and its tree may be ended by name: not one of three programs of the system, wherever they lie,
/// and not one beside the engine, which is known only for an engine at the root of a drive.
[[nodiscard]] bool ShouldUIKill(std::string_view path);
/// Ends every process whose program has the same contents, by a snapshot on every system.
/// @return always 0
std::int32_t KillRunningProcess(std::string_view path);
/// Ends every process with that entry in the machine's list. On "NT" as KillRunningProcessNameNT.
/// @param name the file name, without regard to case
/// @return of the last end: 0 or a KillResult
std::int32_t KillRunningProcessName(std::string_view name);
/// Ends every process whose program has that full path; the first that can't be ended is the last that is tried. A
/// bare file name finds nothing.
/// @return 0 or a KillResult
std::int32_t KillRunningProcessNameNT(std::string_view name);
/// Starts the program beside the engine that ends a process with its tree, if `path` runs and may be ended so. Does not
/// wait for it, and tells it -1, "it runs", in the place of the process's number.
/// @return 0, or 302 when the program could not be started
std::int32_t KillRunningProcessTree(std::string_view path);
/// Ends a process with the exit code that it has: 0 or a KillResult, which is also reported under its own number.
std::int32_t HelperKillRunningProcessLocal(std::int32_t processId);

// Programs that start each other again.

/// Replaces the list of them by the rows of `kelRes.sdb` in the program's folder, or by an empty one when it is not
/// there. A hash of fewer than 32 characters counts as none. Raises what a table that can't be read raises; the rows
/// before stay.
void LoadResuscitators();
/// Ends the processes that the list names, in as many rounds as there are of them, and removes their files and what
/// starts them, if their rows say so.
/// @return false when the processes can't be listed or something failed
bool KillResuscitators();
/// LoadResuscitators and KillResuscitators: what comes before every scan.
void PrepareProcessLists();
/// Deletes the values of the machine's run list whose name and data, with a colon between them, hold `exe`; letter case
/// counts.
/// @param deleteFile delete also the files that their data name
/// @return always empty
std::string RemoveRunEntriesForExe(std::string_view exe, bool deleteFile);

// The sweep before a scan.

using Processes = Collection<std::shared_ptr<clsBadProcess>>;

/// All processes. On "NT" as GetProcessListNT.
[[nodiscard]] Processes GetProcessList();
/// All processes, at most 512. Each is its own parent: these calls name none.
[[nodiscard]] Processes GetProcessListNT();
/// The processes whose programs are sure and not ignored signs of a threat by their hashes, one for each program; and
/// those that loaded a library of one family that hides in others' processes, under the path of that library.
[[nodiscard]] Processes GetThreatList();
/// The same without the libraries.
[[nodiscard]] Processes GetThreatListOld();
/// Ends every process of the threat list, its children first, and records each in the current scan. What is ended is
/// reported as information. Without a current scan the sweep stops behind the first threat.
void SuspendActiveThreats();

}  // namespace kel::modCleanerHelper
