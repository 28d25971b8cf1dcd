#include "hive/LogNew.h"

#include <cstring>

#include "hive/Bytes.h"
#include "hive/Marvin32.h"

namespace kel::offline::regf {
namespace {

constexpr std::size_t SizeAt = 4;
constexpr std::size_t SequenceAt = 12;
constexpr std::size_t BinsSizeAt = 16;
constexpr std::size_t CountAt = 20;
constexpr std::size_t DataHashAt = 24;
constexpr std::size_t HeaderHashAt = 32;
constexpr std::size_t PagesAt = 40;
constexpr std::size_t PageReferenceSize = 8;

// An entry that makes the hive much larger than what it brings is not believed.
constexpr std::size_t BelievedGrowth = 4;
constexpr std::size_t BelievedSlack = std::size_t{1} << 20;

/// The bytes of the entry at `at`, empty when there is no intact one.
std::span<const std::byte> EntryAt(std::span<const std::byte> log, std::size_t at) {
    if (log.size() - at < SectorSize)
        return {};
    const std::byte* entry = log.data() + at;
    const std::size_t size = Load32(entry + SizeAt);
    if (std::memcmp(entry, "HvLE", 4) != 0 || size < SectorSize || size % SectorSize != 0 || size > log.size() - at)
        return {};
    if (Load64(entry + HeaderHashAt) != Marvin32({entry, HeaderHashAt}))
        return {};
    if (Load64(entry + DataHashAt) != Marvin32({entry + PagesAt, size - PagesAt}))
        return {};
    return {entry, size};
}

/// Whether the page references of an entry lie within it and within the bins.
bool PagesFit(std::span<const std::byte> entry, std::size_t oldBinsSize) {
    const std::size_t binsSize = Load32(entry.data() + BinsSizeAt);
    const std::size_t count = Load32(entry.data() + CountAt);
    if (binsSize == 0 || binsSize % PageSize != 0 || binsSize > MaxBins)
        return false;
    if (binsSize > oldBinsSize + BelievedGrowth * entry.size() + BelievedSlack)
        return false;
    if (count > (entry.size() - PagesAt) / PageReferenceSize)
        return false;
    std::size_t data = PagesAt + count * PageReferenceSize;
    for (std::size_t i = 0; i < count; ++i) {
        const std::byte* reference = entry.data() + PagesAt + i * PageReferenceSize;
        const std::size_t offset = Load32(reference);
        const std::size_t size = Load32(reference + 4);
        if (offset > binsSize || size > binsSize - offset || size > entry.size() - data)
            return false;
        data += size;
    }
    return true;
}

bool ApplyEntry(std::span<const std::byte> entry, HiveImage& image, BaseBlock& fields) {
    const std::size_t available = image.Size() > PageSize ? image.Size() - PageSize : 0;
    if (!PagesFit(entry, available))
        return false;
    const std::uint32_t binsSize = Load32(entry.data() + BinsSizeAt);
    if (PageSize + binsSize > image.Size() && !image.Resize(PageSize + binsSize))
        return false;
    const std::size_t count = Load32(entry.data() + CountAt);
    std::size_t data = PagesAt + count * PageReferenceSize;
    for (std::size_t i = 0; i < count; ++i) {
        const std::byte* reference = entry.data() + PagesAt + i * PageReferenceSize;
        const std::size_t size = Load32(reference + 4);
        std::memcpy(image.Data() + PageSize + Load32(reference), entry.data() + data, size);
        data += size;
    }
    fields.binsSize = binsSize;
    return true;
}

}  // namespace

bool IsNewLog(std::span<const std::byte> log) noexcept {
    if (log.size() < SectorSize || !HasHiveSignature(log))
        return false;
    const BaseBlock header = ParseBaseBlock(log.data());
    return header.checksumOk && header.type == FileType::LogNew;
}

NewLogOutcome ApplyNewLog(std::span<const std::byte> log, HiveImage& image, BaseBlock& fields, std::uint32_t& next) {
    NewLogOutcome outcome;
    for (std::size_t at = SectorSize; at < log.size();) {
        const std::span<const std::byte> entry = EntryAt(log, at);
        if (entry.empty()) {
            // The space behind the last entry holds zeros or entries of an earlier round.
            outcome.stoppedByDamage = log.size() - at >= 4 && std::memcmp(log.data() + at, "HvLE", 4) == 0;
            break;
        }
        at += entry.size();
        const auto ahead = static_cast<std::int32_t>(Load32(entry.data() + SequenceAt) - next);
        if (ahead < 0) {
            // Behind entries that were applied it is what an earlier round left.
            if (outcome.applied != 0)
                break;
            ++outcome.skipped;
            continue;
        }
        if (ahead > 0 || !ApplyEntry(entry, image, fields)) {
            outcome.stoppedByDamage = true;
            break;
        }
        ++outcome.applied;
        ++next;
    }
    return outcome;
}

}  // namespace kel::offline::regf
