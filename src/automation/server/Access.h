// Who may start the server and call it.
#pragma once

#include <cstddef>
#include <vector>

namespace kel::automation {

/// Rights as component security has them.
enum AccessRights : unsigned long {
    CallLocally = 0x1 | 0x2,         ///< calls from this machine alone
    LaunchLocally = 0x1 | 0x2 | 0x8  ///< starts and activations from this machine alone
};

enum class Caller {
    ThisUser,     ///< the user of this process
    ServersUser,  ///< whoever a server process runs as, when it is read there
    Interactive,  ///< who is logged on at the machine: each starts a process of their own
};

/// A security descriptor in the form that the registry holds: the rights for that caller, the administrators and the
/// system, and for nobody else. Owner and group are the administrators. Empty on systems without access control.
[[nodiscard]] std::vector<std::byte> MakeAccess(Caller caller, AccessRights rights);

/// Lets this process's user, the administrators and the system call this process, and nobody else. Does nothing on
/// systems without access control. False when the system refuses.
bool RestrictCallers();

}  // namespace kel::automation
