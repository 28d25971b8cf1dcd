// A machine with one service, which does nothing.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/Services.h"

namespace kel::test {

/// The service is "Spy". Another machine's are denied.
class FakeServices : public platform::Services {
public:
    std::vector<std::uint32_t> controls;  ///< what it was told

    platform::Result<std::unique_ptr<platform::ServiceManager>> OpenManager(std::string_view machine, std::string_view,
                                                                            std::uint32_t) override {
        if (!machine.empty()) {
            return platform::SysError::AccessDenied;
        }
        return std::unique_ptr<platform::ServiceManager>(std::make_unique<Manager>(controls));
    }

private:
    // Names of services compare without regard to case.
    static bool IsSpy(std::string_view name) { return name == "Spy" || name == "SPY" || name == "spy"; }

    struct Spy : platform::Service {
        explicit Spy(std::vector<std::uint32_t>& list) : controls(list) {}
        platform::SysError Control(std::uint32_t control) override {
            controls.push_back(control);
            return platform::SysError::Success;
        }
        std::vector<std::uint32_t>& controls;
    };
    struct Manager : platform::ServiceManager {
        explicit Manager(std::vector<std::uint32_t>& list) : controls(list) {}
        platform::Result<std::unique_ptr<platform::Service>> Open(std::string_view name, std::uint32_t) override {
            if (!IsSpy(name)) {
                return platform::SysError::ServiceDoesNotExist;
            }
            return std::unique_ptr<platform::Service>(std::make_unique<Spy>(controls));
        }
        std::vector<std::uint32_t>& controls;
    };
};

}  // namespace kel::test
