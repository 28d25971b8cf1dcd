// Bytes of files in a dry run.
#include <memory>
#include <utility>
#include <vector>

#include "decorators/DryRunFiles.h"

namespace kel::decorators {

using platform::OpenMode;
using platform::Result;
using platform::SysError;

namespace {

class OverlayView final : public platform::FileView {
public:
    explicit OverlayView(std::vector<std::byte> bytes) : bytes_(std::move(bytes)) {}
    [[nodiscard]] std::span<const std::byte> Bytes() const override { return bytes_; }

private:
    std::vector<std::byte> bytes_;
};

Result<std::unique_ptr<platform::FileView>> ViewOf(OverlayContent& content) {
    std::vector<std::byte> bytes(static_cast<std::size_t>(content.Size()));
    content.Use();
    const auto got = content.Read(0, bytes);
    content.Release();
    if (!got) {
        return got.Error();
    }
    return std::unique_ptr<platform::FileView>(std::make_unique<OverlayView>(std::move(bytes)));
}

}  // namespace

Result<std::unique_ptr<platform::OpenFile>> DryRunFiles::Open(std::string_view path, OpenMode mode) {
    if (mode == OpenMode::Read && Idle(path)) {
        return Inner().Open(path, mode);
    }
    const auto place = Find(path);
    if (!place) {
        return place.Error();
    }
    if (mode == OpenMode::Read) {
        return OpenToRead(*place, path);
    }
    const auto attributes = Existing(*place, path);
    if (!attributes) {
        if (attributes.Error() != SysError::FileNotFound) {
            return attributes.Error();
        }
        return place->path.trailingBackslash ? Result<std::unique_ptr<platform::OpenFile>>(SysError::InvalidName)
                                             : MakeFile(*place, mode);
    }
    if (mode == OpenMode::CreateNew) {
        return SysError::FileExists;
    }
    if ((*attributes & (platform::AttributeDirectory | platform::AttributeReadOnly)) != 0) {
        return SysError::AccessDenied;
    }
    return OpenToWrite(*place, mode);
}

Result<std::unique_ptr<platform::OpenFile>> DryRunFiles::OpenToRead(const OverlayPlace& place, std::string_view path) {
    if (place.error != SysError::Success) {
        return place.error;
    }
    if (place.node == nullptr) {
        return Inner().Open(OnMachine(place, path), OpenMode::Read);
    }
    if (place.node->folder) {
        return SysError::AccessDenied;
    }
    if (place.path.trailingBackslash) {
        return SysError::InvalidName;
    }
    if (place.node->content == nullptr) {
        return Inner().Open(place.real, OpenMode::Read);
    }
    return std::unique_ptr<platform::OpenFile>(
        std::make_unique<OverlayFile>(place.node->content, OpenMode::Read, std::string(), nullptr));
}

Result<std::unique_ptr<platform::OpenFile>> DryRunFiles::MakeFile(const OverlayPlace& place, OpenMode mode) {
    OverlayNode& node = overlay_.Make(place, false);
    node.content = std::make_shared<OverlayContent>(budget_);
    journal_.Add(WriteKind::FileMade, place.path.Text());
    return std::unique_ptr<platform::OpenFile>(
        std::make_unique<OverlayFile>(node.content, mode, std::string(), nullptr));
}

Result<std::unique_ptr<platform::OpenFile>> DryRunFiles::OpenToWrite(const OverlayPlace& place, OpenMode mode) {
    OverlayNode& node = overlay_.Hold(place);
    if (node.content == nullptr) {
        const auto size = Inner().Length(node.origin);
        // Who can't read it can't write it either: another program may hold it.
        const auto readable = size ? Inner().Open(node.origin, OpenMode::Read).Error() : size.Error();
        if (readable != SysError::Success) {
            return readable;
        }
        node.content = std::make_shared<OverlayContent>(budget_, Inner(), node.origin, *size);
    }
    const std::string path = place.path.Text();
    if (mode == OpenMode::Create) {
        node.content->SetSize(0);
        journal_.Add(WriteKind::FileMade, path);
        return std::unique_ptr<platform::OpenFile>(std::make_unique<OverlayFile>(node.content, mode, path, nullptr));
    }
    return std::unique_ptr<platform::OpenFile>(std::make_unique<OverlayFile>(node.content, mode, path, &journal_));
}

SysError DryRunFiles::MakeEmpty(std::string_view path) {
    const auto place = Find(path);
    if (!place) {
        return place.Error();
    }
    if (const auto attributes = Existing(*place, path)) {
        if ((*attributes & (platform::AttributeDirectory | platform::AttributeReadOnly)) != 0) {
            return SysError::AccessDenied;
        }
        overlay_.Remove(*place);
    } else if (attributes.Error() != SysError::FileNotFound) {
        return attributes.Error();
    }
    overlay_.Make(overlay_.Find(place->path), false).content = std::make_shared<OverlayContent>(budget_);
    return SysError::Success;
}

Result<std::unique_ptr<platform::FileView>> DryRunFiles::View(std::string_view path) {
    if (Idle(path)) {
        return Inner().View(path);
    }
    const auto place = Find(path);
    const auto attributes = place ? Existing(*place, path) : place.Error();
    if (!attributes) {
        return attributes.Error();
    }
    if ((*attributes & platform::AttributeDirectory) != 0) {
        return SysError::AccessDenied;
    }
    if (place->node != nullptr && place->node->content != nullptr) {
        return ViewOf(*place->node->content);
    }
    return Inner().View(OnMachine(*place, path));
}

Result<std::uint64_t> DryRunFiles::Length(std::string_view path) {
    if (Idle(path)) {
        return Inner().Length(path);
    }
    const auto place = Find(path);
    if (!place || place->error != SysError::Success) {
        return place ? place->error : place.Error();
    }
    if (place->node == nullptr || (place->node->content == nullptr && !place->node->folder)) {
        return Inner().Length(OnMachine(*place, path));
    }
    if (place->node->folder) {
        return SysError::AccessDenied;
    }
    return place->node->content->Size();
}

Result<platform::FileStamp> DryRunFiles::Stamp(std::string_view path) {
    if (Idle(path)) {
        return Inner().Stamp(path);
    }
    const auto place = Find(path);
    if (!place || place->error != SysError::Success) {
        return place ? place->error : place.Error();
    }
    if (place->node != nullptr && (place->node->content != nullptr || place->real.empty())) {
        return SysError::NotSupported;
    }
    return Inner().Stamp(OnMachine(*place, path));
}

// Whoever reads ahead compares stamps before he takes what he has read, and a written file has none.
std::unique_ptr<platform::FolderAhead> DryRunFiles::Ahead(std::string_view folder) {
    if (Idle(folder)) {
        return Inner().Ahead(folder);
    }
    const auto place = Find(folder);
    if (!place || place->error != SysError::Success || place->node != nullptr) {
        return nullptr;
    }
    return Inner().Ahead(OnMachine(*place, folder));
}

Result<std::string> DryRunFiles::Behind(std::string_view path) {
    if (Idle(path)) {
        return std::string(path);
    }
    const auto place = Find(path);
    const auto attributes = place ? Existing(*place, path) : place.Error();
    if (!attributes) {
        return attributes.Error();
    }
    if (place->node == nullptr || place->node->content == nullptr) {
        return OnMachine(*place, path);
    }
    const std::string& base = place->node->content->Base();
    return base.empty() ? Result<std::string>(SysError::ResourceDataNotFound) : Result<std::string>(base);
}

}  // namespace kel::decorators
