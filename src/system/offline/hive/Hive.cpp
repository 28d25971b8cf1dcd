#include "hive/Hive.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <utility>

#include "hive/CellSpace.h"
#include "hive/SecurityCells.h"
#include "hive/SubkeyLists.h"
#include "hive/ValueStore.h"

namespace kel::offline {

using platform::Result;
using platform::SysError;
using regf::NoCell;

namespace nk = regf::nk;

namespace {

constexpr std::uint64_t FiletimeOfUnixEpoch = 116444736000000000;

std::uint64_t HostClock() {
    const auto since = std::chrono::system_clock::now().time_since_epoch();
    const auto ticks = std::chrono::duration_cast<std::chrono::nanoseconds>(since).count() / 100;
    return FiletimeOfUnixEpoch + static_cast<std::uint64_t>(ticks);
}

/// A damaged hive is also full where its end is in doubt, so that nothing can be put behind it.
template <class Outcome>
SysError ErrorOf(Outcome outcome, const regf::HiveReader& reader) {
    if (outcome == Outcome::Done)
        return SysError::Success;
    return outcome == Outcome::Full && reader.Damage().Count() == 0 ? SysError::NotEnoughMemory
                                                                    : SysError::RegistryCorrupt;
}

/// Keys keep how long the longest name below them is, as UTF-16. Only the low half of the field is the length of names
/// of subkeys.
void Raise16(std::byte* field, std::size_t least) {
    regf::Store16(field, std::max<std::size_t>(regf::Load16(field), least));
}
void Raise32(std::byte* field, std::size_t least) {
    regf::Store32(field, std::max<std::size_t>(regf::Load32(field), least));
}

}  // namespace

/// What only a hive that is changed needs.
struct Hive::Writer {
    regf::HiveReader& reader;
    regf::CellSpace space;
    regf::SecurityCells security;
    regf::SubkeyLists lists;
    regf::ValueStore values;

    explicit Writer(regf::HiveReader& of)
        : reader(of), space(of), security(of, space), lists(of, space), values(of, space) {}

    [[nodiscard]] std::byte* Field(std::uint32_t cell, std::size_t field) const {
        return reader.Cells().At(reader.FieldAt(cell, field));
    }
    [[nodiscard]] std::uint32_t NewKey(KeyId parent, std::u16string_view name, std::uint64_t now);
    void FreeKey(KeyId key);
};

Hive::Hive(regf::HiveImage image, std::span<const regf::LogFile> logs) : clock_(HostClock) {
    const bool foreign = image.Size() >= 4 && std::memcmp(image.Data(), "CREG", 4) == 0;
    if (!foreign)
        replay_ = regf::ReplayLogs(image, logs);
    Reopen(std::move(image));
}

Hive::~Hive() = default;

void Hive::Reopen(regf::HiveImage image) {
    writer_.reset();
    index_.reset();
    reader_ = std::make_unique<regf::HiveReader>(std::move(image));
    index_ = std::make_unique<regf::HiveIndex>(*reader_);
    listedKey_ = valuesKey_ = NoKey;
}

KeyId Hive::FindKey(KeyId parent, std::u16string_view name) const {
    return IsKey(parent) ? index_->Find(parent, name) : NoKey;
}

const std::vector<std::uint32_t>& Hive::Listing(KeyId key) const {
    if (listedKey_ == key)
        return listing_;
    listing_.clear();
    listedKey_ = key;
    if (!IsKey(key))
        return listing_;
    reader_->Subkeys(key, listing_);
    const auto before = [this](std::uint32_t left, std::uint32_t right) {
        return Compare(reader_->KeyName(left), reader_->KeyName(right)) < 0;
    };
    if (!std::is_sorted(listing_.begin(), listing_.end(), before))
        std::stable_sort(listing_.begin(), listing_.end(), before);
    return listing_;
}

const std::vector<std::uint32_t>& Hive::ValuesOf(KeyId key) const {
    if (valuesKey_ == key)
        return values_;
    values_.clear();
    valuesKey_ = key;
    valuesComplete_ = !IsKey(key) || reader_->Values(key, values_);
    return values_;
}

std::uint32_t Hive::KeyCount(KeyId key) const {
    return static_cast<std::uint32_t>(Listing(key).size());
}

KeyId Hive::KeyAt(KeyId key, std::uint32_t index) const {
    const std::vector<std::uint32_t>& keys = Listing(key);
    return index < keys.size() ? keys[index] : NoKey;
}

std::u16string Hive::KeyName(KeyId key) const {
    return IsKey(key) ? reader_->KeyName(key).Text() : std::u16string();
}

std::u16string Hive::ClassName(KeyId key) const {
    return IsKey(key) ? reader_->ClassName(key) : std::u16string();
}

std::uint64_t Hive::LastWritten(KeyId key) const {
    return IsKey(key) ? reader_->LastWritten(key) : 0;
}

std::uint32_t Hive::ValueCount(KeyId key) const {
    return static_cast<std::uint32_t>(ValuesOf(key).size());
}

Result<TreeValue> Hive::Read(std::uint32_t value) const {
    TreeValue read;
    read.name = reader_->ValueName(value).Text();
    read.type = reader_->ValueType(value);
    if (!reader_->Data(value, read.data))
        return SysError::RegistryCorrupt;
    return read;
}

Result<TreeValue> Hive::ValueAt(KeyId key, std::uint32_t index) const {
    if (!IsKey(key))
        return SysError::KeyDeleted;
    const std::vector<std::uint32_t>& values = ValuesOf(key);
    if (index >= values.size())
        return SysError::NoMoreItems;
    return Read(values[index]);
}

std::uint32_t Hive::FindValueCell(KeyId key, std::u16string_view name) const {
    for (const std::uint32_t value : ValuesOf(key))
        if (Same(name, reader_->ValueName(value)))
            return value;
    return NoCell;
}

Result<TreeValue> Hive::FindValue(KeyId key, std::u16string_view name) const {
    if (!IsKey(key))
        return SysError::KeyDeleted;
    const std::uint32_t value = FindValueCell(key, name);
    if (value == NoCell)
        return SysError::FileNotFound;
    return Read(value);
}

Hive::Writer& Hive::Edit() {
    OnChange();
    if (!before_) {
        const std::span<const std::byte> bytes = reader_->Image().Bytes();
        before_.emplace(bytes.begin(), bytes.end());
    }
    began_ = true;
    if (writer_ == nullptr) {
        // Every reference is taken as it stands now; from here on cells move.
        reader_->ReadAll();
        reader_->References().Freeze();
        writer_ = std::make_unique<Writer>(*reader_);
    }
    return *writer_;
}

void Hive::Touch(KeyId key) {
    listedKey_ = valuesKey_ = NoKey;
    changed_ = true;
    regf::Store64(writer_->Field(key, nk::WrittenAt), clock_());
}

std::uint32_t Hive::Writer::NewKey(KeyId parent, std::u16string_view name, std::uint64_t now) {
    const regf::StoredName stored = regf::EncodeName(name, reader.Minor());
    const std::uint32_t key = space.Allocate(nk::NameAt + stored.bytes.size());
    if (key == NoCell)
        return NoCell;
    regf::Store16(Field(key, 0), regf::Tag("nk"));
    regf::Store16(Field(key, nk::FlagsAt), stored.compressed ? nk::CompressedName : 0U);
    regf::Store64(Field(key, nk::WrittenAt), now);
    regf::Store32(Field(key, nk::ParentAt), parent);
    for (const std::size_t field : {nk::SubkeyListAt, nk::VolatileListAt, nk::ValueListAt, nk::ClassAt})
        regf::Store32(Field(key, field), NoCell);
    regf::Store32(Field(key, nk::SecurityAt), security.Inherit(parent));
    regf::Store16(Field(key, nk::NameLengthAt), stored.bytes.size());
    std::memcpy(Field(key, nk::NameAt), stored.bytes.data(), stored.bytes.size());
    return key;
}

void Hive::Writer::FreeKey(KeyId key) {
    security.Release(regf::Load32(Field(key, nk::SecurityAt)));
    values.RemoveAll(key);
    if (regf::Load16(Field(key, nk::ClassLengthAt)) != 0)
        space.Free(regf::Load32(Field(key, nk::ClassAt)));
    space.Free(key);
}

Result<KeyId> Hive::CreateKey(KeyId parent, std::u16string_view name) {
    if (!IsKey(parent))
        return SysError::KeyDeleted;
    if (name.empty() || name.size() > MaximumKeyName || name.find(u'\\') != std::u16string_view::npos)
        return SysError::InvalidParameter;
    if (const KeyId known = FindKey(parent, name); known != NoKey)
        return known;
    Writer& writer = Edit();
    if (reader_->References().Shared(parent))
        return SysError::RegistryCorrupt;
    const std::uint32_t key = writer.NewKey(parent, name, clock_());
    if (key == NoCell)
        return ErrorOf(regf::SubkeyLists::Outcome::Full, *reader_);
    const auto outcome = writer.lists.Insert(parent, key);
    if (outcome != regf::SubkeyLists::Outcome::Done) {
        writer.FreeKey(key);
        return ErrorOf(outcome, *reader_);
    }
    Raise16(writer.Field(parent, nk::MaxNameAt), name.size() * 2);
    index_->Added(parent, key);
    Touch(parent);
    return key;
}

SysError Hive::DeleteKey(KeyId parent, std::u16string_view name) {
    if (!IsKey(parent))
        return SysError::KeyDeleted;
    const KeyId key = FindKey(parent, name);
    if (key == NoKey)
        return SysError::FileNotFound;
    // What says that it has subkeys that can't be read is not deleted over them either.
    if (reader_->StatedSubkeys(key) != 0)
        return KeyCount(key) != 0 ? SysError::AccessDenied : SysError::RegistryCorrupt;
    Writer& writer = Edit();
    if (reader_->References().Shared(parent) || reader_->References().Shared(key))
        return SysError::RegistryCorrupt;
    const auto outcome = writer.lists.Remove(parent, key);
    if (outcome != regf::SubkeyLists::Outcome::Done)
        return ErrorOf(outcome, *reader_);
    index_->Removed(parent, key);
    writer.FreeKey(key);
    Touch(parent);
    return SysError::Success;
}

SysError Hive::SetValue(KeyId key, std::u16string_view name, std::uint32_t type, std::span<const std::byte> data) {
    if (!IsKey(key))
        return SysError::KeyDeleted;
    if (name.size() > MaximumValueName)
        return SysError::InvalidParameter;
    if (data.size() >= regf::MaxBins)
        return SysError::BadLength;
    if (reader_->IsPredefined(key))
        return SysError::AccessDenied;
    Writer& writer = Edit();
    const std::uint32_t value = FindValueCell(key, name);
    if (!valuesComplete_ || reader_->References().Shared(key))
        return SysError::RegistryCorrupt;
    const auto outcome = writer.values.Set(key, value, name, type, data);
    if (outcome != regf::ValueStore::Outcome::Done)
        return ErrorOf(outcome, *reader_);
    Raise32(writer.Field(key, nk::MaxValueNameAt), name.size() * 2);
    Raise32(writer.Field(key, nk::MaxValueDataAt), data.size());
    Touch(key);
    return SysError::Success;
}

SysError Hive::DeleteValue(KeyId key, std::u16string_view name) {
    if (!IsKey(key))
        return SysError::KeyDeleted;
    const std::uint32_t value = FindValueCell(key, name);
    if (value == NoCell)
        return SysError::FileNotFound;
    Writer& writer = Edit();
    if (!valuesComplete_ || reader_->References().Shared(key))
        return SysError::RegistryCorrupt;
    const auto outcome = writer.values.Remove(key, value);
    if (outcome != regf::ValueStore::Outcome::Done)
        return ErrorOf(outcome, *reader_);
    Touch(key);
    return SysError::Success;
}

std::span<const std::byte> Hive::Render() {
    regf::HiveImage& image = reader_->Image();
    regf::BaseBlock base = regf::ParseBaseBlock(image.Data());
    base.sequence1 = base.sequence2 = std::max(base.sequence1, base.sequence2) + 1;
    base.written = clock_();
    base.type = regf::FileType::Primary;
    base.root = reader_->Root();
    base.binsSize = static_cast<std::uint32_t>(reader_->Cells().BinsSize());
    regf::StoreBaseBlock(image.Data(), base);
    return image.Bytes().first(regf::PageSize + reader_->Cells().BinsSize());
}

SysError Hive::Commit() {
    if (changed_)
        Render();
    if (began_)
        Accept(ChangedPages());
    return SysError::Success;
}

// By the page: to copy a large image anew at each change would cost more than all else.
void Hive::Accept(const std::vector<ByteRange>& changed) {
    const std::span<const std::byte> bytes = reader_->Image().Bytes();
    before_->resize(bytes.size());
    for (const ByteRange& range : changed)
        std::memcpy(before_->data() + range.offset, bytes.data() + range.offset, range.size);
    began_ = changed_ = false;
}

std::vector<ByteRange> Hive::ChangedPages() const {
    const std::span<const std::byte> bytes = reader_->Image().Bytes();
    const std::size_t common = before_ ? std::min(before_->size(), bytes.size()) : 0;
    std::vector<ByteRange> ranges;
    for (std::size_t at = 0; at < bytes.size(); at += regf::PageSize) {
        const std::size_t size = std::min(regf::PageSize, bytes.size() - at);
        if (at != 0 && at + size <= common && std::memcmp(before_->data() + at, bytes.data() + at, size) == 0)
            continue;
        if (!ranges.empty() && ranges.back().offset + ranges.back().size == at)
            ranges.back().size += size;
        else
            ranges.push_back({at, size});
    }
    return ranges;
}

void Hive::Discard() {
    if (!began_)
        return;
    regf::HiveImage image;
    if (!image.Assign(*before_))
        return;
    Reopen(std::move(image));
    began_ = changed_ = false;
}

}  // namespace kel::offline
