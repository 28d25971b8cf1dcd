// Transaction logs: a dirty hive and two logs of any content are replayed without harm, and what comes out is clean.
//
// The input is the log, or two logs with the length of the first in the first four bytes; the hive is always the same.
#include <cstdlib>
#include <memory>

#include "SampleHives.h"
#include "hive/LogReplay.h"

namespace {

using kel::offline::Hive;
using kel::offline::regf::LogFile;
using namespace kel::offline::regf;

constexpr std::size_t HashedHeader = 32;
constexpr std::size_t HashedPages = 40;

const std::vector<std::byte>& DirtyHive() {
    static const std::vector<std::byte> hive = [] {
        std::vector<std::byte> bytes = kel::fuzz::SampleHive(5);
        BaseBlock base = ParseBaseBlock(bytes.data());
        base.sequence1 = 3;
        base.sequence2 = 2;
        base.written = 2;
        StoreBaseBlock(bytes.data(), base);
        return bytes;
    }();
    return hive;
}

/// A log of either kind over the sample's own pages.
std::vector<std::byte> SampleLog(kel::fuzz::Choice& choice) {
    const auto& hive = DirtyHive();
    const bool recent = choice.Below(2) == 0;
    std::vector<std::byte> log(hive.begin(), hive.begin() + SectorSize);
    BaseBlock base = ParseBaseBlock(log.data());
    base.sequence1 = base.sequence2 = 2;
    base.type = recent ? FileType::LogNew : FileType::LogXp;
    StoreBaseBlock(log.data(), base);
    const std::size_t bins = hive.size() - PageSize;
    if (recent) {
        for (std::uint32_t entry = 0; entry < 1 + choice.Below(3); ++entry) {
            const std::size_t page = choice.Below(bins / PageSize) * PageSize;
            std::vector<std::byte> bytes(RoundUp(HashedPages + 8 + PageSize, SectorSize));
            std::memcpy(bytes.data(), "HvLE", 4);
            Store32(bytes.data() + 4, bytes.size());
            Store32(bytes.data() + 12, 2 + entry);
            Store32(bytes.data() + 16, bins);
            Store32(bytes.data() + 20, 1);
            Store32(bytes.data() + 40, page);
            Store32(bytes.data() + 44, PageSize);
            std::memcpy(bytes.data() + 48, hive.data() + PageSize + page, PageSize);
            log.insert(log.end(), bytes.begin(), bytes.end());
        }
    } else {
        for (const char letter : {'D', 'I', 'R', 'T'})
            log.push_back(static_cast<std::byte>(letter));
        const std::size_t map = log.size();
        log.resize(RoundUp(map + bins / SectorSize / 8, SectorSize));
        const std::size_t sector = choice.Below(bins / SectorSize);
        log[map + sector / 8] = static_cast<std::byte>(1U << (sector % 8));
        log.insert(log.end(), hive.begin() + static_cast<std::ptrdiff_t>(PageSize + sector * SectorSize),
                   hive.begin() + static_cast<std::ptrdiff_t>(PageSize + (sector + 1) * SectorSize));
    }
    return log;
}

/// Makes header and entries pass their checks, so that what lies behind these is reached.
void Mend(std::byte* log, std::size_t size) {
    if (size < SectorSize)
        return;
    kel::fuzz::MendChecksum(log);
    for (std::size_t at = SectorSize; size - at >= SectorSize;) {
        std::byte* entry = log + at;
        const std::size_t length = Load32(entry + 4);
        if (std::memcmp(entry, "HvLE", 4) != 0 || length < SectorSize || length % SectorSize != 0 || length > size - at)
            return;
        Store64(entry + 24, Marvin32({entry + HashedPages, length - HashedPages}));
        Store64(entry + 32, Marvin32({entry, HashedHeader}));
        at += length;
    }
}

}  // namespace

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned seed) {
    kel::fuzz::Choice choice(seed);
    if (size < 4 + SectorSize || choice.Below(50) == 0) {
        const auto first = SampleLog(choice);
        const auto second = SampleLog(choice);
        if (4 + first.size() + second.size() <= maxSize) {
            Store32(reinterpret_cast<std::byte*>(data), first.size());
            std::memcpy(data + 4, first.data(), first.size());
            std::memcpy(data + 4 + first.size(), second.data(), second.size());
            size = 4 + first.size() + second.size();
        }
    }
    if (size > 4 + SectorSize && choice.Below(2) == 0) {
        const std::size_t at = 4 + choice.Below((size - 8) / 4) * 4;
        Store32(reinterpret_cast<std::byte*>(data) + at, choice.Below(2) == 0 ? choice.Below(size * 2) : 0xFFFFF000);
    } else {
        size = LLVMFuzzerMutate(data, size, maxSize);
    }
    if (size < 4)
        return size;
    auto* bytes = reinterpret_cast<std::byte*>(data);
    const std::size_t first = std::min<std::size_t>(Load32(bytes), size - 4);
    Mend(bytes + 4, first);
    Mend(bytes + 4 + first, size - 4 - first);
    return size;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 4)
        return 0;
    const auto all = std::as_bytes(std::span(data, size)).subspan(4);
    const std::size_t first = std::min<std::size_t>(Load32(reinterpret_cast<const std::byte*>(data)), all.size());
    const std::vector<LogFile> logs{{"LOG1", {all.begin(), all.begin() + static_cast<std::ptrdiff_t>(first)}},
                                    {"LOG2", {all.begin() + static_cast<std::ptrdiff_t>(first), all.end()}}};
    HiveImage image;
    if (!image.Assign(DirtyHive()))
        std::abort();
    try {
        Hive hive(std::move(image), logs);
        hive.Reader().ReadAll();
        // A log adds at most a multiple of its own size.
        if (hive.Reader().Cells().BinsSize() > DirtyHive().size() + 8 * size + (std::size_t{4} << 20))
            std::abort();
        const auto written = hive.Render();
        if (ParseBaseBlock(written.data()).Dirty())
            std::abort();
    } catch (const HiveError&) {
        // A log can leave a hive without a root.
    }
    return 0;
}
