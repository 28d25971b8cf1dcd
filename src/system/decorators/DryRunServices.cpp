#include "decorators/DryRunServices.h"

#include <utility>

namespace kel::decorators {

using platform::Result;
using platform::SysError;

namespace {

constexpr std::uint32_t ControlStop = 1;
constexpr std::uint32_t ControlInterrogate = 4;
constexpr auto NotActive = static_cast<SysError>(1062);
constexpr std::uint32_t GenericRights = 0xF0000000U;

// What a service must be opened with for a control.
std::uint32_t RightFor(std::uint32_t control) {
    constexpr std::uint32_t own = 128;  // from here on controls are the service's own
    switch (control) {
        case ControlStop:
            return 0x20;
        case 2:
        case 3:
            return 0x40;
        case ControlInterrogate:
            return 0x80;
        default:
            return control >= own ? 0x100 : 0;
    }
}

class DryRunService final : public platform::Service {
public:
    DryRunService(std::unique_ptr<platform::Service> inner, DryRunServices& all, std::string machine, std::string name,
                  std::uint32_t access)
        : inner_(std::move(inner)), all_(all), machine_(std::move(machine)), name_(std::move(name)), access_(access) {}

    SysError Control(std::uint32_t control) override {
        const std::uint32_t right = RightFor(control);
        if ((access_ & (GenericRights | right)) == 0 && right != 0) {
            return SysError::AccessDenied;
        }
        if (all_.Stopped(machine_, name_)) {
            return NotActive;
        }
        return control == ControlInterrogate ? inner_->Control(control) : all_.Control(machine_, name_, control);
    }

private:
    std::unique_ptr<platform::Service> inner_;
    DryRunServices& all_;
    std::string machine_;
    std::string name_;
    std::uint32_t access_;
};

class DryRunServiceManager final : public ForwardingServiceManager {
public:
    DryRunServiceManager(std::unique_ptr<platform::ServiceManager> inner, DryRunServices& all, std::string machine)
        : ForwardingServiceManager(std::move(inner)), all_(all), machine_(std::move(machine)) {}

    Result<std::unique_ptr<platform::Service>> Open(std::string_view name, std::uint32_t access) override {
        auto service = Inner().Open(name, access);
        if (!service) {
            return service.Error();
        }
        return std::unique_ptr<platform::Service>(
            std::make_unique<DryRunService>(*std::move(service), all_, machine_, std::string(name), access));
    }

private:
    DryRunServices& all_;
    std::string machine_;
};

}  // namespace

DryRunServices::DryRunServices(const platform::Platform& inner, const DryRunJournal& journal)
    : ForwardingServices(*inner.services), inner_(inner), journal_(journal) {
}

std::string DryRunServices::Fold(const std::string& machine, const std::string& name) const {
    return inner_.text->ToUpper(machine + '\\' + name);
}

bool DryRunServices::Stopped(const std::string& machine, const std::string& name) const {
    return stopped_.contains(Fold(machine, name));
}

SysError DryRunServices::Control(const std::string& machine, const std::string& name, std::uint32_t control) {
    if (control == ControlStop) {
        stopped_.insert(Fold(machine, name));
    }
    journal_.Add(WriteKind::ServiceControlled, machine.empty() ? name : machine + '\\' + name, std::to_string(control));
    return SysError::Success;
}

Result<std::unique_ptr<platform::ServiceManager>> DryRunServices::OpenManager(std::string_view machine,
                                                                              std::string_view database,
                                                                              std::uint32_t access) {
    auto manager = Inner().OpenManager(machine, database, access);
    if (!manager) {
        return manager.Error();
    }
    return std::unique_ptr<platform::ServiceManager>(
        std::make_unique<DryRunServiceManager>(*std::move(manager), *this, std::string(machine)));
}

}  // namespace kel::decorators
