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

    /// @param chunkBytes how much of a file is read at a time; a multiple of Md5BlockBytes
    /// @param chunksAhead how many files the caller may have begun to read
    LaneHasher(const Md5Kernel& kernel, std::size_t chunkBytes, std::size_t chunksAhead, Done done);

    /// Memory that the lanes of a kernel need, in chunks.
    [[nodiscard]] static std::size_t ChunksOf(const Md5Kernel& kernel) { return kernel.lanes * ChunksALane; }

    [[nodiscard]] bool HasRoom() const { return active_ < lanes_.size(); }
    [[nodiscard]] bool IsIdle() const { return active_ == 0; }
    /// A file that has been opened and has a size, with its beginning on the way where its platform reads beside us.
    struct Begun {
        std::unique_ptr<platform::AheadFile> file;
        std::byte* chunk = nullptr;  ///< where the beginning goes; null when it is not on the way
    };
    /// Begins to read. Each file that has begun must be started, or ended before this object.
    [[nodiscard]] Begun Begin(std::unique_ptr<platform::AheadFile> file);
    /// Gives a file to a free lane, of which there must be one.
    void Start(std::uint64_t number, Begun begun);
    /// Works until at least one lane ends its file or reads on.
    void Step();

private:
    // One that is digested, and one that is filled meanwhile.
    static constexpr std::size_t ChunksALane = 2;

    struct Lane {
        std::byte* chunk = nullptr;
        std::byte* onTheWay = nullptr;  // null when nothing is
        std::uint64_t unread = 0;
        std::uint64_t length = 0;
        std::uint64_t number = 0;
        bool padded = false;
        std::unique_ptr<platform::AheadFile> file;
    };

    static constexpr std::size_t Idle = SIZE_MAX;

    /// False when the file ends before it should.
    bool ReadOn(std::size_t lane);
    [[nodiscard]] std::size_t NextBytes(std::uint64_t unread) const;
    /// @param some a lane with a file
    void Transform(std::size_t blocks, std::size_t some);
    [[nodiscard]] Md5Digest DigestOf(std::size_t lane) const;
    void End(std::size_t lane, bool good);

    std::byte* TakeChunk();
    void GiveBack(std::byte*& chunk);

    const Md5Kernel& kernel_;
    std::size_t chunkBytes_;
    Done done_;
    std::size_t active_ = 0;
    // Above the lanes: what is being read into them ends before they do.
    std::unique_ptr<std::byte[]> bytes_;
    std::vector<std::byte*> chunks_;  // free ones, the last used last
    std::vector<Lane> lanes_;
    // What every step asks of each lane, apart from the rest.
    std::array<const std::byte*, MaxMd5Lanes> next_{};
    std::array<std::size_t, MaxMd5Lanes> blocks_;  // that are read and not yet digested; Idle without a file
    alignas(64) std::uint32_t state_[4 * MaxMd5Lanes] = {};
};

}  // namespace kel
