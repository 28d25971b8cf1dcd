#include "archive/ZipReader.h"

#include <zlib.h>

#include <algorithm>
#include <memory>
#include <utility>

#include "archive/ZipBytes.h"
#include "archive/ZipDirectory.h"

namespace kel::archive {

namespace {

using Bytes = std::span<const std::byte>;

constexpr std::size_t OutputBlock = std::size_t{128} << 10;
constexpr std::size_t InputBlock = std::size_t{1} << 20;
constexpr std::uint16_t Stored = 0;

const Bytef* AsZlib(const std::byte* bytes) {
    return reinterpret_cast<const Bytef*>(bytes);
}

// Passes bytes on to the sink and keeps count of them.
class Output {
public:
    Output(const ZipEntry& entry, const ZipReader::Sink& sink) : entry_(entry), sink_(sink) {}

    UnzipResult Take(Bytes bytes) {
        if (bytes.size() > entry_.bytes - count_) {
            return UnzipDamaged;
        }
        count_ += bytes.size();
        crc_ = crc32(crc_, AsZlib(bytes.data()), static_cast<uInt>(bytes.size()));
        return sink_(bytes) ? UnzipDone : UnzipWriteFailed;
    }

    // What the whole entry came to.
    [[nodiscard]] UnzipResult End() const {
        return count_ == entry_.bytes && crc_ == entry_.crc ? UnzipDone : UnzipDamaged;
    }

private:
    const ZipEntry& entry_;
    const ZipReader::Sink& sink_;
    std::uint64_t count_ = 0;
    uLong crc_ = crc32(0, nullptr, 0);
};

// zlib's decompressor of bare deflate data.
class Inflater {
public:
    Inflater() : ready_(inflateInit2(&stream_, -MAX_WBITS) == Z_OK) {}
    ~Inflater() {
        if (ready_) {
            inflateEnd(&stream_);
        }
    }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;

    UnzipResult Run(Bytes packed, Output& output) {
        if (!ready_) {
            return UnzipDamaged;
        }
        const auto block = std::make_unique<std::byte[]>(OutputBlock);
        for (int state = Z_OK; state != Z_STREAM_END;) {
            if (stream_.avail_in == 0) {
                const Bytes input = packed.first(std::min(packed.size(), InputBlock));
                packed = packed.subspan(input.size());
                // zlib's interface is older than const; it does not write here.
                stream_.next_in = const_cast<Bytef*>(AsZlib(input.data()));
                stream_.avail_in = static_cast<uInt>(input.size());
            }
            stream_.next_out = reinterpret_cast<Bytef*>(block.get());
            stream_.avail_out = static_cast<uInt>(OutputBlock);
            state = inflate(&stream_, Z_NO_FLUSH);
            // Z_BUF_ERROR: no progress is possible, the data end before the stream does.
            if (state != Z_OK && state != Z_STREAM_END) {
                return UnzipDamaged;
            }
            const Bytes made(block.get(), OutputBlock - stream_.avail_out);
            if (const UnzipResult result = made.empty() ? UnzipDone : output.Take(made); result != UnzipDone) {
                return result;
            }
        }
        return UnzipDone;
    }

private:
    z_stream stream_{};
    bool ready_;
};

UnzipResult CopyStored(Bytes bytes, Output& output) {
    while (!bytes.empty()) {
        const Bytes block = bytes.first(std::min(bytes.size(), OutputBlock));
        if (const UnzipResult result = output.Take(block); result != UnzipDone) {
            return result;
        }
        bytes = bytes.subspan(block.size());
    }
    return UnzipDone;
}

}  // namespace

ZipReader::ZipReader(Bytes archive, const ZipLimits& limits) : archive_(archive), limits_(limits) {
}

UnzipResult ZipReader::ReadDirectory() {
    entries_.clear();
    return ReadZipDirectory(archive_, limits_, entries_);
}

UnzipResult ZipReader::Extract(const ZipEntry& entry, const Sink& sink) const {
    const auto packed = BytesAt(archive_, entry.dataAt, entry.packedBytes);
    if (!packed) {
        return UnzipDamaged;
    }
    Output output(entry, sink);
    const UnzipResult result = entry.method == Stored ? CopyStored(*packed, output) : Inflater().Run(*packed, output);
    return result == UnzipDone ? output.End() : result;
}

}  // namespace kel::archive
