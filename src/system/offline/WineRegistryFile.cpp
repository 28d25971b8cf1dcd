#include "offline/WineRegistryFile.h"

#include <algorithm>
#include <chrono>

#include "hive/Upcase.h"
#include "offline/OfflinePlatform.h"
#include "offline/WineRegistryParser.h"
#include "offline/WineRegistryText.h"
#include "offline/WineServerLock.h"

namespace kel::offline {

using platform::Result;
using platform::SysError;

/// The whole text anew, with the place of every section in it.
struct WineRegistryFile::Rendering {
    std::string text;
    std::vector<Section> sections;
    std::uint32_t headerEnd = 0;
};

namespace {

std::uint64_t NowAsFileTime() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const auto ticks = std::chrono::duration_cast<std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>>(now);
    return FileTimeOfUnix(0) + static_cast<std::uint64_t>(ticks.count());
}

std::string HexText(std::uint64_t number) {
    std::string text;
    do {
        text.insert(text.begin(), "0123456789abcdef"[number & 15]);
        number >>= 4;
    } while (number != 0);
    return text;
}

}  // namespace

WineRegistryFile::WineRegistryFile(const std::filesystem::path& path, std::filesystem::path prefix)
    : path_(path), prefix_(std::move(prefix)), name_(path.string()) {
    Result<WholeFile> whole = ReadWhole(path, MaximumSize);
    if (!whole) {
        throw OpenError(name_ + (whole.Error() == SysError::BadLength
                                     ? ": larger than a registry file can be"
                                     : ": cannot be read (error " + std::to_string(Number(whole.Error())) + ")"));
    }
    identity_ = whole->identity;
    text_ = std::move(whole->bytes);
    Parse();
}

WineRegistryFile::~WineRegistryFile() = default;

std::unique_ptr<WineRegistryFile> WineRegistryFile::FromText(std::string text, const std::string& name) {
    std::unique_ptr<WineRegistryFile> file(new WineRegistryFile());
    file->name_ = name;
    file->text_ = std::move(text);
    file->Parse();
    return file;
}

void WineRegistryFile::Parse() {
    names_.clear();
    nodes_.assign(1, Node{});
    sections_.clear();
    classes_.clear();
    edited_.clear();
    cachedKey_ = NoKey;
    cachedValues_.clear();
    prepared_.reset();
    changed_ = false;
    Parser(*this).Run();
    names_.shrink_to_fit();
}

std::u16string WineRegistryFile::RelativeTo() const {
    constexpr std::string_view Marker = ";; All keys relative to ";
    const std::string_view header = std::string_view(text_).substr(0, headerEnd_);
    const std::size_t found = header.find(Marker);
    std::u16string units;
    if (found != std::string_view::npos) {
        const std::size_t start = found + Marker.size();
        std::string_view line = header.substr(start, header.find('\n', start) - start);
        if (line.ends_with('\r')) {
            line.remove_suffix(1);
        }
        for (std::size_t at = 0; at < line.size();) {
            DecodeEscaped(line, at, '\n', &units);
        }
    }
    return units;
}

std::u16string_view WineRegistryFile::Name(KeyId key) const {
    return std::u16string_view(names_).substr(nodes_[key].nameAt, nodes_[key].nameLength);
}

std::pair<std::size_t, bool> WineRegistryFile::ChildPosition(KeyId parent, std::u16string_view name) const {
    const auto& children = nodes_[parent].children;
    const auto found = std::lower_bound(children.begin(), children.end(), name,
                                        [this](KeyId key, auto wanted) { return CompareNames(Name(key), wanted) < 0; });
    return {static_cast<std::size_t>(found - children.begin()),
            found != children.end() && SameName(Name(*found), name)};
}

std::size_t WineRegistryFile::Depth(KeyId key) const {
    std::size_t depth = 0;
    for (; key != Root(); key = nodes_[key].parent) {
        ++depth;
    }
    return depth;
}

KeyId WineRegistryFile::AddKey(KeyId parent, std::u16string_view name, std::size_t position) {
    const auto key = static_cast<KeyId>(nodes_.size());
    Node node;
    node.parent = parent;
    node.nameAt = static_cast<std::uint32_t>(names_.size());
    node.nameLength = static_cast<std::uint32_t>(name.size());
    names_.append(name);
    nodes_.push_back(std::move(node));
    auto& children = nodes_[parent].children;
    children.insert(children.begin() + static_cast<std::ptrdiff_t>(position), key);
    return key;
}

KeyId WineRegistryFile::FindKey(KeyId parent, std::u16string_view name) const {
    if (!IsKey(parent)) {
        return NoKey;
    }
    const auto [position, found] = ChildPosition(parent, name);
    return found ? nodes_[parent].children[position] : NoKey;
}

std::uint32_t WineRegistryFile::KeyCount(KeyId key) const {
    return IsKey(key) ? static_cast<std::uint32_t>(nodes_[key].children.size()) : 0;
}

KeyId WineRegistryFile::KeyAt(KeyId key, std::uint32_t index) const {
    return index < KeyCount(key) ? nodes_[key].children[index] : NoKey;
}

std::u16string WineRegistryFile::KeyName(KeyId key) const {
    return IsKey(key) ? std::u16string(Name(key)) : std::u16string();
}

std::u16string WineRegistryFile::ClassName(KeyId key) const {
    const auto found = classes_.find(key);
    return found != classes_.end() && IsKey(key) ? found->second : std::u16string();
}

std::uint64_t WineRegistryFile::LastWritten(KeyId key) const {
    return IsKey(key) ? nodes_[key].time : 0;
}

bool WineRegistryFile::IsLink(KeyId key) const {
    return IsKey(key) && nodes_[key].link;
}

std::vector<TreeValue> WineRegistryFile::Decode(const Section& section) const {
    std::vector<TreeValue> values;
    WineTextReader reader(std::string_view(text_).substr(0, section.end), section.body);
    while (!reader.AtEnd()) {
        if (reader.Peek() != '"' && reader.Peek() != '@') {
            reader.SkipLine();
            continue;
        }
        TreeValue value;
        if (!reader.Value(&value)) {
            break;
        }
        values.push_back(std::move(value));
    }
    KeepLastOfEachName(values);
    return values;
}

const std::vector<TreeValue>& WineRegistryFile::Values(KeyId key) const {
    const auto found = edited_.find(key);
    if (found != edited_.end()) {
        return found->second;
    }
    if (cachedKey_ != key) {
        const std::uint32_t section = nodes_[key].section;
        cachedValues_ = section == NoSection ? std::vector<TreeValue>() : Decode(sections_[section]);
        cachedKey_ = key;
    }
    return cachedValues_;
}

std::uint32_t WineRegistryFile::ValueCount(KeyId key) const {
    return IsKey(key) ? static_cast<std::uint32_t>(Values(key).size()) : 0;
}

Result<TreeValue> WineRegistryFile::ValueAt(KeyId key, std::uint32_t index) const {
    if (!IsKey(key)) {
        return SysError::KeyDeleted;
    }
    const auto& values = Values(key);
    if (index >= values.size()) {
        return SysError::NoMoreItems;
    }
    return values[index];
}

Result<TreeValue> WineRegistryFile::FindValue(KeyId key, std::u16string_view name) const {
    if (!IsKey(key)) {
        return SysError::KeyDeleted;
    }
    for (const TreeValue& value : Values(key)) {
        if (SameName(value.name, name)) {
            return value;
        }
    }
    return SysError::FileNotFound;
}

void WineRegistryFile::Touch(KeyId key) {
    nodes_[key].time = NowAsFileTime();
    nodes_[key].touched = true;
    changed_ = true;
    Abandon();
}

std::vector<TreeValue>& WineRegistryFile::EditableValues(KeyId key) {
    const auto found = edited_.find(key);
    return found != edited_.end() ? found->second : edited_.emplace(key, Values(key)).first->second;
}

Result<KeyId> WineRegistryFile::CreateKey(KeyId parent, std::u16string_view name) {
    if (!IsKey(parent)) {
        return SysError::KeyDeleted;
    }
    if (name.empty() || name.size() > 255 || name.find(u'\\') != std::u16string_view::npos) {
        return SysError::InvalidParameter;
    }
    const auto [position, found] = ChildPosition(parent, name);
    if (found) {
        return nodes_[parent].children[position];
    }
    if (nodes_.size() >= MaximumKeys || Depth(parent) >= MaximumDepth) {
        return SysError::InvalidParameter;
    }
    const KeyId key = AddKey(parent, name, position);
    Touch(parent);
    Touch(key);
    return key;
}

SysError WineRegistryFile::DeleteKey(KeyId parent, std::u16string_view name) {
    if (!IsKey(parent)) {
        return SysError::KeyDeleted;
    }
    const auto [position, found] = ChildPosition(parent, name);
    if (!found) {
        return SysError::FileNotFound;
    }
    auto& siblings = nodes_[parent].children;
    const KeyId key = siblings[position];
    if (!nodes_[key].children.empty()) {
        return SysError::AccessDenied;
    }
    siblings.erase(siblings.begin() + static_cast<std::ptrdiff_t>(position));
    nodes_[key].deleted = true;
    edited_.erase(key);
    classes_.erase(key);
    Touch(parent);
    return SysError::Success;
}

SysError WineRegistryFile::SetValue(KeyId key, std::u16string_view name, std::uint32_t type,
                                    std::span<const std::byte> data) {
    if (!IsKey(key)) {
        return SysError::KeyDeleted;
    }
    if (name.size() > 16383) {
        return SysError::InvalidParameter;
    }
    const auto named = [name](const TreeValue& value) { return SameName(value.name, name); };
    const auto& current = Values(key);
    const auto same = std::find_if(current.begin(), current.end(), named);
    if (same != current.end() && same->type == type &&
        std::equal(data.begin(), data.end(), same->data.begin(), same->data.end())) {
        return SysError::Success;
    }
    auto& values = EditableValues(key);
    const auto found = std::find_if(values.begin(), values.end(), named);
    if (found != values.end()) {
        found->type = type;
        found->data.assign(data.begin(), data.end());
    } else {
        const auto place = std::find_if(values.begin(), values.end(),
                                        [name](const TreeValue& value) { return WineOrder(name, value.name); });
        values.insert(place, TreeValue{std::u16string(name), type, {data.begin(), data.end()}});
    }
    Touch(key);
    return SysError::Success;
}

SysError WineRegistryFile::DeleteValue(KeyId key, std::u16string_view name) {
    if (!IsKey(key)) {
        return SysError::KeyDeleted;
    }
    const auto& values = Values(key);
    const auto found = std::find_if(values.begin(), values.end(),
                                    [name](const TreeValue& value) { return SameName(value.name, name); });
    if (found == values.end()) {
        return SysError::FileNotFound;
    }
    const auto index = found - values.begin();
    auto& editable = EditableValues(key);
    editable.erase(editable.begin() + index);
    Touch(key);
    return SysError::Success;
}

void WineRegistryFile::AppendSection(Rendering& rendering, KeyId key, std::string_view lead) const {
    std::string& out = rendering.text;
    if (!out.ends_with('\n')) {
        out += '\n';
    }
    Section section;
    section.key = key;
    section.begin = static_cast<std::uint32_t>(out.size());
    out += lead;
    section.head = static_cast<std::uint32_t>(out.size());
    std::vector<KeyId> path;
    for (KeyId step = key; step != Root(); step = nodes_[step].parent) {
        path.push_back(step);
    }
    out += '[';
    for (std::size_t index = path.size(); index-- > 0;) {
        AppendEscaped(out, Name(path[index]), "[]");
        out += index > 0 ? "\\\\" : "";
    }
    out += "] " + std::to_string(UnixSeconds(nodes_[key].time)) + "\n";
    section.body = static_cast<std::uint32_t>(out.size());
    out += "#time=" + HexText(nodes_[key].time) + "\n";
    if (const auto found = classes_.find(key); found != classes_.end()) {
        out += "#class=\"";
        AppendEscaped(out, found->second, "\"");
        out += "\"\n";
    }
    if (nodes_[key].link) {
        out += "#link\n";
    }
    for (const TreeValue& value : Values(key)) {
        AppendValue(out, value);
    }
    section.end = static_cast<std::uint32_t>(out.size());
    rendering.sections.push_back(section);
}

// Old sections keep their order. A new one follows the section that comes before it in Wine's order of keys, which is
// also that of the file when Wine wrote it.
WineRegistryFile::Rendering WineRegistryFile::RenderAll() const {
    const std::size_t atTop = sections_.size();
    std::unordered_map<std::size_t, std::vector<KeyId>> added;
    std::size_t before = atTop;
    std::vector<KeyId> pending{Root()};
    while (!pending.empty()) {
        const KeyId key = pending.back();
        pending.pop_back();
        const Node& node = nodes_[key];
        const bool told = key == Root() ? !Values(key).empty()
                                        : node.touched && (node.children.empty() || !Values(key).empty() || node.link);
        if (node.section != NoSection) {
            before = node.section;
        } else if (told) {
            added[before].push_back(key);
        }
        const std::size_t first = pending.size();
        pending.insert(pending.end(), node.children.begin(), node.children.end());
        std::sort(pending.begin() + static_cast<std::ptrdiff_t>(first), pending.end(),
                  [this](KeyId left, KeyId right) { return WineOrder(Name(right), Name(left)); });
    }

    Rendering rendering;
    rendering.text.reserve(text_.size() + 4096);
    rendering.text.append(text_, 0, headerEnd_);
    rendering.headerEnd = headerEnd_;
    const auto append = [&](std::size_t place) {
        if (const auto found = added.find(place); found != added.end()) {
            for (const KeyId key : found->second) {
                AppendSection(rendering, key, "\n");
            }
        }
    };
    append(atTop);
    for (std::size_t index = 0; index < sections_.size(); ++index) {
        Section section = sections_[index];
        const Node& node = nodes_[section.key];
        if (!node.deleted && !node.touched) {
            const auto shift = static_cast<std::uint32_t>(rendering.text.size()) - section.begin;
            rendering.text.append(text_, section.begin, section.end - section.begin);
            section.begin += shift;
            section.head += shift;
            section.body += shift;
            section.end += shift;
            rendering.sections.push_back(section);
        } else if (!node.deleted && node.section == index) {
            AppendSection(rendering, section.key,
                          std::string_view(text_).substr(section.begin, section.head - section.begin));
        }
        append(index);
    }
    const std::uint32_t tail = sections_.empty() ? headerEnd_ : sections_.back().end;
    rendering.text.append(text_, tail, std::string::npos);
    return rendering;
}

std::string WineRegistryFile::Render() const {
    return changed_ ? RenderAll().text : text_;
}

void WineRegistryFile::Adopt(Rendering rendering) {
    text_ = std::move(rendering.text);
    sections_ = std::move(rendering.sections);
    headerEnd_ = rendering.headerEnd;
    std::unordered_map<KeyId, std::vector<TreeValue>> kept;
    for (Node& node : nodes_) {
        node.section = NoSection;
    }
    for (std::size_t index = 0; index < sections_.size(); ++index) {
        Node& node = nodes_[sections_[index].key];
        if (node.section == NoSection) {
            node.section = static_cast<std::uint32_t>(index);
        } else if (auto values = edited_.extract(sections_[index].key)) {
            kept.insert(std::move(values));
        }
        node.touched = false;
    }
    edited_ = std::move(kept);
    cachedKey_ = NoKey;
    changed_ = false;
}

SysError WineRegistryFile::Prepare() {
    if (!changed_ || prepared_ != nullptr) {
        return SysError::Success;
    }
    if (!prefix_.empty() && !HeldServerLock(prefix_).empty()) {
        return SysError::SharingViolation;
    }
    auto rendering = std::make_unique<Rendering>(RenderAll());
    if (rendering->text.size() > MaximumSize) {
        return SysError::BadLength;
    }
    if (!path_.empty()) {
        const SysError result = replacement_.Prepare(path_, identity_, rendering->text);
        if (result != SysError::Success) {
            return result;
        }
    }
    prepared_ = std::move(rendering);
    return SysError::Success;
}

void WineRegistryFile::Abandon() {
    prepared_.reset();
    replacement_.Abandon();
}

SysError WineRegistryFile::Commit() {
    const SysError result = Prepare();
    if (result != SysError::Success || !changed_) {
        return result;
    }
    if (!path_.empty()) {
        const Result<FileIdentity> written = replacement_.Commit();
        if (!written) {
            Abandon();
            return written.Error();
        }
        identity_ = *written;
    }
    Adopt(std::move(*prepared_));
    prepared_.reset();
    return SysError::Success;
}

void WineRegistryFile::Discard() {
    Abandon();
    if (changed_) {
        Parse();
    }
}

}  // namespace kel::offline
