// Services of a dry run.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <string_view>

#include "decorators/DryRunJournal.h"
#include "decorators/ForwardingSystem.h"

namespace kel::decorators {

/// Managers and services are opened on the machine; controls reach no service, except the question how it is.
class DryRunServices final : public ForwardingServices {
public:
    /// All must outlive the object.
    DryRunServices(const platform::Platform& inner, const DryRunJournal& journal);

    platform::Result<std::unique_ptr<platform::ServiceManager>> OpenManager(std::string_view machine,
                                                                            std::string_view database,
                                                                            std::uint32_t access) override;

    /// A service was told something.
    /// @param machine empty: the local one
    platform::SysError Control(const std::string& machine, const std::string& name, std::uint32_t control);
    [[nodiscard]] bool Stopped(const std::string& machine, const std::string& name) const;

private:
    [[nodiscard]] std::string Fold(const std::string& machine, const std::string& name) const;

    platform::Platform inner_;
    const DryRunJournal& journal_;
    std::set<std::string> stopped_;
};

}  // namespace kel::decorators
