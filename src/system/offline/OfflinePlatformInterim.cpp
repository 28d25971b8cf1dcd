// The machine's registry and drives in their plainest form, until the machine view is there; goes away with it.
#include "offline/MachineView.h"
#include "offline/OfflineRegistry.h"
#include "offline/OfflineVersions.h"
#include "offline/WineRegistryFile.h"

namespace kel::offline {

namespace {

class NoSystem : public platform::SystemInfo {
public:
    platform::Result<platform::OsVersion> Version() override { return platform::SysError::NotSupported; }
    std::string Environment(std::string_view) override { return {}; }
};

}  // namespace

MachineKind DetectKind(const std::filesystem::path& machine) {
    if (!machine.empty() && !std::filesystem::is_directory(machine)) {
        throw OpenError(machine.string() + " is no folder");
    }
    return std::filesystem::exists(machine / "system.reg") ? MachineKind::WinePrefix : MachineKind::BareFolder;
}

std::vector<DriveMapping> MachineDrives(const MachineOptions& options, MachineKind kind) {
    std::vector<DriveMapping> drives;
    if (!options.machine.empty()) {
        drives.push_back({'C', kind == MachineKind::WinePrefix ? options.machine / "drive_c" : options.machine});
    }
    drives.insert(drives.end(), options.drives.begin(), options.drives.end());
    return drives;
}

struct MachineView::Impl {
    MachineKind kind = MachineKind::BareFolder;
    OfflineRegistry registry;
    NoSystem system;
    std::string windows = "C:\\windows";
    std::vector<std::string> users;
};

MachineView::MachineView(const MachineOptions& options, platform::Files&, const HostPathFunction&)
    : impl_(std::make_unique<Impl>()) {
    impl_->kind = DetectKind(options.machine);
    impl_->users = {options.user};
    if (impl_->kind == MachineKind::WinePrefix) {
        impl_->registry.Add({u"MACHINE"}, std::make_unique<WineRegistryFile>(options.machine / "system.reg"));
        impl_->registry.Add({u"USER", u"S-1-5-21-0-0-0-1000"},
                            std::make_unique<WineRegistryFile>(options.machine / "user.reg"));
        impl_->registry.SetCurrentUser(u"S-1-5-21-0-0-0-1000");
        impl_->registry.SetWritable(options.writable);
    }
}
MachineView::~MachineView() = default;
MachineKind MachineView::Kind() const {
    return impl_->kind;
}
std::vector<std::string> MachineView::Users() const {
    return impl_->users;
}
const std::string& MachineView::WindowsFolder() const {
    return impl_->windows;
}
platform::Registry& MachineView::Registry() {
    return impl_->registry;
}
bool MachineView::HasRegistry() const {
    return !impl_->registry.Empty();
}
platform::SystemInfo& MachineView::System() {
    return impl_->system;
}
platform::Result<std::string> MachineView::SpecialFolder(int) {
    return platform::SysError::FileNotFound;
}

platform::Result<std::uint32_t> OfflineVersions::Size(std::string_view) {
    return platform::SysError::ResourceTypeNotFound;
}
platform::Result<std::unique_ptr<platform::VersionBlock>> OfflineVersions::Load(std::string_view, std::uint32_t) {
    return platform::SysError::ResourceTypeNotFound;
}

}  // namespace kel::offline
