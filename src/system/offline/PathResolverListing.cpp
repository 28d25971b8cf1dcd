#include "offline/PathResolverListing.h"

#include <dirent.h>
#include <fcntl.h>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <unordered_map>
#include <unordered_set>

#include "offline/OfflineFilesHost.h"
#include "offline/OfflineText.h"
#include "offline/PathResolverSyntax.h"

namespace kel::offline {

using platform::Result;

namespace {

constexpr std::size_t MaxStem = 8;
constexpr std::size_t MaxExtension = 3;

// What of a long name can stand in a short one, in upper case; what cannot becomes `_`, blanks and dots go.
std::string ShortPart(std::string_view folded, std::size_t most) {
    std::string out;
    for (std::size_t at = 0; at < folded.size() && out.size() < most;) {
        const std::size_t length = std::max<std::size_t>(CharacterLength(folded, at), 1);
        const char byte = folded[at];
        at += length;
        if (byte == ' ' || byte == '.') {
            continue;
        }
        const bool plain = length == 1 && static_cast<unsigned char>(byte) > 0x20 &&
                           static_cast<unsigned char>(byte) < 0x7F &&
                           std::string_view("+,;=[]").find(byte) == std::string_view::npos;
        out.push_back(plain ? byte : '_');
    }
    return out;
}

}  // namespace

Result<std::shared_ptr<Listing>> Listing::Read(int folder) {
    // The position belongs to the descriptor, which is nobody else's.
    if (lseek(folder, 0, SEEK_SET) < 0) {
        return FromErrno(errno);
    }
    auto listing = std::make_shared<Listing>();
    alignas(dirent64) std::array<char, 32 * 1024> block;
    for (;;) {
        const ssize_t filled = getdents64(folder, block.data(), block.size());
        if (filled < 0) {
            return FromErrno(errno);
        }
        if (filled == 0) {
            break;
        }
        for (ssize_t at = 0; at < filled;) {
            const auto* const entry = reinterpret_cast<const dirent64*>(block.data() + at);
            at += entry->d_reclen;
            const std::string_view name = entry->d_name;
            if (IsPlainName(name)) {
                listing->entries_.push_back(listing->Store(name, entry->d_ino, entry->d_type, true));
            } else if (name != "." && name != "..") {
                listing->entries_.push_back(listing->Store(ShownName(name), entry->d_ino, entry->d_type, false));
            }
        }
    }
    listing->Sort();
    return listing;
}

// By eight bytes of the folded names, those behind what all of them begin with, and only where these are the same by
// the whole.
void Listing::Sort() {
    if (entries_.empty()) {
        return;
    }
    std::string_view common = FoldedOf(entries_.front());
    for (const Entry& entry : entries_) {
        const std::string_view folded = FoldedOf(entry);
        const auto differ = std::mismatch(common.begin(), common.end(), folded.begin(), folded.end());
        common = common.substr(0, static_cast<std::size_t>(differ.first - common.begin()));
    }
    struct Keyed {
        std::uint64_t key;
        std::uint32_t entry;
    };
    std::vector<Keyed> order(entries_.size());
    for (std::uint32_t index = 0; index < order.size(); ++index) {
        const std::string_view rest = FoldedOf(entries_[index]).substr(common.size());
        std::uint64_t key = 0;
        for (std::size_t at = 0; at < sizeof key; ++at) {
            key = key << 8 | (at < rest.size() ? static_cast<unsigned char>(rest[at]) : 0U);
        }
        order[index] = {key, index};
    }
    std::sort(order.begin(), order.end(), [this](const Keyed& left, const Keyed& right) {
        return left.key != right.key ? left.key < right.key : Before(entries_[left.entry], entries_[right.entry]);
    });
    std::vector<Entry> sorted;
    sorted.reserve(order.size());
    for (const Keyed& one : order) {
        sorted.push_back(entries_[one.entry]);
    }
    entries_ = std::move(sorted);
}

Listing::Entry Listing::Store(std::string_view name, std::uint64_t inode, unsigned char kind, bool plain) {
    Entry entry{};
    entry.inode = inode;
    entry.kind = kind;
    entry.plain = plain;
    entry.name = static_cast<std::uint32_t>(text_.size());
    entry.nameLength = static_cast<std::uint16_t>(name.size());
    text_.append(name).push_back('\0');
    entry.folded = entry.name;
    entry.foldedLength = entry.nameLength;
    if (entry.plain) {
        // In ASCII the letters alone change, which needs no text in between.
        entry.folded = static_cast<std::uint32_t>(text_.size());
        text_.resize(text_.size() + name.size());
        char* const folded = text_.data() + entry.folded;
        bool same = true;
        for (std::size_t at = 0; at < name.size(); ++at) {
            const bool small = name[at] >= 'a' && name[at] <= 'z';
            folded[at] = static_cast<char>(name[at] - (small ? 'a' - 'A' : 0));
            same &= !small;
        }
        if (same) {
            text_.resize(entry.folded);
            entry.folded = entry.name;
        }
        return entry;
    }
    const std::string folded = FoldName(name);
    entry.foldedLength = static_cast<std::uint16_t>(folded.size());
    if (folded != name) {
        entry.folded = static_cast<std::uint32_t>(text_.size());
        text_ += folded;
    }
    return entry;
}

std::string_view Listing::NameOf(const Entry& entry) const {
    return std::string_view(text_).substr(entry.name, entry.nameLength);
}

std::string_view Listing::FoldedOf(const Entry& entry) const {
    return std::string_view(text_).substr(entry.folded, entry.foldedLength);
}

bool Listing::Before(const Entry& left, const Entry& right) const {
    const int order = FoldedOf(left).compare(FoldedOf(right));
    return order != 0 ? order < 0 : NameOf(left) < NameOf(right);
}

std::string_view Listing::Name(std::size_t index) const {
    return NameOf(entries_[index]);
}

std::string_view Listing::Folded(std::size_t index) const {
    return FoldedOf(entries_[index]);
}

std::optional<std::size_t> Listing::Find(std::string_view name) const {
    const std::string folded = FoldName(name);
    const auto first =
        std::lower_bound(entries_.begin(), entries_.end(), folded,
                         [&](const Entry& entry, const std::string& wanted) { return FoldedOf(entry) < wanted; });
    std::optional<std::size_t> found;
    for (auto entry = first; entry != entries_.end() && FoldedOf(*entry) == folded; ++entry) {
        const auto index = static_cast<std::size_t>(entry - entries_.begin());
        if (NameOf(*entry) == name) {
            return index;
        }
        if (!found) {
            found = index;
        }
    }
    return found;
}

std::optional<std::size_t> Listing::FindShort(std::string_view name) {
    MakeShortNames();
    const std::string folded = FoldName(name);
    const auto found =
        std::lower_bound(shortOrder_.begin(), shortOrder_.end(), folded,
                         [&](std::uint32_t index, const std::string& wanted) { return shortNames_[index] < wanted; });
    if (found == shortOrder_.end() || shortNames_[*found] != folded) {
        return std::nullopt;
    }
    return *found;
}

std::optional<std::size_t> Listing::FindInode(std::uint64_t inode) const {
    const auto found =
        std::find_if(entries_.begin(), entries_.end(), [inode](const Entry& entry) { return entry.inode == inode; });
    if (found == entries_.end()) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(found - entries_.begin());
}

const std::string& Listing::ShortName(std::size_t index) {
    MakeShortNames();
    return shortNames_[index];
}

void Listing::Add(std::string_view name, std::uint64_t inode) {
    const Entry entry = Store(name, inode, DT_UNKNOWN);
    const auto place = std::lower_bound(entries_.begin(), entries_.end(), entry,
                                        [this](const Entry& left, const Entry& right) { return Before(left, right); });
    if (place != entries_.end() && NameOf(*place) == name) {
        place->inode = inode;
        place->kind = DT_UNKNOWN;
        dead_ += text_.size() - entry.name;
        return;
    }
    entries_.insert(place, entry);
    shortNames_.clear();
}

void Listing::Remove(std::string_view name) {
    const auto index = Find(name);
    if (!index || Name(*index) != name) {
        return;
    }
    const Entry& gone = entries_[*index];
    dead_ += gone.nameLength + 1U + (gone.folded == gone.name ? 0U : gone.foldedLength);
    entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(*index));
    shortNames_.clear();
    if (dead_ > 4096 && dead_ > text_.size() / 2) {
        const std::string old = std::move(text_);
        text_.clear();
        dead_ = 0;
        for (Entry& entry : entries_) {
            entry = Store(std::string_view(old).substr(entry.name, entry.nameLength), entry.inode, entry.kind);
        }
    }
}

// In folded order the first name gets ~1, the next ~2 and so on, the stem giving way to longer numbers. So the names
// are the same in every run as long as the folder holds the same.
void Listing::MakeShortNames() {
    if (shortNames_.size() == entries_.size()) {
        return;
    }
    shortNames_.assign(entries_.size(), {});
    shortOrder_.clear();
    std::unordered_set<std::string_view> taken;
    for (const Entry& entry : entries_) {
        if (IsShortName(FoldedOf(entry))) {
            taken.insert(FoldedOf(entry));
        }
    }
    std::unordered_map<std::string, std::uint32_t> counters;
    for (std::size_t index = 0; index < entries_.size(); ++index) {
        const std::string_view folded = Folded(index);
        // Of several names that differ by case only, the first one owns the plain name.
        if (IsShortName(folded) && (index == 0 || Folded(index - 1) != folded)) {
            continue;
        }
        std::size_t dot = folded.rfind('.');
        dot = dot == 0 ? std::string_view::npos : dot;
        const std::string stem = ShortPart(folded.substr(0, dot), MaxStem);
        const std::string extension =
            dot == std::string_view::npos ? std::string() : ShortPart(folded.substr(dot + 1), MaxExtension);
        const std::string tail = extension.empty() ? std::string() : "." + extension;
        std::uint32_t most = 10;
        for (std::size_t digits = 1; digits < MaxStem - 1 && shortNames_[index].empty(); ++digits, most *= 10) {
            const std::string base = stem.substr(0, MaxStem - 1 - digits) + "~";
            std::uint32_t& next = counters[base + std::to_string(digits) + tail];
            next = std::max(next, most / 10);
            while (next < most && shortNames_[index].empty()) {
                std::string name = base + std::to_string(next++) + tail;
                if (!taken.contains(name)) {
                    shortNames_[index] = std::move(name);
                }
            }
        }
    }
    for (std::size_t index = 0; index < entries_.size(); ++index) {
        if (!shortNames_[index].empty()) {
            shortOrder_.push_back(static_cast<std::uint32_t>(index));
        }
    }
    std::sort(shortOrder_.begin(), shortOrder_.end(),
              [this](std::uint32_t left, std::uint32_t right) { return shortNames_[left] < shortNames_[right]; });
}

}  // namespace kel::offline
