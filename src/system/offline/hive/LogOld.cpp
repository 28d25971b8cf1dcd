#include "hive/LogOld.h"

#include <bit>
#include <cstring>

#include "hive/Bytes.h"

namespace kel::offline::regf {
namespace {

constexpr std::size_t MapAt = SectorSize + 4;  // behind "DIRT"
constexpr std::size_t SectorsOfMapByte = 8;
constexpr std::size_t BelievedGrowth = 4;
constexpr std::size_t BelievedSlack = std::size_t{1} << 20;

}  // namespace

bool IsOldLog(std::span<const std::byte> log) noexcept {
    if (log.size() < MapAt || !HasHiveSignature(log) || std::memcmp(log.data() + SectorSize, "DIRT", 4) != 0)
        return false;
    const BaseBlock header = ParseBaseBlock(log.data());
    return header.checksumOk && header.sequence1 == header.sequence2 &&
           (header.type == FileType::LogXp || header.type == FileType::LogNt);
}

bool ApplyOldLog(std::span<const std::byte> log, HiveImage& image, BaseBlock& fields) {
    const BaseBlock header = ParseBaseBlock(log.data());
    const std::size_t binsSize = header.binsSize;
    if (binsSize == 0 || binsSize % PageSize != 0 || binsSize > MaxBins)
        return false;
    const std::size_t mapSize = binsSize / SectorSize / SectorsOfMapByte;
    if (mapSize > log.size() - MapAt)
        return false;
    const std::size_t dataAt = RoundUp(MapAt + mapSize, SectorSize);

    std::size_t sectors = 0;
    for (std::size_t i = 0; i < mapSize; ++i)
        sectors += static_cast<std::size_t>(std::popcount(static_cast<unsigned char>(log[MapAt + i])));
    if (dataAt > log.size() || sectors > (log.size() - dataAt) / SectorSize)
        return false;
    const std::size_t available = image.Size() > PageSize ? image.Size() - PageSize : 0;
    if (binsSize > available + BelievedGrowth * sectors * SectorSize + BelievedSlack)
        return false;
    if (PageSize + binsSize > image.Size() && !image.Resize(PageSize + binsSize))
        return false;

    std::size_t from = dataAt;
    for (std::size_t sector = 0; sector < mapSize * SectorsOfMapByte; ++sector) {
        const auto bits = static_cast<unsigned>(log[MapAt + sector / SectorsOfMapByte]);
        if ((bits >> (sector % SectorsOfMapByte) & 1U) == 0)
            continue;
        std::memcpy(image.Data() + PageSize + sector * SectorSize, log.data() + from, SectorSize);
        from += SectorSize;
    }
    fields = header;
    fields.type = FileType::Primary;
    return true;
}

}  // namespace kel::offline::regf
