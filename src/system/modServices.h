// Services of the machine.
#pragma once

#include <string_view>

namespace kel::modServices {

/// Asks a service to stop, and does not wait until it has. A service or a machine that can't be reached is passed over;
/// nothing tells whether the service stops.
/// @param machine empty: this one
void ServiceStop(std::string_view machine, std::string_view name);

}  // namespace kel::modServices
