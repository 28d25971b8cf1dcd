#include "decorators/DryRunPlatform.h"

#include <utility>

#include "decorators/DryRunFiles.h"
#include "decorators/DryRunJournal.h"
#include "decorators/DryRunProcesses.h"
#include "decorators/DryRunRegistry.h"
#include "decorators/DryRunServices.h"
#include "decorators/DryRunSystem.h"

namespace kel::decorators {

using platform::Platform;

struct DryRunPlatform::Impl {
    Impl(const Platform& platform, Listener listener)
        : view(platform),
          journal(std::move(listener)),
          files(platform, journal),
          registry(platform, journal),
          processes(platform, journal),
          services(platform, journal),
          shell(platform, files, journal),
          components(platform, files, journal),
          internet(platform, files, journal),
          restorePoints(platform, journal),
          versions(platform, files) {
        view.files = &files;
        view.registry = &registry;
        view.processes = &processes;
        view.services = &services;
        view.shell = &shell;
        view.components = &components;
        view.internet = &internet;
        view.restorePoints = &restorePoints;
        view.versions = &versions;
        view.can.writable = true;
    }

    Platform view;
    DryRunJournal journal;
    DryRunFiles files;
    DryRunRegistry registry;
    DryRunProcesses processes;
    DryRunServices services;
    DryRunShell shell;
    DryRunComponents components;
    DryRunInternet internet;
    DryRunRestorePoints restorePoints;
    DryRunVersions versions;
};

DryRunPlatform::DryRunPlatform(const Platform& inner, Listener listener)
    : impl_(std::make_unique<Impl>(inner, std::move(listener))) {
}

DryRunPlatform::~DryRunPlatform() = default;

Platform DryRunPlatform::View() const {
    return impl_->view;
}

}  // namespace kel::decorators
