#include "hive/ValueStore.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace kel::offline::regf {
namespace {

constexpr std::size_t LargestResident = 4;
constexpr std::size_t GrowthDivisor = 8;
constexpr std::size_t LargestSegmentCount = 0xFFFF;
// A full segment's cell has four bytes that are not used; other readers take every segment's for such.
constexpr std::size_t SegmentSlack = 4;
// NT 3.1 is not known to keep data in the record of a value.
constexpr std::uint32_t FirstMinorWithResident = 2;

}  // namespace

bool ValueStore::Store(std::span<const std::byte> data, Stored& stored) {
    stored = {static_cast<std::uint32_t>(data.size()), NoCell};
    if (data.size() <= LargestResident && (reader_.Minor() >= FirstMinorWithResident || data.empty())) {
        stored.size |= vk::Resident;
        stored.at = 0;
        std::copy(data.begin(), data.end(), reinterpret_cast<std::byte*>(&stored.at));
        return true;
    }
    if (data.size() > db::SegmentSize && reader_.Minor() >= db::FirstMinor)
        return StoreSegments(data, stored);
    stored.at = space_.Allocate(data.size());
    if (stored.at == NoCell)
        return false;
    std::memcpy(Field(stored.at, 0), data.data(), data.size());
    return true;
}

bool ValueStore::StoreSegments(std::span<const std::byte> data, Stored& stored) {
    const std::size_t count = (data.size() + db::SegmentSize - 1) / db::SegmentSize;
    if (count > LargestSegmentCount)
        return false;
    std::vector<std::uint32_t> cells{space_.Allocate(db::RecordSize), space_.Allocate(count * 4)};
    while (cells.back() != NoCell && cells.size() < count + 2) {
        const std::size_t at = (cells.size() - 2) * db::SegmentSize;
        const std::span<const std::byte> segment = data.subspan(at, std::min(db::SegmentSize, data.size() - at));
        cells.push_back(space_.Allocate(segment.size() + SegmentSlack));
        if (cells.back() != NoCell)
            std::memcpy(Field(cells.back(), 0), segment.data(), segment.size());
    }
    if (std::find(cells.begin(), cells.end(), NoCell) != cells.end()) {
        for (const std::uint32_t cell : cells)
            space_.Free(cell);
        return false;
    }
    Store16(Field(cells[0], 0), Tag("db"));
    Store16(Field(cells[0], db::CountAt), count);
    Store32(Field(cells[0], db::SegmentsAt), cells[1]);
    std::memcpy(Field(cells[1], 0), cells.data() + 2, count * 4);
    stored.at = cells[0];
    return true;
}

ValueStore::Stored ValueStore::DataOf(std::uint32_t value) const {
    return {Load32(Field(value, vk::DataSizeAt)), Load32(Field(value, vk::DataAt))};
}

void ValueStore::Free(const Stored& stored) {
    if ((stored.size & vk::Resident) != 0 || stored.size == 0)
        return;
    const std::span<const std::byte> content = cells_.Content(stored.at);
    if (content.size() < stored.size && HasTag(content, "db") && content.size() >= db::RecordSize &&
        !reader_.References().Shared(stored.at)) {
        const std::size_t count = Load16(content.data() + db::CountAt);
        const std::uint32_t list = Load32(content.data() + db::SegmentsAt);
        const std::span<const std::byte> segments = cells_.Content(list);
        if (!reader_.References().Shared(list))
            for (std::size_t i = 0; i < count && i < segments.size() / 4; ++i)
                space_.Free(Load32(segments.data() + i * 4));
        space_.Free(list);
    }
    space_.Free(stored.at);
}

std::uint32_t ValueStore::NewValue(std::u16string_view name) {
    const StoredName stored = EncodeName(name, reader_.Minor());
    const std::uint32_t value = space_.Allocate(vk::NameAt + stored.bytes.size());
    if (value == NoCell)
        return NoCell;
    Store16(Field(value, 0), Tag("vk"));
    Store16(Field(value, vk::NameLengthAt), stored.bytes.size());
    // A value without a name has no flag.
    Store16(Field(value, vk::FlagsAt), stored.compressed && !name.empty() ? vk::CompressedName : 0U);
    if (!stored.bytes.empty())
        std::memcpy(Field(value, vk::NameAt), stored.bytes.data(), stored.bytes.size());
    return value;
}

/// Makes sure that the key's list is its own and has room for so many values.
bool ValueStore::OwnList(std::uint32_t key, std::size_t room) {
    const std::size_t count = CountOf(key);
    const std::uint32_t list = count == 0 ? NoCell : Load32(Field(key, nk::ValueListAt));
    const bool shared = list != NoCell && reader_.References().Shared(list);
    if (list != NoCell && !shared && cells_.Content(list).size() >= room * 4)
        return true;
    const std::uint32_t larger = space_.Allocate((room + room / GrowthDivisor) * 4);
    if (larger == NoCell)
        return false;
    if (list != NoCell) {
        std::memcpy(Field(larger, 0), Field(list, 0), count * 4);
        space_.Free(list);
    }
    Store32(Field(key, nk::ValueListAt), larger);
    return true;
}

bool ValueStore::Append(std::uint32_t key, std::uint32_t value) {
    const std::size_t count = CountOf(key);
    if (!OwnList(key, count + 1))
        return false;
    Store32(Field(Load32(Field(key, nk::ValueListAt)), count * 4), value);
    Store32(Field(key, nk::ValueCountAt), count + 1);
    return true;
}

std::size_t ValueStore::IndexOf(std::uint32_t key, std::uint32_t value) const {
    const std::byte* list = Field(Load32(Field(key, nk::ValueListAt)), 0);
    const std::size_t count = CountOf(key);
    std::size_t index = 0;
    while (index < count && Load32(list + index * 4) != value)
        ++index;
    return index;
}

ValueStore::Outcome ValueStore::Set(std::uint32_t key, std::uint32_t value, std::u16string_view name,
                                    std::uint32_t type, std::span<const std::byte> data) {
    Stored stored;
    if (!Store(data, stored))
        return Outcome::Full;
    const bool shared = value != NoCell && reader_.References().Shared(value);
    std::uint32_t target = value;
    if (value == NoCell || shared) {
        // What another list shows as well is not changed for it: the key gets a record of its own.
        target = NewValue(shared ? std::u16string_view(reader_.ValueName(value).Text()) : name);
        const bool placed = target != NoCell && (shared ? OwnList(key, CountOf(key)) : Append(key, target));
        if (!placed) {
            space_.Free(target);
            Free(stored);
            return Outcome::Full;
        }
        if (shared)
            Store32(Field(Load32(Field(key, nk::ValueListAt)), IndexOf(key, value) * 4), target);
    } else {
        Free(DataOf(value));
    }
    Store32(Field(target, vk::DataSizeAt), stored.size);
    Store32(Field(target, vk::DataAt), stored.at);
    Store32(Field(target, vk::TypeAt), type);
    return Outcome::Done;
}

void ValueStore::FreeValue(std::uint32_t value) {
    if (reader_.References().Shared(value))
        return;
    Free(DataOf(value));
    space_.Free(value);
}

ValueStore::Outcome ValueStore::Remove(std::uint32_t key, std::uint32_t value) {
    const std::size_t count = CountOf(key);
    if (!OwnList(key, count))
        return Outcome::Full;
    const std::size_t index = IndexOf(key, value);
    if (index == count)
        return Outcome::Damaged;
    const std::uint32_t list = Load32(Field(key, nk::ValueListAt));
    std::byte* at = Field(list, index * 4);
    std::memmove(at, at + 4, (count - index - 1) * 4);
    Store32(Field(key, nk::ValueCountAt), count - 1);
    if (count == 1) {
        Store32(Field(key, nk::ValueListAt), NoCell);
        space_.Free(list);
    }
    FreeValue(value);
    return Outcome::Done;
}

void ValueStore::RemoveAll(std::uint32_t key) {
    std::vector<std::uint32_t> values;
    reader_.Values(key, values);
    for (const std::uint32_t value : values)
        FreeValue(value);
    if (CountOf(key) != 0)
        space_.Free(Load32(Field(key, nk::ValueListAt)));
}

}  // namespace kel::offline::regf
