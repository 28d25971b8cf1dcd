#include "system/modServices.h"

#include <cstdint>

#include "core/Failures.h"
#include "platform/Platform.h"

namespace kel::modServices {

namespace {

constexpr std::string_view ActiveServices = "ServicesActive";
// All rights, of the manager and of a service.
constexpr std::uint32_t ManagerAccess = 0xF003F;
constexpr std::uint32_t ServiceAccess = 0xF01FF;
constexpr std::uint32_t ControlStop = 1;

}  // namespace

void ServiceStop(std::string_view machine, std::string_view name) {
    Trap("modServices", "ServiceStop", [&] {
        const auto manager = platform::Current().services->OpenManager(machine, ActiveServices, ManagerAccess);
        if (!manager) {
            return;
        }
        const auto service = (*manager)->Open(name, ServiceAccess);
        if (service) {
            (void)(*service)->Control(ControlStop);
        }
    });
}

}  // namespace kel::modServices
