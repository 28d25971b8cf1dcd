#include "offline/OfflineProcesses.h"

#include <unistd.h>

namespace kel::offline {

std::uint32_t OfflineProcesses::CurrentId() {
    return static_cast<std::uint32_t>(getpid());
}

}  // namespace kel::offline
