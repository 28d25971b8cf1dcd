// Digests many files at once, a file in each lane of a kernel.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/Files.h"
#include "system/Md5Lanes.h"

namespace kel {

class LaneHasher {
public:
    /// Told the number that a file was started with, and its digest; nothing when it could not be read to its end.
    using Done = std::function<void(std::uint64_t number, const std::optional<Md5Digest>& digest)>;

    /// @param bytesALane how much of a file is read at a time; a multiple of Md5BlockBytes
    LaneHasher(const Md5Kernel& kernel, std::size_t bytesALane, Done done);

    [[nodiscard]] bool HasRoom() const { return active_ < lanes_.size(); }
    [[nodiscard]] bool IsIdle() const { return active_ == 0; }
    /// Gives a file to a free lane, of which there must be one, and reads its beginning. Files of `size` 0 are none.
    void Start(std::uint64_t number, std::unique_ptr<platform::AheadFile> file);
    /// Works until at least one lane ends its file or reads on.
    void Step();

private:
    struct Lane {
        std::byte* buffer = nullptr;
        std::uint64_t unread = 0;
        std::uint64_t length = 0;
        std::uint64_t number = 0;
        bool padded = false;
        std::unique_ptr<platform::AheadFile> file;
    };

    static constexpr std::size_t Idle = SIZE_MAX;

    /// False when the file ends before it should.
    bool ReadOn(std::size_t lane);
    /// @param some a lane with a file
    void Transform(std::size_t blocks, std::size_t some);
    [[nodiscard]] Md5Digest DigestOf(std::size_t lane) const;
    void End(std::size_t lane, bool good);

    const Md5Kernel& kernel_;
    std::size_t bytesALane_;
    Done done_;
    std::size_t active_ = 0;
    std::vector<Lane> lanes_;
    // What every step asks of each lane, apart from the rest.
    std::array<const std::byte*, MaxMd5Lanes> next_{};
    std::array<std::size_t, MaxMd5Lanes> blocks_;  // that are read and not yet digested; Idle without a file
    std::unique_ptr<std::byte[]> bytes_;
    alignas(64) std::uint32_t state_[4 * MaxMd5Lanes] = {};
};

}  // namespace kel
