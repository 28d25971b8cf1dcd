#include "offline/WineRegistryParser.h"

#include <algorithm>
#include <iterator>
#include <random>

#include "hive/Upcase.h"
#include "offline/OfflinePlatform.h"

namespace kel::offline {

namespace {

constexpr std::string_view Signature = "WINE REGISTRY Version 2";
constexpr std::size_t MaximumName = 1024;

// End of the component that begins at `at`, and of the separator behind it. Only two backslashes separate; other
// escapes belong to the name.
struct Component {
    std::size_t end;
    std::size_t next;
};

Component ComponentAt(std::string_view path, std::size_t at) {
    for (std::size_t end = at; end < path.size(); ++end) {
        if (path[end] == '\\') {
            if (end + 1 < path.size() && path[end + 1] == '\\') {
                return {end, end + 2};
            }
            ++end;
        }
    }
    return {path.size(), path.size()};
}

std::uint64_t HexNumber(std::string_view text) {
    std::uint64_t number = 0;
    for (const char character : text) {
        const char lower = static_cast<char>(character | 0x20);
        if (character >= '0' && character <= '9') {
            number = number << 4 | static_cast<std::uint64_t>(character - '0');
        } else if (lower >= 'a' && lower <= 'f') {
            number = number << 4 | static_cast<std::uint64_t>(lower - 'a' + 10);
        } else {
            break;
        }
    }
    return number;
}

}  // namespace

WineRegistryFile::Parser::Parser(WineRegistryFile& file)
    : file_(file), reader_(file.text_, 0), table_(1024, NoKey), seed_(std::random_device()()) {
}

void WineRegistryFile::Parser::Fail(const char* reason, std::size_t at) const {
    const auto lines = std::count(file_.text_.begin(), file_.text_.begin() + static_cast<std::ptrdiff_t>(at), '\n');
    throw OpenError(file_.name_ + ":" + std::to_string(lines + 1) + ": " + reason);
}

void WineRegistryFile::Parser::Run() {
    Header();
    while (!reader_.AtEnd()) {
        const std::size_t start = reader_.Position();
        switch (reader_.Peek()) {
            case '[':
                Head();
                break;
            case '"':
            case '@':
                if (file_.sections_.empty()) {
                    Fail("a value stands before the first key", start);
                }
                if (!reader_.Value(nullptr)) {
                    Fail(reader_.Reason(), reader_.Position());
                }
                contentEnd_ = reader_.Position();
                break;
            case '#':
                Option();
                break;
            case ';':
                reader_.SkipLine();
                break;
            default:
                if (!reader_.LineEnd()) {
                    Fail("this is no key, value, option or comment", start);
                }
        }
    }
    CloseSection(contentEnd_);
    MergeRepeated();
    for (const KeyId key : unordered_) {
        auto& children = file_.nodes_[key].children;
        std::sort(children.begin(), children.end(),
                  [this](KeyId left, KeyId right) { return CompareNames(file_.Name(left), file_.Name(right)) < 0; });
    }
}

// A key may have several sections; what a later one says of a value counts.
void WineRegistryFile::Parser::MergeRepeated() {
    if (repeated_.empty()) {
        return;
    }
    for (const Section& section : file_.sections_) {
        const auto found = repeated_.find(section.key);
        if (found != repeated_.end()) {
            std::vector<TreeValue> part = file_.Decode(section);
            std::move(part.begin(), part.end(), std::back_inserter(found->second));
        }
    }
    for (auto& [key, values] : repeated_) {
        KeepLastOfEachName(values);
    }
    file_.edited_ = std::move(repeated_);
}

void WineRegistryFile::Parser::Header() {
    const std::string_view text = file_.text_;
    if (!text.starts_with(Signature)) {
        Fail("the file does not begin with \"WINE REGISTRY Version 2\"", 0);
    }
    reader_ = WineTextReader(text, Signature.size());
    if (!reader_.LineEnd()) {
        Fail(reader_.Reason(), reader_.Position());
    }
    contentEnd_ = reader_.Position();
}

void WineRegistryFile::Parser::CloseSection(std::size_t end) {
    if (file_.sections_.empty()) {
        file_.headerEnd_ = static_cast<std::uint32_t>(end);
    } else {
        file_.sections_.back().end = static_cast<std::uint32_t>(end);
    }
}

void WineRegistryFile::Parser::Head() {
    const std::string_view text = file_.text_;
    const std::size_t head = reader_.Position();
    CloseSection(contentEnd_);
    std::size_t at = head + 1;
    if (!DecodeEscaped(text, at, ']', nullptr)) {
        Fail("the key's name has no closing bracket", head);
    }
    const KeyId key = Enter(text.substr(head + 1, at - head - 2));
    reader_ = WineTextReader(text, at);
    std::uint64_t seconds = 0;
    if (!reader_.HeadEnd(seconds)) {
        Fail(reader_.Reason(), reader_.Position());
    }
    file_.nodes_[key].time = FileTimeOfUnix(seconds);
    Section section;
    section.key = key;
    section.begin = static_cast<std::uint32_t>(contentEnd_);
    section.head = static_cast<std::uint32_t>(head);
    section.body = static_cast<std::uint32_t>(reader_.Position());
    if (file_.nodes_[key].section == NoSection) {
        file_.nodes_[key].section = static_cast<std::uint32_t>(file_.sections_.size());
    } else {
        repeated_.try_emplace(key);
    }
    file_.sections_.push_back(section);
    contentEnd_ = reader_.Position();
}

void WineRegistryFile::Parser::Option() {
    const std::string_view text = file_.text_;
    const std::size_t start = reader_.Position();
    const std::size_t newline = std::min(text.find('\n', start), text.size());
    const std::string_view line = text.substr(start, newline - start);
    if (!file_.sections_.empty()) {
        const KeyId key = file_.sections_.back().key;
        if (line.starts_with("#time=")) {
            file_.nodes_[key].time = HexNumber(line.substr(6));
        } else if (line.starts_with("#link")) {
            file_.nodes_[key].link = true;
        } else if (line.starts_with("#class=")) {
            WineTextReader quoted(text.substr(0, newline), start + 7);
            std::u16string name;
            if (!quoted.Quoted(&name)) {
                Fail(quoted.Reason(), start);
            }
            file_.classes_[key] = std::move(name);
        }
    }
    reader_.SkipLine();
    contentEnd_ = reader_.Position();
}

KeyId WineRegistryFile::Parser::Enter(std::string_view path) {
    KeyId key = file_.Root();
    std::size_t depth = 0;
    bool known = true;
    std::u16string name;
    for (std::size_t at = 0; at < path.size();) {
        const Component component = ComponentAt(path, at);
        const std::string_view raw = path.substr(at, component.end - at);
        const auto position = static_cast<std::size_t>(path.data() - file_.text_.data()) + at;
        at = component.next;
        if (raw.empty()) {
            continue;
        }
        known = known && depth < trail_.size() && trail_[depth].raw == raw;
        if (known) {
            key = trail_[depth++].key;
            continue;
        }
        if (depth >= MaximumDepth) {
            Fail("the key lies deeper than 512 levels", position);
        }
        trail_.resize(depth);
        name.clear();
        std::size_t end = 0;
        while (end < raw.size()) {
            DecodeEscaped(raw, end, '\0', &name);
        }
        if (name.size() > MaximumName) {
            Fail("a key's name is longer than 1024 characters", position);
        }
        key = ChildOf(key, name, position);
        trail_.push_back({raw, key});
        ++depth;
    }
    trail_.resize(depth);
    return key;
}

KeyId WineRegistryFile::Parser::ChildOf(KeyId parent, std::u16string_view name, std::size_t at) {
    const std::size_t slot = Slot(parent, name);
    if (table_[slot] != NoKey) {
        return table_[slot];
    }
    if (file_.nodes_.size() >= MaximumKeys) {
        Fail("the file has more than 4000000 keys", at);
    }
    const auto& children = file_.nodes_[parent].children;
    const bool inOrder = children.empty() || CompareNames(file_.Name(children.back()), name) < 0;
    if (!inOrder && (unordered_.empty() || unordered_.back() != parent)) {
        unordered_.push_back(parent);
    }
    const KeyId key = file_.AddKey(parent, name, children.size());
    table_[slot] = key;
    if (file_.nodes_.size() * 2 > table_.size()) {
        GrowTable();
    }
    return key;
}

std::size_t WineRegistryFile::Parser::Slot(KeyId parent, std::u16string_view name) const {
    std::uint64_t hash = seed_ ^ parent;
    for (const char16_t unit : name) {
        hash = (hash ^ Upcase(unit)) * 0x9E3779B97F4A7C15ULL;
        hash ^= hash >> 29;
    }
    std::size_t slot = static_cast<std::size_t>(hash ^ hash >> 32) & (table_.size() - 1);
    while (table_[slot] != NoKey &&
           (file_.nodes_[table_[slot]].parent != parent || !SameName(file_.Name(table_[slot]), name))) {
        slot = (slot + 1) & (table_.size() - 1);
    }
    return slot;
}

void WineRegistryFile::Parser::GrowTable() {
    table_.assign(table_.size() * 2, NoKey);
    for (KeyId key = 1; key < file_.nodes_.size(); ++key) {
        table_[Slot(file_.nodes_[key].parent, file_.Name(key))] = key;
    }
}

}  // namespace kel::offline
