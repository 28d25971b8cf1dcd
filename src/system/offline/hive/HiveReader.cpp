#include "hive/HiveReader.h"

#include <algorithm>
#include <utility>

namespace kel::offline::regf {
namespace {

// One level of `ri` is what Windows writes; more is tolerated, without end it is not.
constexpr int MaximumListDepth = 8;
// Entries of a list whose cells are asked for before they are looked at.
constexpr std::size_t Ahead = 8;

}  // namespace

HiveReader::HiveReader(HiveImage image) : image_(std::move(image)) {
    const std::string why = WhyNotAHive(image_.Bytes());
    if (!why.empty())
        throw HiveError(why);
    base_ = ParseBaseBlock(image_.Data());
    if (!base_.checksumOk)
        damage_.Add(0, "the header's checksum is wrong");

    const std::size_t available = std::min(image_.Size() - PageSize, MaxBins);
    std::size_t binsSize = base_.binsSize;
    if (binsSize > available || binsSize == 0) {
        damage_.Add(0, "the header says " + std::to_string(binsSize) + " bytes of bins; the file has " +
                           std::to_string(available));
        binsSize = available;
    }
    cells_.Read(image_, base_.minor, binsSize / 8 * 8, damage_);
    claims_.Start(cells_.BinsSize());
    if (!FindRoot())
        throw HiveError("is a registry hive without a readable root key");
    claims_.ClaimRoot(root_);
}

bool HiveReader::FindRoot() {
    if (IsKeyCell(base_.root)) {
        root_ = base_.root;
        return true;
    }
    damage_.Add(0, "the header's root is no key");
    cells_.LoadAll();
    for (const Bin& bin : cells_.Bins()) {
        for (std::uint32_t cell = bin.begin; cell < bin.end; cell += 8) {
            if (!cells_.IsKnown(cell) || !IsKeyCell(cell))
                continue;
            if ((Load16(Record(cell) + nk::FlagsAt) & nk::HiveEntry) == 0)
                continue;
            root_ = cell;
            return true;
        }
    }
    return false;
}

void HiveReader::Report(std::uint32_t at, std::string reason) const {
    if (reported_.Test(at / 4))
        return;
    reported_.Set(at / 4);
    damage_.Add(cells_.FileOffset(at), std::move(reason));
}

/// Whether the reference stored at `at` leads to an allocated cell and may be followed.
bool HiveReader::Follow(std::uint32_t at, std::uint32_t cell, std::uint64_t cost, const char* what) const {
    if (!cells_.IsAllocated(cell)) {
        Report(at, std::string("the reference to ") + what + " leads to no cell");
        return false;
    }
    const Claims::Answer answer = claims_.Refer(at, cell, cost);
    if (!answer.allowed)
        Report(at, std::string("the reference to ") + what + " leads where another one leads too");
    return answer.allowed;
}

bool HiveReader::ReadList(std::uint32_t list, int depth, std::vector<std::uint32_t>& keys) const {
    const std::span<const std::byte> content = cells_.Content(list);
    const bool lists = HasTag(content, "ri");
    const std::size_t entrySize = lists ? 4 : LeafEntrySize(content);
    if (entrySize == 0 || (lists && depth >= MaximumListDepth)) {
        Report(FieldAt(list, 0), "the list of subkeys has an unknown form");
        return false;
    }
    std::size_t count = Load16(content.data() + list::CountAt);
    const std::size_t room = (content.size() - list::EntriesAt) / entrySize;
    bool complete = true;
    if (count > room) {
        Report(FieldAt(list, 0), "the list of subkeys is longer than its cell");
        count = room;
        complete = false;
    }
    const auto entry = [&](std::size_t index) { return Load32(content.data() + list::EntriesAt + index * entrySize); };
    for (std::size_t i = 0; i < std::min(Ahead, count); ++i)
        Prefetch(entry(i));
    for (std::size_t i = 0; i < count; ++i) {
        if (i + Ahead < count)
            Prefetch(entry(i + Ahead));
        const std::size_t field = list::EntriesAt + i * entrySize;
        const std::uint32_t cell = Load32(content.data() + field);
        const std::uint32_t at = FieldAt(list, field);
        if (lists) {
            const bool read = Follow(at, cell, Claims::Never, "a list of subkeys") && ReadList(cell, depth + 1, keys);
            complete = read && complete;
        } else if (!Follow(at, cell, Claims::Never, "a subkey")) {
            complete = false;
        } else if (!IsKeyCell(cell)) {
            Report(at, "the list of subkeys names something that is no key");
            complete = false;
        } else {
            PrefetchLists(cell);
            keys.push_back(cell);
        }
    }
    return complete;
}

bool HiveReader::Subkeys(std::uint32_t key, std::vector<std::uint32_t>& keys) const {
    keys.clear();
    if (StatedSubkeys(key) == 0)
        return true;
    const std::uint32_t list = Load32(Record(key) + nk::SubkeyListAt);
    return Follow(FieldAt(key, nk::SubkeyListAt), list, Claims::Never, "a list of subkeys") && ReadList(list, 0, keys);
}

bool HiveReader::Values(std::uint32_t key, std::vector<std::uint32_t>& values) const {
    values.clear();
    std::size_t count = StatedValues(key);
    if (count == 0)
        return true;
    const std::uint32_t list = Load32(Record(key) + nk::ValueListAt);
    if (!Follow(FieldAt(key, nk::ValueListAt), list, Claims::Never, "a list of values"))
        return false;
    const std::span<const std::byte> content = cells_.Content(list);
    bool complete = true;
    for (std::size_t i = 0; i < std::min(Ahead, content.size() / 4); ++i)
        Prefetch(Load32(content.data() + i * 4));
    if (count > content.size() / 4) {
        Report(FieldAt(list, 0), "the list of values is longer than its cell");
        count = content.size() / 4;
        complete = false;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t cell = Load32(content.data() + i * 4);
        const std::uint32_t at = FieldAt(list, i * 4);
        const std::span<const std::byte> value = cells_.Content(cell);
        // A value that several lists name is given to each of them, data and all, as long as that stays in bounds.
        const std::uint64_t cost = IsValue(value) ? value.size() + Load32(value.data() + vk::DataSizeAt) : 0;
        if (!Follow(at, cell, cost, "a value")) {
            complete = false;
        } else if (!IsValue(value)) {
            Report(at, "the list of values names something that is no value");
            complete = false;
        } else {
            Prefetch(Load32(value.data() + vk::DataAt));
            values.push_back(cell);
        }
    }
    return complete;
}

std::u16string HiveReader::ClassName(std::uint32_t key) const {
    const std::byte* record = Record(key);
    const std::size_t size = Load16(record + nk::ClassLengthAt);
    const std::uint32_t cell = Load32(record + nk::ClassAt);
    if (size == 0 || cell == NoCell || !Follow(FieldAt(key, nk::ClassAt), cell, size, "a class name"))
        return {};
    const std::span<const std::byte> content = cells_.Content(cell);
    if (size > content.size())
        Report(FieldAt(key, nk::ClassAt), "the class name is longer than its cell");
    return NameView(content.data(), std::min(size, content.size()), false).Text();
}

bool HiveReader::Data(std::uint32_t value, std::vector<std::byte>& data) const {
    data.clear();
    const std::byte* record = Record(value);
    const std::uint32_t stated = Load32(record + vk::DataSizeAt);
    const std::size_t size = stated & ~vk::Resident;
    const std::uint32_t at = FieldAt(value, vk::DataAt);
    if ((stated & vk::Resident) != 0) {
        data.assign(record + vk::DataAt, record + vk::DataAt + std::min<std::size_t>(size, 4));
        if (size > 4)
            Report(FieldAt(value, vk::DataSizeAt), "the value says that more than four bytes lie in its record");
        return size <= 4;
    }
    if (size == 0)
        return true;
    const std::uint32_t cell = Load32(record + vk::DataAt);
    if (!Follow(at, cell, size, "data"))
        return false;
    const std::span<const std::byte> content = cells_.Content(cell);
    if (content.size() >= size) {
        data.assign(content.begin(), content.begin() + static_cast<std::ptrdiff_t>(size));
        return true;
    }
    if (base_.minor >= db::FirstMinor && size > db::SegmentSize && HasTag(content, "db") &&
        content.size() >= db::RecordSize)
        return Segments(cell, size, data);
    Report(at, "the data are longer than their cell");
    data.assign(content.begin(), content.end());
    return false;
}

bool HiveReader::Segments(std::uint32_t record, std::size_t size, std::vector<std::byte>& data) const {
    const std::span<const std::byte> header = cells_.Content(record);
    const std::size_t count = Load16(header.data() + db::CountAt);
    const std::uint32_t list = Load32(header.data() + db::SegmentsAt);
    if (!Follow(FieldAt(record, db::SegmentsAt), list, Claims::Never, "a list of data segments"))
        return false;
    const std::span<const std::byte> segments = cells_.Content(list);
    for (std::size_t i = 0; i < count && i < segments.size() / 4 && data.size() < size; ++i) {
        const std::uint32_t cell = Load32(segments.data() + i * 4);
        const std::span<const std::byte> segment = cells_.Content(cell);
        if (!Follow(FieldAt(list, i * 4), cell, segment.size(), "a data segment"))
            return false;
        const std::size_t wanted = std::min(size - data.size(), db::SegmentSize);
        const std::size_t got = std::min(wanted, segment.size());
        data.insert(data.end(), segment.begin(), segment.begin() + static_cast<std::ptrdiff_t>(got));
        if (got < wanted) {
            Report(FieldAt(list, i * 4), "the data segment is shorter than it should be");
            return false;
        }
    }
    if (data.size() < size)
        Report(FieldAt(record, 0), "the segments hold less data than the value says");
    return data.size() == size;
}

void HiveReader::ReadAll() const {
    cells_.LoadAll();
    std::vector<std::uint32_t> values;
    std::vector<std::byte> data;
    ForEachKey([&](std::uint32_t key, std::uint32_t) {
        static_cast<void>(ClassName(key));
        Values(key, values);
        for (const std::uint32_t value : values)
            Data(value, data);
    });
}

}  // namespace kel::offline::regf
