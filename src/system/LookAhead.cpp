#include "system/LookAhead.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <utility>

#include "core/EngineState.h"
#include "platform/Platform.h"
#include "system/modMD5.h"

namespace kel {

namespace {

constexpr const char* Variable = "KEL_READ_AHEAD";
constexpr std::size_t DefaultMegabytes = 64;
constexpr std::size_t Megabyte = std::size_t{1} << 20;
constexpr std::size_t MostBytesALane = std::size_t{128} << 10;
// Items that are remembered, hashed or not: some hundred bytes each.
constexpr std::size_t MostItems = 2048;
// Files that are looked at in one go, so that an answer never waits for many others; and how many a step of digesting
// counts for.
constexpr unsigned MostFetched = 128;
constexpr unsigned StepCounts = 16;
// Files whose beginnings are read beside us while others are digested.
constexpr std::size_t MostBegun = 32;

// Files that are opened and not yet read. From a slow medium the next ones are asked for early; each holds a
// descriptor.
constexpr std::size_t OpenedWhenFast = 1;
constexpr std::size_t OpenedWhenSlow = 128;

struct Innermost {
    LookAhead* object = nullptr;
};

std::size_t Limit() {
    const char* const megabytes = std::getenv(Variable);
    return megabytes == nullptr ? DefaultMegabytes * Megabyte
                                : static_cast<std::size_t>(std::strtoul(megabytes, nullptr, 10)) * Megabyte;
}

}  // namespace

bool ListedFiles::Next(AheadItem& item, bool /*slow*/) {
    if (next_ == paths_.size()) {
        return false;
    }
    Fill(item, std::move(paths_[next_++]));
    return true;
}

void PathsAhead::Fill(AheadItem& item, std::string named) {
    item.path = std::move(named);
    item.folder = nullptr;
    const std::size_t end = item.path.rfind('\\') + 1;
    if (end == 0) {
        return;
    }
    const std::string_view path = item.path;
    if (folder_ == nullptr || path.substr(0, end) != folder_->path) {
        std::string text(path.substr(0, end));
        auto files = platform::Current().files->Ahead(text);
        folder_ = std::make_shared<const AheadFolder>(AheadFolder{std::move(text), std::move(files)});
    }
    if (folder_->files) {
        item.folder = folder_;
    }
}

bool AheadItem::Is(std::string_view wanted) const {
    if (!path.empty() || folder == nullptr) {
        return path == wanted;
    }
    const std::string_view name = folder->files->Name(index);
    return wanted.size() == folder->path.size() + name.size() && wanted.ends_with(name) &&
           wanted.starts_with(folder->path);
}

std::unique_ptr<platform::AheadFile> AheadItem::Open() const {
    if (folder == nullptr) {
        return nullptr;
    }
    return path.empty() ? folder->files->Open(index)
                        : folder->files->OpenNamed(std::string_view(path).substr(folder->path.size()));
}

LookAhead::LookAhead(std::unique_ptr<AheadSource> source, Ready ready)
    : source_(std::move(source)),
      ready_(std::move(ready)),
      outer_(std::exchange(ModuleData<Innermost>().object, this)) {
    const Md5Kernel& kernel = ChosenMd5Kernel();
    const std::size_t chunks = LaneHasher::ChunksOf(kernel) + MostBegun + 1;
    const std::size_t share = std::min(Limit() / 2 / chunks, MostBytesALane) / Md5BlockBytes * Md5BlockBytes;
    if (share != 0) {
        items_.resize(MostItems);
        hasher_ = std::make_unique<LaneHasher>(kernel, share, MostBegun + 1,
                                               [this](std::uint64_t number, const std::optional<Md5Digest>& digest) {
                                                   if (number < first_) {
                                                       return;  // passed over meanwhile
                                                   }
                                                   Item& item = At(number);
                                                   item.state = digest ? State::Hashed : State::Unknown;
                                                   item.digest = digest.value_or(Md5Digest{});
                                                   if (digest && ready_) {
                                                       ready_(*digest);
                                                   }
                                               });
    }
}

LookAhead::~LookAhead() {
    // Objects end in the reverse order of their beginning, unless a call that came in outlives its caller's.
    for (LookAhead** at = &ModuleData<Innermost>().object; *at != nullptr; at = &(*at)->outer_) {
        if (*at == this) {
            *at = outer_;
            break;
        }
    }
}

bool LookAhead::Active() {
    const LookAhead* const object = ModuleData<Innermost>().object;
    return object != nullptr && object->hasher_ != nullptr;
}

std::optional<Md5Digest> LookAhead::Digest(std::string_view path, const platform::FileStamp& stamp) {
    LookAhead* const self = ModuleData<Innermost>().object;
    if (self == nullptr || self->hasher_ == nullptr) {
        return std::nullopt;
    }
    Item* const item = self->Find(path);
    if (item == nullptr) {
        return std::nullopt;
    }
    self->Work(*item);
    return item->state == State::Hashed && item->stamp == stamp ? std::optional(item->digest) : std::nullopt;
}

LookAhead::Item* LookAhead::Find(std::string_view path) {
    // The first item stays until another one is asked for: a file that is found is asked for twice.
    std::uint64_t found = first_;
    for (unsigned spent = 0;; ++found) {
        while (found == end_) {
            if (coming_.size() >= Depth() && hasher_->HasRoom()) {
                StartNext();
                continue;
            }
            if (spent >= MostFetched) {
                return nullptr;
            }
            if (coming_.size() >= Depth()) {
                hasher_->Step();
                spent += StepCounts;
                continue;
            }
            ForgetWhenFull();
            if (!Fetch()) {
                return nullptr;
            }
            ++spent;
        }
        if (At(found).what.Is(path)) {
            break;
        }
    }
    while (first_ != found) {
        ForgetFirst();
    }
    asked_ = true;
    return &At(found);
}

void LookAhead::ForgetFirst() {
    At(first_++).what.folder.reset();
    asked_ = false;
}

// The one that was asked for last, and those behind it that turned out to have no hash, since nobody may ask for them.
// What has one stays: who asks for files that no source has said must not drive out those that are to come.
void LookAhead::ForgetWhenFull() {
    if (end_ - first_ != items_.size()) {
        return;
    }
    while (first_ != end_ && (asked_ || At(first_).state == State::Unknown)) {
        ForgetFirst();
    }
}

// Looks at one more file, and takes it on unless nobody will ask for its hash. False when there is none, or no room.
bool LookAhead::Fetch() {
    if (atEnd_ || end_ - first_ == items_.size()) {
        return false;
    }
    Item& item = At(end_);
    atEnd_ = !source_->Next(item.what, medium_.IsSlow());
    if (atEnd_) {
        return false;
    }
    if (item.what.folder == nullptr && item.what.path.empty()) {
        return true;
    }
    auto file = item.what.Open();
    atOnce_ = item.what.folder ? item.what.folder->files->AtOnce() : atOnce_;
    // One that is at rest and outside of the limits need not be remembered.
    if (file && atOnce_ == 1 && file->Opened() && !modMD5::IsHashed(file->Stamp().size)) {
        return true;
    }
    item.state = State::Unknown;
    if (file) {
        const bool ask = atOnce_ == 1 && medium_.IsWorthAsking(*file);
        if (ask) {
            file->WillBeRead();
        }
        coming_.push_back({end_, {std::move(file)}, ask});
        item.state = State::Waiting;
    }
    ++end_;
    return true;
}

std::size_t LookAhead::Depth() const {
    return std::max(medium_.IsSlow() ? OpenedWhenSlow : OpenedWhenFast, atOnce_);
}

void LookAhead::Refill(unsigned& passed) {
    while (hasher_->HasRoom()) {
        while (coming_.size() < Depth() && passed < MostFetched) {
            const std::uint64_t before = end_;
            if (!Fetch()) {
                break;
            }
            passed += end_ == before ? 1 : 0;
        }
        BeginReads();
        if (coming_.empty()) {
            return;
        }
        StartNext();
    }
}

// Of those that are open by now, in their order.
void LookAhead::BeginReads() {
    while (atOnce_ > 1 && begun_ < std::min(coming_.size(), MostBegun) && coming_[begun_].begun.file->IsAtRest()) {
        Begin(coming_[begun_++]);
    }
}

void LookAhead::Begin(Coming& coming) {
    platform::AheadFile& file = *coming.begun.file;
    Item& item = At(coming.number);
    if (!file.Opened() || !modMD5::IsHashed(file.Stamp().size)) {
        if (coming.number >= first_) {
            item.state = State::Unknown;
        }
        coming.begun.file.reset();
        return;
    }
    if (coming.number >= first_) {
        item.stamp = file.Stamp();
    }
    coming.begun = hasher_->Begin(std::move(coming.begun.file));
}

void LookAhead::StartNext() {
    if (begun_ == 0) {
        Begin(coming_.front());
        ++begun_;
    }
    Coming next = std::move(coming_.front());
    coming_.pop_front();
    --begun_;
    if (!next.begun.file) {
        return;
    }
    if (next.begun.chunk != nullptr) {
        hasher_->Start(next.number, std::move(next.begun));
        return;
    }
    const std::uint64_t bytes = next.begun.file->Stamp().size;
    if (next.asked || !medium_.WantsTime()) {
        hasher_->Start(next.number, std::move(next.begun));
        return;
    }
    const auto began = MediumSpeed::Time::now();
    hasher_->Start(next.number, std::move(next.begun));
    medium_.Took(MediumSpeed::Time::now() - began, std::min<std::uint64_t>(bytes, MostBytesALane));
}

void LookAhead::Work(Item& item) {
    unsigned passed = 0;
    while (item.state == State::Waiting) {
        Refill(passed);
        if (coming_.empty() && hasher_->IsIdle()) {
            item.state = State::Unknown;  // it was lost on its way, for want of memory
        }
        hasher_->Step();
    }
}

}  // namespace kel
