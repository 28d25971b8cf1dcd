#include "ZipBuilder.h"

#include <zlib.h>

#include <gtest/gtest.h>

namespace kel::test {

namespace {

void Append(std::string& bytes, std::uint64_t number, unsigned size) {
    for (unsigned i = 0; i < size; ++i) {
        bytes += static_cast<char>(number >> (8 * i) & 0xffU);
    }
}

std::string Deflated(const std::string& bytes) {
    z_stream stream{};
    EXPECT_EQ(deflateInit2(&stream, 9, Z_DEFLATED, -MAX_WBITS, 9, Z_DEFAULT_STRATEGY), Z_OK);
    std::string packed(deflateBound(&stream, static_cast<uLong>(bytes.size())), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    packed.resize(packed.size() - stream.avail_out);
    deflateEnd(&stream);
    return packed;
}

std::uint64_t Or(std::int64_t wanted, std::uint64_t sound) {
    return wanted < 0 ? sound : static_cast<std::uint64_t>(wanted);
}

}  // namespace

std::string ZipExtra(std::uint16_t id, std::string_view data) {
    std::string field;
    Append(field, id, 2);
    Append(field, data.size(), 2);
    return field.append(data);
}

std::string MakeZip(const std::vector<ZipItem>& items, const ZipShape& shape) {
    constexpr std::uint16_t flagDescriptor = 8;
    std::string archive = shape.before;
    std::string directory;
    for (const ZipItem& item : items) {
        const std::string packed = item.deflate ? Deflated(item.bytes) : item.bytes;
        const std::uint64_t method = Or(item.method, item.deflate ? 8U : 0U);
        const std::uint64_t crc = Or(item.crc, crc32(0, reinterpret_cast<const Bytef*>(item.bytes.data()),
                                                     static_cast<uInt>(item.bytes.size())));
        const std::uint64_t size = Or(item.size, item.bytes.size());
        const std::uint64_t flags = item.flags | (item.descriptor ? flagDescriptor : 0U);
        const std::uint64_t localAt = Or(item.localAt, archive.size() - shape.before.size());

        Append(archive, 0x04034b50, 4);
        Append(archive, 20, 2);
        Append(archive, flags, 2);
        Append(archive, method, 2);
        Append(archive, 0, 4);
        Append(archive, item.descriptor ? 0 : crc, 4);
        Append(archive, item.descriptor ? 0 : packed.size(), 4);
        Append(archive, item.descriptor ? 0 : size, 4);
        Append(archive, item.name.size(), 2);
        Append(archive, 0, 2);
        archive += item.name + packed;
        if (item.descriptor) {
            Append(archive, 0x08074b50, 4);
            Append(archive, crc, 4);
            Append(archive, packed.size(), 4);
            Append(archive, size, 4);
        }

        std::string extra = item.extra;
        if (item.sizes64) {
            std::string numbers;
            Append(numbers, size, 8);
            Append(numbers, packed.size(), 8);
            Append(numbers, localAt, 8);
            extra += ZipExtra(1, numbers);
        }
        Append(directory, 0x02014b50, 4);
        Append(directory, 20, 2);
        Append(directory, 20, 2);
        Append(directory, flags, 2);
        Append(directory, method, 2);
        Append(directory, 0, 4);
        Append(directory, crc, 4);
        Append(directory, item.sizes64 ? 0xffffffffU : packed.size(), 4);
        Append(directory, item.sizes64 ? 0xffffffffU : size, 4);
        Append(directory, item.name.size(), 2);
        Append(directory, extra.size(), 2);
        Append(directory, 0, 6);
        Append(directory, 0, 4);
        Append(directory, item.sizes64 ? 0xffffffffU : localAt, 4);
        directory += item.name + extra;
    }
    const std::uint64_t directoryAt = archive.size() - shape.before.size();
    const std::uint64_t count = Or(shape.count, items.size());
    archive += directory;
    if (shape.end64) {
        const std::uint64_t end64At = archive.size() - shape.before.size();
        Append(archive, 0x06064b50, 4);
        Append(archive, 44, 8);
        Append(archive, 45, 2);
        Append(archive, 45, 2);
        Append(archive, 0, 8);
        Append(archive, count, 8);
        Append(archive, count, 8);
        Append(archive, directory.size(), 8);
        Append(archive, directoryAt, 8);
        Append(archive, 0x07064b50, 4);
        Append(archive, 0, 4);
        Append(archive, end64At, 8);
        Append(archive, 1, 4);
    }
    Append(archive, 0x06054b50, 4);
    Append(archive, 0, 4);
    Append(archive, shape.end64 ? 0xffffU : count, 2);
    Append(archive, shape.end64 ? 0xffffU : count, 2);
    Append(archive, shape.end64 ? 0xffffffffU : directory.size(), 4);
    Append(archive, shape.end64 ? 0xffffffffU : directoryAt, 4);
    Append(archive, shape.comment.size(), 2);
    return archive + shape.comment + shape.behind;
}

}  // namespace kel::test
