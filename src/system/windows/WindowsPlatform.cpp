#include "windows/WindowsPlatform.h"

#include <windows.h>

#include <utility>

#include "windows/WindowsClock.h"
#include "windows/WindowsComponents.h"
#include "windows/WindowsFiles.h"
#include "windows/WindowsInternet.h"
#include "windows/WindowsMessageLoop.h"
#include "windows/WindowsProcesses.h"
#include "windows/WindowsRegistry.h"
#include "windows/WindowsRestorePoints.h"
#include "windows/WindowsRights.h"
#include "windows/WindowsServices.h"
#include "windows/WindowsShell.h"
#include "windows/WindowsSystemInfo.h"
#include "windows/WindowsText.h"
#include "windows/WindowsVersions.h"

namespace kel::windows {

struct WindowsPlatform::Impl {
    UINT errorMode = ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
    WindowsFiles files;
    WindowsRegistry registry;
    WindowsProcesses processes;
    WindowsRights rights;
    WindowsServices services;
    WindowsComponents components;
    WindowsInternet internet;
    WindowsRestorePoints restorePoints;
    WindowsVersions versions;
    WindowsShell shell;
    WindowsClock clock;
    WindowsText text;
    WindowsMessageLoop loop;
    WindowsSystemInfo system;
};

WindowsPlatform::WindowsPlatform() : impl_(std::make_unique<Impl>()) {
}

WindowsPlatform::~WindowsPlatform() {
    ::SetErrorMode(impl_->errorMode);
}

platform::Platform WindowsPlatform::View() {
    platform::Platform view;
    view.files = &impl_->files;
    view.registry = &impl_->registry;
    view.processes = &impl_->processes;
    view.rights = &impl_->rights;
    view.services = &impl_->services;
    view.components = &impl_->components;
    view.internet = &impl_->internet;
    view.restorePoints = &impl_->restorePoints;
    view.versions = &impl_->versions;
    view.shell = &impl_->shell;
    view.clock = &impl_->clock;
    view.text = &impl_->text;
    view.loop = &impl_->loop;
    view.system = &impl_->system;
    view.can = {.processes = true,
                .services = true,
                .components = true,
                .network = true,
                .registry = true,
                .writable = true,
                .live = true};
    return view;
}

void WindowsPlatform::OnYield(std::function<void()> function) {
    impl_->loop.OnYield(std::move(function));
}

}  // namespace kel::windows
