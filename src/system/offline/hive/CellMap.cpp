#include "hive/CellMap.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace kel::offline::regf {
namespace {

constexpr std::size_t PrefetchDistance = 512;

}  // namespace

void CellMap::AddRun(std::uint32_t begin, std::uint32_t end, bool sound) {
    const auto index = static_cast<std::uint32_t>(bins_.size());
    bins_.push_back({begin, end, sound});
    pageBin_.resize(RoundUp(end, PageSize) / PageSize, index);
}

void CellMap::Read(HiveImage& image, std::uint32_t minor, std::size_t binsSize, DamageList& damage) {
    image_ = &image;
    damage_ = &damage;
    headerSize_ = minor <= 1 ? 8 : 4;
    binsSize_ = binsSize;
    bins_.clear();
    pageBin_.clear();
    loaded_.Reset();
    starts_.Reset();
    loose_.clear();
    starts_.Reserve(binsSize / 8);
    bins_.reserve(binsSize / PageSize + 1);
    pageBin_.reserve(binsSize / PageSize + 1);

    std::size_t lost = binsSize;  // begin of the run of pages without a bin header
    const auto endLost = [&](std::size_t end) {
        if (lost >= end)
            return;
        damage_->Add(PageSize + lost, "no bin begins here: " + std::to_string(end - lost) + " bytes");
        AddRun(static_cast<std::uint32_t>(lost), static_cast<std::uint32_t>(end), false);
    };
    std::size_t at = 0;
    while (at < binsSize) {
        const std::byte* header = At(static_cast<std::uint32_t>(at));
        const std::size_t left = binsSize - at;
        std::size_t size = 0;
        if (left >= BinHeaderSize && std::memcmp(header, "hbin", 4) == 0 && Load32(header + 4) == at) {
            size = Load32(header + 8);
            if (size == 0 || size % PageSize != 0)
                size = 0;
            if (size > left) {
                damage_->Add(PageSize + at, "the bin ends behind the end of the file");
                size = left;
            }
        }
        if (size == 0) {
            lost = std::min(lost, at);
            at += std::min(PageSize, left);
            continue;
        }
        endLost(at);
        lost = binsSize;
        AddRun(static_cast<std::uint32_t>(at), static_cast<std::uint32_t>(at + size), true);
        at += size;
    }
    endLost(binsSize);
    soundEnd_.assign(bins_.size(), 0);
}

void CellMap::LoadBin(std::size_t index) const {
    loaded_.Set(index);
    const Bin& bin = bins_[index];
    soundEnd_[index] = bin.begin;
    if (!bin.sound)
        return;
    std::uint32_t at = bin.begin + static_cast<std::uint32_t>(BinHeaderSize);
    while (at < bin.end) {
        const std::size_t left = bin.end - at;
        __builtin_prefetch(At(at) + PrefetchDistance);
        const std::size_t size = left < headerSize_ ? 0 : Size(at);
        if (size < headerSize_ || size % 8 != 0 || size > left) {
            damage_->Add(FileOffset(at), "the cell's size is impossible; what lies behind it in the bin is uncertain");
            soundEnd_[index] = at;
            return;
        }
        starts_.Set(at / 8);
        at += static_cast<std::uint32_t>(size);
    }
    soundEnd_[index] = bin.end;
}

void CellMap::LoadAll() const {
    for (std::size_t index = 0; index < bins_.size(); ++index)
        if (!loaded_.Test(index))
            LoadBin(index);
}

std::uint32_t CellMap::SoundEnd(const Bin& bin) const {
    const std::size_t index = pageBin_[bin.begin / PageSize];
    if (!loaded_.Test(index))
        LoadBin(index);
    return soundEnd_[index];
}

bool CellMap::Discover(std::uint32_t cell) const noexcept {
    const std::size_t index = pageBin_[cell / PageSize];
    if (!loaded_.Test(index)) {
        LoadBin(index);
        if (starts_.Test(cell / 8))
            return true;
    }
    return cell >= soundEnd_[index] && TakeLoose(cell, bins_[index]);
}

bool CellMap::TakeLoose(std::uint32_t cell, const Bin& bin) const {
    const std::size_t left = bin.end - cell;
    if (left < headerSize_)
        return false;
    const std::size_t size = Size(cell);
    if (size <= headerSize_ || size % 8 != 0 || size > left || Load<std::int32_t>(At(cell)) >= 0)
        return false;
    const auto end = static_cast<std::uint32_t>(cell + size);
    const auto next = loose_.lower_bound(cell);
    if (next != loose_.end() && next->first < end)
        return false;
    if (next != loose_.begin() && std::prev(next)->second > cell)
        return false;
    loose_.emplace_hint(next, cell, end);
    starts_.Set(cell / 8);
    return true;
}

std::uint32_t CellMap::CellBefore(std::uint32_t cell, const Bin& bin) const noexcept {
    const std::size_t least = (bin.begin + BinHeaderSize) / 8;
    return static_cast<std::uint32_t>(starts_.Before(cell / 8, least) * 8);
}

void CellMap::AddBin(std::uint32_t begin, std::uint32_t end) {
    loaded_.Set(bins_.size());
    AddRun(begin, end, true);
    soundEnd_.push_back(end);
    binsSize_ = end;
}

}  // namespace kel::offline::regf
