#include "decorators/DryRunFiles.h"

#include <utility>

namespace kel::decorators {

using platform::Result;
using platform::SysError;

namespace {

// What SetFileAttributes can change: read-only, hidden, system, archive, temporary, offline, not to be indexed.
constexpr std::uint32_t Settable = 0x1 | 0x2 | 0x4 | 0x20 | 0x100 | 0x1000 | 0x2000;

bool IsFolder(std::uint32_t attributes) {
    return (attributes & platform::AttributeDirectory) != 0;
}

bool IsReadOnly(std::uint32_t attributes) {
    return (attributes & platform::AttributeReadOnly) != 0;
}

}  // namespace

DryRunFiles::DryRunFiles(const platform::Platform& inner, const DryRunJournal& journal)
    : ForwardingFiles(*inner.files),
      inner_(inner),
      journal_(journal),
      overlay_(inner),
      budget_(std::make_shared<OverlayBudget>(DryRunPlatform::MostBytes)) {
}

bool DryRunFiles::Idle(std::string_view path) const {
    if (overlay_.Empty() && !current_) {
        return true;
    }
    const bool onDrive = path.size() >= 3 && path[1] == ':' && path[2] == '\\';
    return onDrive && overlay_.Untouched(path[0]);
}

OverlayPath DryRunFiles::Current() {
    if (current_) {
        return *current_;
    }
    return ParseOverlayPath(Inner().CurrentFolder(), {"C:", {}, false}).ValueOr({"C:", {}, false});
}

Result<OverlayPath> DryRunFiles::Parse(std::string_view path) {
    const bool absolute = path.starts_with("\\\\") || (path.size() >= 3 && path[1] == ':' && path[2] == '\\');
    return ParseOverlayPath(path, absolute ? OverlayPath() : Current());
}

Result<OverlayPlace> DryRunFiles::Find(std::string_view path) {
    auto parsed = Parse(path);
    if (!parsed) {
        return parsed.Error();
    }
    return overlay_.Find(*std::move(parsed));
}

std::string DryRunFiles::Absolute(std::string_view path) {
    const auto parsed = Parse(path);
    return parsed ? parsed->Text() : std::string(path);
}

std::string DryRunFiles::OnMachine(const OverlayPlace& place, std::string_view path) const {
    if (place.asOnMachine && !current_) {
        return std::string(path);
    }
    return place.path.trailingBackslash && !place.real.ends_with('\\') ? place.real + '\\' : place.real;
}

Result<std::uint32_t> DryRunFiles::Existing(const OverlayPlace& place, std::string_view path) {
    if (place.error != SysError::Success) {
        return place.error;
    }
    if (place.node == nullptr) {
        return Inner().Attributes(OnMachine(place, path));
    }
    auto attributes = overlay_.Attributes(place);
    if (attributes && place.path.trailingBackslash && !IsFolder(*attributes)) {
        return SysError::InvalidName;
    }
    return attributes;
}

SysError DryRunFiles::Vacant(const OverlayPlace& place, std::string_view path) {
    const SysError error = Existing(place, path).Error();
    if (error == SysError::Success) {
        return SysError::AlreadyExists;
    }
    return error == SysError::FileNotFound ? SysError::Success : error;
}

bool DryRunFiles::PathExists(std::string_view path) {
    if (Idle(path)) {
        return Inner().PathExists(path);
    }
    const auto place = Find(path);
    if (!place || place->error != SysError::Success) {
        return false;
    }
    return place->node == nullptr ? Inner().PathExists(OnMachine(*place, path)) : Existing(*place, path).Ok();
}

int DryRunFiles::PathIsDirectory(std::string_view path) {
    if (Idle(path)) {
        return Inner().PathIsDirectory(path);
    }
    const auto attributes = Attributes(path);
    return attributes && IsFolder(*attributes) ? 16 : 0;
}

Result<std::uint32_t> DryRunFiles::Attributes(std::string_view path) {
    if (Idle(path)) {
        return Inner().Attributes(path);
    }
    const auto place = Find(path);
    return place ? Existing(*place, path) : place.Error();
}

SysError DryRunFiles::SetAttributes(std::string_view path, std::uint32_t attributes) {
    const auto place = Find(path);
    const auto old = place ? Existing(*place, path) : place.Error();
    if (!old) {
        return old.Error();
    }
    std::uint32_t bits = (attributes & Settable) | (*old & ~(Settable | platform::AttributeNormal));
    if (bits == 0) {
        bits = platform::AttributeNormal;
    }
    overlay_.Hold(*place).attributes = bits;
    journal_.Add(WriteKind::AttributesSet, place->path.Text(), std::to_string(attributes));
    return SysError::Success;
}

SysError DryRunFiles::Remove(std::string_view path) {
    const auto place = Find(path);
    const auto attributes = place ? Existing(*place, path) : place.Error();
    if (!attributes) {
        return attributes.Error();
    }
    if (place->path.IsRoot() || IsFolder(*attributes) || IsReadOnly(*attributes)) {
        return SysError::AccessDenied;
    }
    overlay_.Remove(*place);
    journal_.Add(WriteKind::FileRemoved, place->path.Text());
    return SysError::Success;
}

SysError DryRunFiles::Rename(std::string_view from, std::string_view to) {
    const auto source = Find(from);
    const auto attributes = source ? Existing(*source, from) : source.Error();
    if (!attributes) {
        return attributes.Error();
    }
    const auto target = Find(to);
    if (!target) {
        return target.Error();
    }
    if (source->path.IsRoot() || target->path.IsRoot()) {
        return SysError::AccessDenied;
    }
    SysError vacant = Vacant(*target, to);
    if (vacant == SysError::AlreadyExists && overlay_.SameEntry(*source, *target)) {
        vacant = SysError::Success;
    }
    if (vacant != SysError::Success) {
        return vacant;
    }
    const std::string oldPath = source->path.Text();
    const std::string newPath = target->path.Text();
    const bool folder = IsFolder(*attributes);
    const std::string folded = inner_.text->ToUpper(newPath);
    if (folder && source->path.root != target->path.root) {
        return SysError::AccessDenied;
    }
    if (folder && folded.starts_with(inner_.text->ToUpper(oldPath) + '\\')) {
        return SysError::InvalidParameter;
    }
    overlay_.Move(*source, *target);
    journal_.Add(folder ? WriteKind::FolderMoved : WriteKind::FileMoved, oldPath, newPath);
    return SysError::Success;
}

SysError DryRunFiles::MakeFolder(std::string_view path) {
    const auto place = Find(path);
    if (!place) {
        return place.Error();
    }
    if (place->path.IsRoot()) {
        return Inner().PathExists(place->path.Text()) ? SysError::AccessDenied : SysError::PathNotFound;
    }
    if (const SysError error = Vacant(*place, path); error != SysError::Success) {
        return error;
    }
    overlay_.Make(*place, true);
    journal_.Add(WriteKind::FolderMade, place->path.Text());
    return SysError::Success;
}

SysError DryRunFiles::RemoveFolder(std::string_view path) {
    const auto place = Find(path);
    const auto attributes = place ? Existing(*place, path) : place.Error();
    if (!attributes) {
        return attributes.Error() == SysError::InvalidName ? SysError::Directory : attributes.Error();
    }
    if (!IsFolder(*attributes)) {
        return SysError::Directory;
    }
    if (place->path.IsRoot() || IsReadOnly(*attributes)) {
        return SysError::AccessDenied;
    }
    // Of a link only the link goes.
    if ((*attributes & platform::AttributeReparsePoint) == 0 && !IsEmptyFolder(*place)) {
        return SysError::DirNotEmpty;
    }
    overlay_.Remove(*place);
    journal_.Add(WriteKind::FolderRemoved, place->path.Text());
    return SysError::Success;
}

SysError DryRunFiles::RemoveTree(std::string_view path) {
    const auto place = Find(path);
    const auto attributes = place ? Existing(*place, path) : place.Error();
    if (!attributes) {
        return attributes.Error();
    }
    if (place->path.IsRoot()) {
        return SysError::AccessDenied;
    }
    overlay_.Remove(*place);
    journal_.Add(IsFolder(*attributes) ? WriteKind::TreeRemoved : WriteKind::FileRemoved, place->path.Text());
    return SysError::Success;
}

Result<std::string> DryRunFiles::LongPath(std::string_view path) {
    if (Idle(path)) {
        return Inner().LongPath(path);
    }
    const auto place = Find(path);
    const auto attributes = place ? Existing(*place, path) : place.Error();
    if (!attributes) {
        return attributes.Error();
    }
    if (place->asOnMachine) {
        return Inner().LongPath(OnMachine(*place, path));
    }
    return Compose(*place, [](const platform::FindData& data, const std::string&) { return data.name; });
}

Result<std::string> DryRunFiles::ShortPath(std::string_view path) {
    if (Idle(path)) {
        return Inner().ShortPath(path);
    }
    const auto place = Find(path);
    const auto attributes = place ? Existing(*place, path) : place.Error();
    if (!attributes) {
        return attributes.Error();
    }
    if (place->asOnMachine) {
        return Inner().ShortPath(OnMachine(*place, path));
    }
    return Compose(*place, [](const platform::FindData& data, const std::string& part) {
        return data.alternateName.empty() ? part : data.alternateName;
    });
}

template <class NameOf>
Result<std::string> DryRunFiles::Compose(const OverlayPlace& place, NameOf nameOf) {
    OverlayPath above{place.path.root, {}, false};
    std::string text = above.root;
    for (const std::string& part : place.path.parts) {
        above.parts.push_back(part);
        const auto data = overlay_.Data(overlay_.Find(above));
        if (!data) {
            return data.Error();
        }
        text += '\\';
        text += nameOf(*data, part);
    }
    return place.path.trailingBackslash ? text + '\\' : text;
}

std::string DryRunFiles::CurrentFolder() {
    return current_ ? current_->Text() : Inner().CurrentFolder();
}

// That of the dry run's own: it may be a folder which the machine does not have.
SysError DryRunFiles::SetCurrentFolder(std::string_view path) {
    const auto place = Find(path);
    const auto attributes = place ? Existing(*place, path) : place.Error();
    if (!attributes) {
        return attributes.Error();
    }
    if (!IsFolder(*attributes)) {
        return SysError::Directory;
    }
    current_ = place->path;
    current_->trailingBackslash = false;
    return SysError::Success;
}

}  // namespace kel::decorators
