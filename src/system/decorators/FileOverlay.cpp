#include "decorators/FileOverlay.h"

#include <algorithm>
#include <utility>

namespace kel::decorators {

using platform::FindData;
using platform::Result;
using platform::SysError;

FileOverlay::FileOverlay(const platform::Platform& inner) : inner_(inner) {
}

bool FileOverlay::Untouched(char letter) const {
    const char upper = letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
    return std::none_of(roots_.begin(), roots_.end(), [upper](const auto& root) { return root.first[0] == upper; });
}

// Short names are looked for where a name can be one: those that the system makes hold a tilde.
OverlayNode* FileOverlay::Child(const OverlayNode& folder, std::string_view name) const {
    const std::string folded = Fold(name);
    if (const auto found = folder.children.find(folded); found != folder.children.end()) {
        return found->second.get();
    }
    if (folder.children.empty() || name.find('~') == std::string_view::npos) {
        return nullptr;
    }
    for (const auto& [key, child] : folder.children) {
        if (!child->gone && !child->shortName.empty() && Fold(child->shortName) == folded) {
            return child.get();
        }
    }
    FindData entry;
    if (folder.origin.empty() || IsPattern(name) || !inner_.files->FindFirst(Below(folder.origin, name), entry)) {
        return nullptr;
    }
    const auto found = folder.children.find(Fold(entry.name));
    return found == folder.children.end() ? nullptr : found->second.get();
}

OverlayPlace FileOverlay::Find(OverlayPath path) const {
    OverlayPlace place;
    place.path = std::move(path);
    const auto root = roots_.find(Fold(place.path.root));
    OverlayNode* node = root == roots_.end() ? nullptr : root->second.get();
    place.asOnMachine = true;
    place.real = place.path.Text();
    if (node == nullptr) {
        return place;
    }
    place.real = node->origin;
    const std::vector<std::string>& parts = place.path.parts;
    for (std::size_t index = 0; index < parts.size(); ++index) {
        const bool last = index + 1 == parts.size();
        OverlayNode* child = node == nullptr ? nullptr : Child(*node, parts[index]);
        if (child != nullptr) {
            if (child->gone || (!last && !child->folder)) {
                place.error = last ? SysError::FileNotFound : SysError::PathNotFound;
                return place;
            }
            place.asOnMachine = place.asOnMachine && Fold(child->origin) == Fold(Below(place.real, child->name));
            node = child;
            place.real = node->origin;
            continue;
        }
        if (place.real.empty()) {
            place.error = !last                            ? SysError::PathNotFound
                          : IsImpossibleName(parts[index]) ? SysError::InvalidName
                                                           : SysError::FileNotFound;
            return place;
        }
        place.real = Below(place.real, parts[index]);
        node = nullptr;
    }
    place.node = node;
    return place;
}

Result<std::uint32_t> FileOverlay::Attributes(const OverlayPlace& place) const {
    if (place.error != SysError::Success) {
        return place.error;
    }
    if (place.node == nullptr || (!place.node->attributes && !place.node->origin.empty())) {
        return inner_.files->Attributes(place.real);
    }
    return place.node->attributes.value_or(place.node->folder ? platform::AttributeDirectory
                                                              : platform::AttributeArchive);
}

Result<FindData> FileOverlay::Data(const OverlayPlace& place) const {
    if (place.error != SysError::Success) {
        return place.error;
    }
    if (place.node != nullptr) {
        return Data(*place.node);
    }
    FindData data;
    const auto find = inner_.files->FindFirst(place.real, data);
    return find ? Result<FindData>(std::move(data)) : find.Error();
}

Result<FindData> FileOverlay::Data(const OverlayNode& node) const {
    FindData data;
    if (!node.origin.empty()) {
        const auto find = inner_.files->FindFirst(node.origin, data);
        // A root is in no folder.
        if (!find && !node.name.empty()) {
            return find.Error();
        }
    } else {
        data.attributes = node.folder ? platform::AttributeDirectory : platform::AttributeArchive;
        data.creation = data.lastAccess = data.lastWrite = node.made;
    }
    data.name = node.name;
    data.alternateName = node.shortName;
    data.attributes = node.attributes.value_or(data.attributes);
    if (node.content != nullptr) {
        data.size = node.content->Size();
        data.lastWrite = std::max(data.lastWrite, node.content->LastWrite());
    }
    return data;
}

OverlayNode& FileOverlay::Root(const std::string& root) {
    std::unique_ptr<OverlayNode>& node = roots_[Fold(root)];
    if (node == nullptr) {
        node = std::make_unique<OverlayNode>();
        node->origin = root + '\\';
        node->folder = true;
    }
    return *node;
}

// A node for what the machine has, under the name that it has there.
std::unique_ptr<OverlayNode> FileOverlay::Shown(const std::string& real) const {
    auto node = std::make_unique<OverlayNode>();
    FindData data;
    const std::size_t end = real.rfind('\\');
    node->name = real.substr(end + 1);
    node->origin = real;
    if (inner_.files->FindFirst(real, data)) {
        node->name = data.name;
        node->shortName = data.alternateName;
        node->folder = (data.attributes & platform::AttributeDirectory) != 0;
        node->origin = Below(real.substr(0, end), data.name);
    }
    return node;
}

OverlayNode& FileOverlay::Adopt(OverlayNode& folder, const std::string& name, std::unique_ptr<OverlayNode> node) {
    std::unique_ptr<OverlayNode>& place = folder.children[Fold(name)];
    place = std::move(node);
    return *place;
}

OverlayNode& FileOverlay::HoldFolder(const OverlayPath& path) {
    OverlayNode* node = &Root(path.root);
    for (const std::string& part : path.parts) {
        OverlayNode* child = Child(*node, part);
        if (child == nullptr) {
            auto shown = Shown(Below(node->origin, part));
            const std::string name = shown->name;
            child = &Adopt(*node, name, std::move(shown));
        }
        node = child;
    }
    return *node;
}

OverlayNode& FileOverlay::Hold(const OverlayPlace& place) {
    return place.node != nullptr ? *place.node : HoldFolder(place.path);
}

OverlayNode& FileOverlay::Make(const OverlayPlace& place, bool folder) {
    OverlayNode& parent = HoldFolder(place.path.Parent());
    auto node = std::make_unique<OverlayNode>();
    node->name = place.path.parts.back();
    node->shortName = NewShortName(parent, node->name);
    node->folder = folder;
    node->made = TimeOfNow();
    const std::string name = node->name;
    return Adopt(parent, name, std::move(node));
}

void FileOverlay::Remove(const OverlayPlace& place) {
    const OverlayNode& held = Hold(place);
    OverlayNode& parent = HoldFolder(place.path.Parent());
    const std::string name = held.name;
    auto gone = std::make_unique<OverlayNode>();
    gone->name = name;
    gone->gone = true;
    Adopt(parent, name, std::move(gone));
}

void FileOverlay::Move(const OverlayPlace& from, const OverlayPlace& to) {
    OverlayNode& held = Hold(from);
    OverlayNode& target = HoldFolder(to.path.Parent());
    OverlayNode& source = HoldFolder(from.path.Parent());
    std::unique_ptr<OverlayNode>& place = source.children[Fold(held.name)];
    std::unique_ptr<OverlayNode> node = std::move(place);
    place = std::make_unique<OverlayNode>();
    place->name = node->name;
    place->gone = true;
    const std::string name = to.path.parts.back();
    node->name = name;
    node->shortName = NewShortName(target, name);
    Adopt(target, name, std::move(node));
}

bool FileOverlay::SameEntry(const OverlayPlace& left, const OverlayPlace& right) const {
    if (left.error != SysError::Success || right.error != SysError::Success) {
        return false;
    }
    if (left.node != nullptr || right.node != nullptr) {
        return left.node == right.node;
    }
    const auto longName = [this](const std::string& real) { return Fold(inner_.files->LongPath(real).ValueOr(real)); };
    return Fold(left.real) == Fold(right.real) || longName(left.real) == longName(right.real);
}

std::string FileOverlay::NewShortName(const OverlayNode& folder, const std::string& name) const {
    return MakeShortName(*inner_.text, name, [&](const std::string& candidate) {
        return Child(folder, candidate) != nullptr ||
               (!folder.origin.empty() && inner_.files->PathExists(Below(folder.origin, candidate)));
    });
}

}  // namespace kel::decorators
