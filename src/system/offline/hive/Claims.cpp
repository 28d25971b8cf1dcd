#include "hive/Claims.h"

#include <algorithm>

namespace kel::offline::regf {
namespace {

// How often over the content of a hive may be given through shared cells, in all.
constexpr std::uint64_t SharingFactor = 4;
constexpr std::uint64_t SmallestBudget = std::uint64_t{1} << 20;

}  // namespace

void Claims::Start(std::size_t binsSize) {
    *this = Claims();
    asked_.Reserve(binsSize / 4);
    claimed_.Reserve(binsSize / 8);
    budget_ = std::max(SmallestBudget, binsSize * SharingFactor);
}

Claims::Answer Claims::Refer(std::uint32_t at, std::uint32_t cell, std::uint64_t cost) {
    if (frozen_ || asked_.Test(at / 4))
        return {!refused_.Test(at / 4), false};
    asked_.Set(at / 4);
    if (!claimed_.Test(cell / 8)) {
        claimed_.Set(cell / 8);
        return {true, true};
    }
    shared_.Set(cell / 8);
    if (cost <= budget_) {  // Never is above every budget
        budget_ -= cost;
        return {true, true};
    }
    refused_.Set(at / 4);
    return {false, true};
}

}  // namespace kel::offline::regf
