// What could not be read of a hive.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace kel::offline {

/// One place of a hive that could not be read, or not as it stands.
struct Damage {
    std::uint64_t fileOffset = 0;  ///< of the record in the hive's file
    std::string reason;            ///< English, for people
};

/// Collects damage; above `Limit` it only counts, so that a hostile hive cannot fill the memory with complaints.
class DamageList {
public:
    static constexpr std::size_t Limit = 10'000;

    void Add(std::uint64_t fileOffset, std::string reason) {
        ++count_;
        if (items_.size() < Limit)
            items_.push_back({fileOffset, std::move(reason)});
    }
    [[nodiscard]] const std::vector<Damage>& Items() const noexcept { return items_; }
    [[nodiscard]] std::uint64_t Count() const noexcept { return count_; }
    void Clear() noexcept {
        items_.clear();
        count_ = 0;
    }

private:
    std::vector<Damage> items_;
    std::uint64_t count_ = 0;
};

}  // namespace kel::offline
