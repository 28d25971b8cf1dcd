#include "windows/WindowsServices.h"

#include <windows.h>
// After windows.h.
#include <winsvc.h>

#include <string>

#include "windows/Win32.h"

namespace kel::windows {

namespace {

using platform::Result;
using platform::SysError;

struct ServiceHandlePolicy {
    using Handle = SC_HANDLE;
    static Handle Invalid() { return nullptr; }
    static void Close(Handle handle) { ::CloseServiceHandle(handle); }
};
using ServiceHandle = Owned<ServiceHandlePolicy>;

class WindowsService final : public platform::Service {
public:
    explicit WindowsService(ServiceHandle handle) : handle_(std::move(handle)) {}

    SysError Control(std::uint32_t control) override {
        SERVICE_STATUS status{};
        return ErrorUnless(::ControlService(handle_.Get(), control, &status));
    }

private:
    ServiceHandle handle_;
};

class WindowsServiceManager final : public platform::ServiceManager {
public:
    explicit WindowsServiceManager(ServiceHandle handle) : handle_(std::move(handle)) {}

    Result<std::unique_ptr<platform::Service>> Open(std::string_view name, std::uint32_t access) override {
        ServiceHandle service(::OpenServiceA(handle_.Get(), std::string(name).c_str(), access));
        if (!service) {
            return LastError();
        }
        return std::unique_ptr<platform::Service>(std::make_unique<WindowsService>(std::move(service)));
    }

private:
    ServiceHandle handle_;
};

}  // namespace

Result<std::unique_ptr<platform::ServiceManager>> WindowsServices::OpenManager(std::string_view machine,
                                                                               std::string_view database,
                                                                               std::uint32_t access) {
    const std::string machineName(machine);
    ServiceHandle manager(
        ::OpenSCManagerA(machineName.empty() ? nullptr : machineName.c_str(), std::string(database).c_str(), access));
    if (!manager) {
        return LastError();
    }
    return std::unique_ptr<platform::ServiceManager>(std::make_unique<WindowsServiceManager>(std::move(manager)));
}

}  // namespace kel::windows
