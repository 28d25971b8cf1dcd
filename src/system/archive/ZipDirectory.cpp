#include "archive/ZipDirectory.h"

#include <zlib.h>

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

#include "archive/ZipBytes.h"
#include "archive/ZipNames.h"

namespace kel::archive {

namespace {

using Bytes = std::span<const std::byte>;

// Records and the places of their fields, as the format's description has them.
constexpr std::uint32_t LocalSignature = 0x04034b50;
constexpr std::size_t LocalSize = 30;
constexpr std::uint32_t EntrySignature = 0x02014b50;
constexpr std::size_t EntrySize = 46;
constexpr std::uint32_t EndSignature = 0x06054b50;
constexpr std::size_t EndSize = 22;
constexpr std::size_t MaxComment = 65535;
constexpr std::uint32_t Locator64Signature = 0x07064b50;
constexpr std::size_t Locator64Size = 20;
constexpr std::uint32_t End64Signature = 0x06064b50;
constexpr std::size_t End64Size = 56;

constexpr std::uint16_t FlagEncrypted = 1U << 0;
constexpr std::uint16_t FlagStrongEncryption = 1U << 6;
constexpr std::uint16_t FlagUtf8 = 1U << 11;
constexpr std::uint16_t FlagMaskedHeaders = 1U << 13;

constexpr std::uint16_t ExtraSizes64 = 0x0001;
constexpr std::uint16_t ExtraUnicodePath = 0x7075;
constexpr std::uint32_t In64 = 0xffffffff;
constexpr std::uint16_t In64Short = 0xffff;

constexpr std::uint16_t Stored = 0;
constexpr std::uint16_t Deflated = 8;

// Where the directory lies.
struct Directory {
    std::uint64_t at = 0;
    std::uint64_t size = 0;
    std::uint64_t count = 0;
    std::uint64_t shift = 0;  ///< bytes before the archive proper, which places in it don't count
};

// An entry with the place of its local record.
struct DirectoryEntry {
    ZipEntry entry;
    std::uint64_t localAt = 0;
};

bool HasSignature(Bytes bytes, std::uint64_t at, std::size_t size, std::uint32_t signature) {
    const auto record = BytesAt(bytes, at, size);
    return record && NumberAt<std::uint32_t>(*record, 0) == signature;
}

// The last end record whose comment reaches to the end of the archive, or at least fits it.
std::optional<std::size_t> FindEnd(Bytes archive) {
    if (archive.size() < EndSize) {
        return std::nullopt;
    }
    const std::size_t last = archive.size() - EndSize;
    const std::size_t first = last > MaxComment ? last - MaxComment : 0;
    for (std::size_t at = last + 1; at-- > first;) {
        if (HasSignature(archive, at, EndSize, EndSignature) &&
            NumberAt<std::uint16_t>(archive, at + 20) <= archive.size() - at - EndSize) {
            return at;
        }
    }
    return std::nullopt;
}

// The 64-bit end record, where there is one. Its place is told by the locator, or it stands right before that.
std::optional<std::size_t> FindEnd64(Bytes archive, std::size_t endAt) {
    if (endAt < Locator64Size || !HasSignature(archive, endAt - Locator64Size, Locator64Size, Locator64Signature)) {
        return std::nullopt;
    }
    const std::size_t locatorAt = endAt - Locator64Size;
    const auto told = NumberAt<std::uint64_t>(archive, locatorAt + 8);
    if (told < locatorAt && HasSignature(archive, told, End64Size, End64Signature)) {
        return static_cast<std::size_t>(told);
    }
    if (locatorAt >= End64Size && HasSignature(archive, locatorAt - End64Size, End64Size, End64Signature)) {
        return locatorAt - End64Size;
    }
    return std::nullopt;
}

UnzipResult FindDirectory(Bytes archive, Directory& directory) {
    const auto endAt = FindEnd(archive);
    if (!endAt) {
        return UnzipDamaged;
    }
    const Bytes end = archive.subspan(*endAt);
    std::uint64_t directoryEnd = *endAt;
    bool oneDisk = NumberAt<std::uint16_t>(end, 4) == NumberAt<std::uint16_t>(end, 6);
    directory.count = NumberAt<std::uint16_t>(end, 10);
    directory.size = NumberAt<std::uint32_t>(end, 12);
    directory.at = NumberAt<std::uint32_t>(end, 16);
    if (const auto end64At = FindEnd64(archive, *endAt)) {
        const Bytes end64 = archive.subspan(*end64At);
        directoryEnd = *end64At;
        oneDisk = NumberAt<std::uint32_t>(end64, 16) == NumberAt<std::uint32_t>(end64, 20);
        directory.count = NumberAt<std::uint64_t>(end64, 32);
        directory.size = NumberAt<std::uint64_t>(end64, 40);
        directory.at = NumberAt<std::uint64_t>(end64, 48);
    } else if (directory.count == In64Short || directory.size == In64 || directory.at == In64) {
        return UnzipDamaged;
    }
    if (!oneDisk) {
        return UnzipUnsupported;
    }
    if (directory.size > directoryEnd || directory.at > directoryEnd - directory.size) {
        return UnzipDamaged;
    }
    // The directory ends where the end record begins. What is told of its place counts from the archive's own start.
    directory.shift = directoryEnd - directory.size - directory.at;
    directory.at += directory.shift;
    return UnzipDone;
}

// Finds an extra field; empty when it is not there.
Bytes ExtraField(Bytes extra, std::uint16_t sought) {
    while (extra.size() >= 4) {
        const auto id = NumberAt<std::uint16_t>(extra, 0);
        const auto data = BytesAt(extra, 4, NumberAt<std::uint16_t>(extra, 2));
        if (!data) {
            return {};
        }
        if (id == sought) {
            return *data;
        }
        extra = extra.subspan(4 + data->size());
    }
    return {};
}

// Takes the 64-bit numbers of an entry in the place of those that do not fit its record. False when one is missing.
bool TakeSizes64(Bytes extra, DirectoryEntry& directoryEntry) {
    Bytes numbers = ExtraField(extra, ExtraSizes64);
    for (std::uint64_t* number :
         {&directoryEntry.entry.bytes, &directoryEntry.entry.packedBytes, &directoryEntry.localAt}) {
        if (*number != In64) {
            continue;
        }
        if (numbers.size() < 8) {
            return false;
        }
        *number = NumberAt<std::uint64_t>(numbers, 0);
        numbers = numbers.subspan(8);
    }
    return true;
}

// The name in UTF-8: stored so, or given so in an extra field that belongs to this name, or in the old code page.
std::string NameOf(Bytes name, Bytes extra, std::uint16_t flags) {
    const std::string_view stored(reinterpret_cast<const char*>(name.data()), name.size());
    if ((flags & FlagUtf8) != 0) {
        return std::string(stored);
    }
    const Bytes unicode = ExtraField(extra, ExtraUnicodePath);
    if (unicode.size() > 5 && unicode[0] == std::byte{1} &&
        NumberAt<std::uint32_t>(unicode, 1) ==
            crc32(0, reinterpret_cast<const Bytef*>(name.data()), static_cast<uInt>(name.size()))) {
        const Bytes text = unicode.subspan(5);
        return {reinterpret_cast<const char*>(text.data()), text.size()};
    }
    return Utf8FromCodePage437(stored);
}

UnzipResult CheckKind(const ZipEntry& entry, std::uint16_t flags) {
    if ((flags & (FlagEncrypted | FlagStrongEncryption | FlagMaskedHeaders)) != 0) {
        return UnzipEncrypted;
    }
    if (entry.method != Stored && entry.method != Deflated) {
        return UnzipUnsupported;
    }
    return entry.method == Stored && entry.packedBytes != entry.bytes ? UnzipDamaged : UnzipDone;
}

bool IsTooLarge(const ZipEntry& entry, const ZipLimits& limits) {
    return entry.name.size() > limits.nameBytes || entry.bytes > limits.fileBytes ||
           (entry.bytes > limits.ratioCountsAboveBytes && entry.bytes / limits.ratio > entry.packedBytes);
}

// Reads the record at the beginning of `rest` and takes it off.
UnzipResult ReadEntry(Bytes& rest, const Directory& directory, const ZipLimits& limits, DirectoryEntry& result) {
    if (!HasSignature(rest, 0, EntrySize, EntrySignature)) {
        return UnzipDamaged;
    }
    const auto flags = NumberAt<std::uint16_t>(rest, 8);
    const std::size_t nameSize = NumberAt<std::uint16_t>(rest, 28);
    const std::size_t extraSize = NumberAt<std::uint16_t>(rest, 30);
    const std::size_t commentSize = NumberAt<std::uint16_t>(rest, 32);
    const auto tail = BytesAt(rest, EntrySize, nameSize + extraSize + commentSize);
    if (!tail) {
        return UnzipDamaged;
    }
    const Bytes extra = tail->subspan(nameSize, extraSize);
    ZipEntry& entry = result.entry;
    entry.method = NumberAt<std::uint16_t>(rest, 10);
    entry.crc = NumberAt<std::uint32_t>(rest, 16);
    entry.packedBytes = NumberAt<std::uint32_t>(rest, 20);
    entry.bytes = NumberAt<std::uint32_t>(rest, 24);
    result.localAt = NumberAt<std::uint32_t>(rest, 42);
    if (!TakeSizes64(extra, result)) {
        return UnzipDamaged;
    }
    if (result.localAt > directory.at) {
        return UnzipDamaged;
    }
    result.localAt += directory.shift;
    entry.name = NameOf(tail->first(nameSize), extra, flags);
    entry.isFolder = entry.name.ends_with('/') || entry.name.ends_with('\\');
    rest = rest.subspan(EntrySize + tail->size());
    if (const UnzipResult kind = CheckKind(entry, flags); kind != UnzipDone) {
        return kind;
    }
    return IsTooLarge(entry, limits) ? UnzipTooLarge : UnzipDone;
}

// Finds an entry's bytes behind its local record. All of it must lie before the directory.
bool Locate(Bytes archive, const Directory& directory, DirectoryEntry& directoryEntry) {
    const Bytes before = archive.first(static_cast<std::size_t>(directory.at));
    if (!HasSignature(before, directoryEntry.localAt, LocalSize, LocalSignature)) {
        return false;
    }
    const auto local = static_cast<std::size_t>(directoryEntry.localAt);
    const std::uint64_t dataAt = directoryEntry.localAt + LocalSize + NumberAt<std::uint16_t>(before, local + 26) +
                                 NumberAt<std::uint16_t>(before, local + 28);
    directoryEntry.entry.dataAt = dataAt;
    return BytesAt(before, dataAt, directoryEntry.entry.packedBytes).has_value();
}

// Whether two entries share bytes of the archive, with which a small archive unpacks to a huge one.
bool Overlap(const std::vector<DirectoryEntry>& entries) {
    std::vector<std::pair<std::uint64_t, std::uint64_t>> ranges;
    ranges.reserve(entries.size());
    for (const DirectoryEntry& item : entries) {
        ranges.emplace_back(item.localAt, item.entry.dataAt + item.entry.packedBytes);
    }
    std::sort(ranges.begin(), ranges.end());
    const auto shared = std::adjacent_find(ranges.begin(), ranges.end(), [](const auto& first, const auto& second) {
        return second.first < first.second;
    });
    return shared != ranges.end();
}

}  // namespace

UnzipResult ReadZipDirectory(Bytes archive, const ZipLimits& limits, std::vector<ZipEntry>& entries) {
    Directory directory;
    if (const UnzipResult found = FindDirectory(archive, directory); found != UnzipDone) {
        return found;
    }
    if (directory.count > limits.entries) {
        return UnzipTooLarge;
    }
    Bytes rest = archive.subspan(static_cast<std::size_t>(directory.at), static_cast<std::size_t>(directory.size));
    std::vector<DirectoryEntry> read;
    std::uint64_t totalBytes = 0;
    for (std::uint64_t index = 0; index < directory.count; ++index) {
        DirectoryEntry& item = read.emplace_back();
        if (const UnzipResult result = ReadEntry(rest, directory, limits, item); result != UnzipDone) {
            return result;
        }
        if (!Locate(archive, directory, item)) {
            return UnzipDamaged;
        }
        totalBytes += item.entry.bytes;
        if (totalBytes > limits.totalBytes) {
            return UnzipTooLarge;
        }
    }
    // A further record here would be an entry that other readers see and this one does not.
    if (HasSignature(rest, 0, EntrySize, EntrySignature)) {
        return UnzipDamaged;
    }
    if (Overlap(read)) {
        return UnzipOverlap;
    }
    entries.reserve(read.size());
    for (DirectoryEntry& item : read) {
        entries.push_back(std::move(item.entry));
    }
    return UnzipDone;
}

}  // namespace kel::archive
