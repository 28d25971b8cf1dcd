#include "offline/OfflinePlatform.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "decorators/ReadOnlyPlatform.h"
#include "offline/MachineView.h"
#include "offline/OfflineClock.h"
#include "offline/OfflineComponents.h"
#include "offline/OfflineFiles.h"
#include "offline/OfflineLoop.h"
#include "offline/OfflineNetwork.h"
#include "offline/OfflineProcesses.h"
#include "offline/OfflineRights.h"
#include "offline/OfflineServices.h"
#include "offline/OfflineShell.h"
#include "offline/OfflineText.h"
#include "offline/OfflineVersions.h"

namespace kel::offline {

namespace {

void AddDrive(OfflineFiles& files, const DriveMapping& drive, bool hidden) {
    const char letter =
        drive.letter >= 'a' && drive.letter <= 'z' ? static_cast<char>(drive.letter - 'a' + 'A') : drive.letter;
    if (letter < 'A' || letter > 'Z') {
        throw OpenError("a drive needs a letter from A to Z, not '" + std::string(1, drive.letter) + "'");
    }
    try {
        // As the host names it: without links and whatever its own current folder is.
        files.AddDrive(letter, std::filesystem::canonical(drive.folder), hidden);
    } catch (const std::system_error& error) {
        throw OpenError("drive " + std::string(1, letter) + ": can't open the folder " + drive.folder.string() + ": " +
                        error.code().message());
    }
}

}  // namespace

struct OfflinePlatform::Impl {
    explicit Impl(const MachineOptions& options);

    OfflineFiles files;
    std::unique_ptr<MachineView> machine;
    OfflineVersions versions{files};
    OfflineShell shell{files, [this](int identifier) { return machine->SpecialFolder(identifier); }};
    OfflineProcesses processes;
    OfflineRights rights;
    OfflineServices services;
    OfflineComponents components;
    OfflineInternet internet;
    OfflineRestorePoints restorePoints;
    OfflineClock clock;
    OfflineText text;
    OfflineLoop loop;
    platform::Platform plain;
    std::unique_ptr<decorators::ReadOnlyPlatform> readOnly;  // nothing when the machine is writable
    std::vector<std::pair<std::filesystem::path, std::string>> hosts;
};

OfflinePlatform::Impl::Impl(const MachineOptions& options) {
    for (const DriveMapping& drive : MachineDrives(options, DetectKind(options.machine))) {
        AddDrive(files, drive, false);
    }
    files.SetCurrentFolder("C:\\");
    machine =
        std::make_unique<MachineView>(options, files, [this](std::string_view path) { return files.HostPath(path); });
    if (const std::string codePage = machine->CodePage(); !codePage.empty()) {
        text.SetCodePage(codePage);
    }
    plain.files = &files;
    plain.registry = &machine->Registry();
    plain.processes = &processes;
    plain.rights = &rights;
    plain.services = &services;
    plain.components = &components;
    plain.internet = &internet;
    plain.restorePoints = &restorePoints;
    plain.versions = &versions;
    plain.shell = &shell;
    plain.clock = &clock;
    plain.text = &text;
    plain.loop = &loop;
    plain.system = &machine->System();
    plain.can.registry = machine->HasRegistry();
    plain.can.writable = options.writable;
    if (!options.writable) {
        readOnly = std::make_unique<decorators::ReadOnlyPlatform>(plain);
    }
}

OfflinePlatform::OfflinePlatform(const MachineOptions& options) : impl_(std::make_unique<Impl>(options)) {
}

OfflinePlatform::~OfflinePlatform() = default;

platform::Platform OfflinePlatform::View() {
    return impl_->readOnly ? impl_->readOnly->View() : impl_->plain;
}

std::string OfflinePlatform::MountHost(const std::filesystem::path& folder) {
    std::error_code error;
    const std::filesystem::path canonical = std::filesystem::canonical(folder, error);
    if (error || !std::filesystem::is_directory(canonical, error)) {
        throw OpenError(folder.string() + " is no folder");
    }
    for (const auto& [mounted, root] : impl_->hosts) {
        if (mounted == canonical) {
            return root;
        }
    }
    char letter = 'Z';
    while (letter >= 'A' && impl_->files.Resolver().FindDrive(letter) != nullptr) {
        --letter;
    }
    if (letter < 'A') {
        throw OpenError("no drive letter is left for " + folder.string());
    }
    AddDrive(impl_->files, {letter, canonical}, true);
    std::string root = std::string(1, letter) + ":\\";
    if (impl_->readOnly) {
        impl_->readOnly->AllowWrites(root);
    }
    impl_->hosts.emplace_back(canonical, root);
    return root;
}

std::optional<std::filesystem::path> OfflinePlatform::HostPath(std::string_view path) const {
    return impl_->files.HostPath(path);
}

MachineKind OfflinePlatform::Kind() const {
    return impl_->machine->Kind();
}

std::vector<std::string> OfflinePlatform::Users() const {
    return impl_->machine->Users();
}

const std::vector<std::string>& OfflinePlatform::Notes() const {
    return impl_->machine->Notes();
}

void OfflinePlatform::OnYield(std::function<void()> function) {
    impl_->loop.OnYield(std::move(function));
}

}  // namespace kel::offline
