// Rights of the user that the engine runs as.
#pragma once

namespace kel::modPermissions {

/// Whether the process's token holds the built-in Administrators group. Not trapped here: a token of more than 100
/// groups without a match among the first 101 ends in a RuntimeError 9.
bool HasAdminPermission();

}  // namespace kel::modPermissions
