#include "Logs.h"

#include <algorithm>
#include <cstring>

#include "hive/BaseBlock.h"
#include "hive/Marvin32.h"

namespace kel::test {

using offline::regf::BaseBlock;
using offline::regf::FileType;
using offline::regf::PageSize;
using offline::regf::ParseBaseBlock;
using offline::regf::SectorSize;
using offline::regf::Store32;
using offline::regf::Store64;

namespace {

bool Differ(const Bytes& before, const Bytes& after, std::size_t at, std::size_t size) {
    return at + size > before.size() || std::memcmp(before.data() + at, after.data() + at, size) != 0;
}

/// The first sector of a hive as a log of that type keeps it.
Bytes Header(const Bytes& hive, FileType type, std::uint32_t sequence) {
    Bytes header(hive.begin(), hive.begin() + SectorSize);
    BaseBlock base = ParseBaseBlock(header.data());
    base.type = type;
    base.sequence1 = base.sequence2 = sequence;
    StoreBaseBlock(header.data(), base);
    return header;
}

}  // namespace

Bytes Dirty(Bytes clean, std::uint32_t sequence) {
    BaseBlock base = ParseBaseBlock(clean.data());
    base.sequence1 = sequence;
    base.sequence2 = sequence - 1;
    StoreBaseBlock(clean.data(), base);
    return clean;
}

Bytes OldLog(const Bytes& before, const Bytes& after) {
    const std::uint64_t written = ParseBaseBlock(before.data()).written;
    Bytes log = Header(after, FileType::LogXp, 2);
    BaseBlock base = ParseBaseBlock(log.data());
    base.written = written;
    StoreBaseBlock(log.data(), base);
    const std::size_t sectors = (after.size() - PageSize) / SectorSize;
    Bytes map(sectors / 8);
    Bytes pages;
    for (std::size_t sector = 0; sector < sectors; ++sector) {
        const std::size_t at = PageSize + sector * SectorSize;
        if (!Differ(before, after, at, SectorSize))
            continue;
        map[sector / 8] |= static_cast<std::byte>(1U << (sector % 8));
        pages.insert(pages.end(), after.begin() + static_cast<std::ptrdiff_t>(at),
                     after.begin() + static_cast<std::ptrdiff_t>(at + SectorSize));
    }
    for (const char letter : {'D', 'I', 'R', 'T'})
        log.push_back(static_cast<std::byte>(letter));
    log.insert(log.end(), map.begin(), map.end());
    log.resize(offline::regf::RoundUp(log.size(), SectorSize));
    log.insert(log.end(), pages.begin(), pages.end());
    return log;
}

NewLog::NewLog(const Bytes& hive, std::uint32_t sequence) : bytes_(Header(hive, FileType::LogNew, sequence)) {
}

void NewLog::Add(const Bytes& before, const Bytes& after, std::uint32_t sequence) {
    Bytes references;
    Bytes pages;
    std::uint32_t count = 0;
    for (std::size_t at = PageSize; at < after.size(); at += PageSize) {
        if (!Differ(before, after, at, PageSize))
            continue;
        ++count;
        references.resize(references.size() + 8);
        Store32(references.data() + references.size() - 8, at - PageSize);
        Store32(references.data() + references.size() - 4, PageSize);
        pages.insert(pages.end(), after.begin() + static_cast<std::ptrdiff_t>(at),
                     after.begin() + static_cast<std::ptrdiff_t>(at + PageSize));
    }
    Bytes entry(40);
    std::memcpy(entry.data(), "HvLE", 4);
    entry.insert(entry.end(), references.begin(), references.end());
    entry.insert(entry.end(), pages.begin(), pages.end());
    entry.resize(offline::regf::RoundUp(entry.size(), SectorSize));
    Store32(entry.data() + 4, entry.size());
    Store32(entry.data() + 12, sequence);
    Store32(entry.data() + 16, after.size() - PageSize);
    Store32(entry.data() + 20, count);
    const std::span<const std::byte> all(entry);
    Store64(entry.data() + 24, offline::regf::Marvin32(all.subspan(40)));
    Store64(entry.data() + 32, offline::regf::Marvin32(all.first(32)));
    last_ = bytes_.size();
    bytes_.insert(bytes_.end(), entry.begin(), entry.end());
}

}  // namespace kel::test
