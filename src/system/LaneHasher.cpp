#include "system/LaneHasher.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

namespace kel {

namespace {

// Behind each chunk's bytes there is room for the padding, and some more, so that no two chunks begin on the same lines
// of the processor's cache.
constexpr std::size_t Slack = 3 * Md5BlockBytes;

}  // namespace

LaneHasher::LaneHasher(const Md5Kernel& kernel, std::size_t chunkBytes, std::size_t chunksAhead, Done done)
    : kernel_(kernel),
      chunkBytes_(chunkBytes),
      done_(std::move(done)),
      // Not filled with zeros: of most chunks only the beginning is ever used.
      bytes_(std::make_unique_for_overwrite<std::byte[]>((ChunksOf(kernel) + chunksAhead) * (chunkBytes + Slack))),
      lanes_(kernel.lanes) {
    blocks_.fill(Idle);
    for (std::size_t chunk = ChunksOf(kernel) + chunksAhead; chunk-- > 0;) {
        chunks_.push_back(bytes_.get() + chunk * (chunkBytes + Slack));
    }
}

std::byte* LaneHasher::TakeChunk() {
    std::byte* const chunk = chunks_.back();
    chunks_.pop_back();
    return chunk;
}

void LaneHasher::GiveBack(std::byte*& chunk) {
    if (chunk != nullptr) {
        chunks_.push_back(std::exchange(chunk, nullptr));
    }
}

std::size_t LaneHasher::NextBytes(std::uint64_t unread) const {
    return static_cast<std::size_t>(std::min<std::uint64_t>(unread, chunkBytes_));
}

LaneHasher::Begun LaneHasher::Begin(std::unique_ptr<platform::AheadFile> file) {
    Begun begun{std::move(file)};
    begun.chunk = TakeChunk();
    if (!begun.file->BeginRead(std::span(begun.chunk, NextBytes(begun.file->Stamp().size)))) {
        GiveBack(begun.chunk);
    }
    return begun;
}

void LaneHasher::Start(std::uint64_t number, Begun begun) {
    const auto index = static_cast<std::size_t>(std::find(blocks_.begin(), blocks_.end(), Idle) - blocks_.begin());
    Lane& lane = lanes_[index];
    lane.number = number;
    lane.length = lane.unread = begun.file->Stamp().size;
    lane.file = std::move(begun.file);
    lane.onTheWay = begun.chunk;
    lane.padded = false;
    ++active_;
    for (std::size_t row = 0; row < 4; ++row) {
        state_[row * kernel_.lanes + index] = Md5Start[row];
    }
    if (!ReadOn(index)) {
        End(index, false);
    }
}

bool LaneHasher::ReadOn(std::size_t index) {
    Lane& lane = lanes_[index];
    const std::size_t wanted = NextBytes(lane.unread);
    std::size_t filled = 0;
    if (lane.onTheWay != nullptr) {
        filled = lane.file->EndRead();
        std::swap(lane.chunk, lane.onTheWay);
        GiveBack(lane.onTheWay);
        if (filled == 0) {
            return false;
        }
    } else if (lane.chunk == nullptr) {
        lane.chunk = TakeChunk();
    }
    while (filled < wanted) {
        const std::size_t got = lane.file->Read(std::span(lane.chunk + filled, wanted - filled));
        if (got == 0) {
            return false;
        }
        filled += got;
    }
    lane.unread -= filled;
    next_[index] = lane.chunk;
    blocks_[index] = filled / Md5BlockBytes;
    if (lane.unread == 0) {
        blocks_[index] += PadMd5Tail(lane.chunk + blocks_[index] * Md5BlockBytes, lane.length);
        lane.padded = true;
        lane.file.reset();
        return true;
    }
    lane.onTheWay = TakeChunk();
    if (!lane.file->BeginRead(std::span(lane.onTheWay, NextBytes(lane.unread)))) {
        GiveBack(lane.onTheWay);
    }
    return true;
}

void LaneHasher::Step() {
    if (active_ == 0) {
        return;
    }
    const std::size_t lanes = lanes_.size();
    std::size_t some = 0;
    for (std::size_t index = 1; index < lanes; ++index) {
        some = blocks_[index] < blocks_[some] ? index : some;
    }
    const std::size_t blocks = blocks_[some];
    Transform(blocks, some);
    for (std::size_t index = 0; index < lanes; ++index) {
        if (blocks_[index] == Idle) {
            continue;
        }
        next_[index] += blocks * Md5BlockBytes;
        blocks_[index] -= blocks;
        if (blocks_[index] == 0) {
            const bool padded = lanes_[index].padded;
            if (padded || !ReadOn(index)) {
                End(index, padded);
            }
        }
    }
}

void LaneHasher::Transform(std::size_t blocks, std::size_t some) {
    if (active_ == 1) {
        // One stream by itself is faster than one lane of many.
        std::array<std::uint32_t, 4> own{};
        for (std::size_t row = 0; row < 4; ++row) {
            own[row] = state_[row * kernel_.lanes + some];
        }
        md5::TransformScalar(own.data(), &next_[some], blocks);
        for (std::size_t row = 0; row < 4; ++row) {
            state_[row * kernel_.lanes + some] = own[row];
        }
        return;
    }
    if (active_ == lanes_.size()) {
        kernel_.transform(state_, next_.data(), blocks);
        return;
    }
    // A lane without a file goes along with another one; what comes of it is not used.
    std::array<const std::byte*, MaxMd5Lanes> data{};
    for (std::size_t index = 0; index < lanes_.size(); ++index) {
        data[index] = next_[blocks_[index] != Idle ? index : some];
    }
    kernel_.transform(state_, data.data(), blocks);
}

Md5Digest LaneHasher::DigestOf(std::size_t lane) const {
    Md5Digest digest{};
    for (std::size_t i = 0; i < digest.size(); ++i) {
        digest[i] = static_cast<std::uint8_t>(state_[(i / 4) * kernel_.lanes + lane] >> (8 * (i % 4)));
    }
    return digest;
}

void LaneHasher::End(std::size_t index, bool good) {
    Lane& lane = lanes_[index];
    blocks_[index] = Idle;
    lane.file.reset();
    GiveBack(lane.chunk);
    GiveBack(lane.onTheWay);
    --active_;
    done_(lane.number, good ? std::optional(DigestOf(index)) : std::nullopt);
}

}  // namespace kel
