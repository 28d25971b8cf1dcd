// What the registry holds so that clients find the server.
#pragma once

#include <string>
#include <vector>

namespace kel::automation {

/// Outcome of a registration, for people.
struct RegistrationOutcome {
    bool done = false;
    std::string failure;  ///< the key and the system's reason
};

/// Writes the classes, their program identifiers, the interfaces, the type library and the application with its access
/// rights. What is there already is replaced.
/// @param perUser below the current user's classes instead of the machine's
RegistrationOutcome RegisterServer(bool perUser);

/// Takes away everything that RegisterServer writes. A server that is not registered is no failure.
RegistrationOutcome UnregisterServer(bool perUser);

}  // namespace kel::automation
