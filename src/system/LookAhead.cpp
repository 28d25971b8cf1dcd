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
// Files that are looked at in one go, so that an answer never waits for many that have no hash.
constexpr unsigned MostFetched = 128;

// From a slow medium the next files are asked for early. Two measures tell it: a file from memory takes some
// microseconds and a fraction of a nanosecond a byte, and a slow medium many times that.
constexpr unsigned FilesToJudge = 32;
constexpr unsigned FilesUntilJudgedAgain = 1024;
constexpr std::size_t OpenedWhenWarm = 1;
constexpr std::size_t OpenedWhenCold = 64;
constexpr double WarmFileNanoseconds = 4000;
constexpr double WarmByteNanoseconds = 0.3;
constexpr double ColdIsTimes = 6;

struct Innermost {
    LookAhead* object = nullptr;
};

std::size_t Limit() {
    const char* const megabytes = std::getenv(Variable);
    return megabytes == nullptr ? DefaultMegabytes * Megabyte
                                : static_cast<std::size_t>(std::strtoul(megabytes, nullptr, 10)) * Megabyte;
}

}  // namespace

bool ListedFiles::Next(AheadItem& item) {
    if (next_ == paths_.size()) {
        return false;
    }
    item.path = std::move(paths_[next_++]);
    const std::size_t end = item.path.rfind('\\');
    if (end == std::string::npos) {
        item.folder = nullptr;
        return true;
    }
    if (folder_ == nullptr || std::string_view(item.path).substr(0, end + 1) != folderPath_) {
        folderPath_ = item.path.substr(0, end + 1);
        folder_ = platform::Current().files->Ahead(folderPath_);
    }
    item.folder = folder_;
    item.name = item.path.substr(end + 1);
    return true;
}

LookAhead::LookAhead(std::unique_ptr<AheadSource> source)
    : source_(std::move(source)), outer_(std::exchange(ModuleData<Innermost>().object, this)) {
    const Md5Kernel& kernel = ChosenMd5Kernel();
    const std::size_t share = std::min(Limit() / 2 / kernel.lanes, MostBytesALane) / Md5BlockBytes * Md5BlockBytes;
    if (share != 0) {
        hasher_ = std::make_unique<LaneHasher>(kernel, share,
                                               [this](std::uint64_t number, const std::optional<Md5Digest>& digest) {
                                                   if (number < first_) {
                                                       return;  // passed over meanwhile
                                                   }
                                                   Item& item = items_[static_cast<std::size_t>(number - first_)];
                                                   item.state = digest ? State::Hashed : State::Unknown;
                                                   item.digest = digest.value_or(Md5Digest{});
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
    if (item == nullptr || (item->state != State::Unknown && item->stamp != stamp)) {
        return std::nullopt;
    }
    if (item->state == State::Waiting) {
        self->Work(*item);
    }
    return item->state == State::Hashed ? std::optional(item->digest) : std::nullopt;
}

LookAhead::Item* LookAhead::Find(std::string_view path) {
    // The first item stays until another one is asked for: a file that is found is asked for twice.
    const auto is = [path](const Item& item) { return item.path == path; };
    auto found = std::find_if(items_.begin(), items_.end(), is);
    for (unsigned fetched = 0; found == items_.end() && fetched < MostFetched && Fetch(); ++fetched) {
        found = items_.empty() || !is(items_.back()) ? items_.end() : std::prev(items_.end());
    }
    if (found == items_.end()) {
        return nullptr;
    }
    first_ += static_cast<std::uint64_t>(found - items_.begin());
    items_.erase(items_.begin(), found);
    return &items_.front();
}

// Looks at one more file, and takes it on unless nobody will ask for its hash. False when there is none, or no room.
bool LookAhead::Fetch() {
    AheadItem next;
    if (atEnd_ || items_.size() >= MostItems || !source_->Next(next)) {
        atEnd_ = atEnd_ || items_.size() < MostItems;
        return false;
    }
    auto file = next.folder ? next.folder->Open(next.name) : nullptr;
    if (file && !modMD5::IsHashed(file->Stamp().size)) {
        return true;
    }
    Item& item = items_.emplace_back();
    item.path = std::move(next.path);
    if (file) {
        item.stamp = file->Stamp();
        item.state = State::Waiting;
        if (coldFor_ > 0) {
            file->WillBeRead();
        }
        opened_.push_back({first_ + items_.size() - 1, std::move(file)});
    }
    return true;
}

void LookAhead::Refill() {
    for (unsigned fetched = 0; hasher_->HasRoom();) {
        while (opened_.size() < (coldFor_ > 0 ? OpenedWhenCold : OpenedWhenWarm) && fetched < MostFetched && Fetch()) {
            ++fetched;
        }
        if (opened_.empty()) {
            return;
        }
        StartNext();
    }
}

void LookAhead::StartNext() {
    Opened next = std::move(opened_.front());
    opened_.pop_front();
    const std::uint64_t bytes = next.file->Stamp().size;
    if (coldFor_ > 0) {
        --coldFor_;
        hasher_->Start(next.number, std::move(next.file));
        return;
    }
    const auto began = Time::now();
    hasher_->Start(next.number, std::move(next.file));
    reading_ += Time::now() - began;
    readBytes_ += std::min<std::uint64_t>(bytes, MostBytesALane);
    if (++readFiles_ < FilesToJudge) {
        return;
    }
    const double warm = FilesToJudge * WarmFileNanoseconds + static_cast<double>(readBytes_) * WarmByteNanoseconds;
    const auto took = std::chrono::duration_cast<std::chrono::nanoseconds>(reading_).count();
    coldFor_ = static_cast<double>(took) > ColdIsTimes * warm ? FilesUntilJudgedAgain : 0;
    reading_ = {};
    readBytes_ = 0;
    readFiles_ = 0;
}

void LookAhead::Work(const Item& item) {
    while (item.state == State::Waiting) {
        Refill();
        hasher_->Step();
    }
}

}  // namespace kel
