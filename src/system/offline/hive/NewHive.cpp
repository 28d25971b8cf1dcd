#include "hive/NewHive.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "hive/BaseBlock.h"
#include "hive/Records.h"

namespace kel::offline::regf {
namespace {

// Owner and group: administrators and the system. Full control for both, reading for everyone, inherited by subkeys.
constexpr auto Descriptor = std::to_array<std::uint8_t>({
    1,    0,    0x04, 0x80,                                                // self-relative, with a DACL
    0x60, 0,    0,    0,    0x70, 0, 0,    0, 0,  0, 0, 0, 0x14, 0, 0, 0,  // owner, group, SACL, DACL
    2,    0,    0x4C, 0,    3,    0, 0,    0,                              // an ACL of three entries
    0,    0x02, 0x14, 0,    0x3F, 0, 0x0F, 0, 1,  1, 0, 0, 0,    0, 0, 5,  // full control:
    18,   0,    0,    0,                                                   //   S-1-5-18
    0,    0x02, 0x18, 0,    0x3F, 0, 0x0F, 0, 1,  2, 0, 0, 0,    0, 0, 5,  // full control:
    32,   0,    0,    0,    0x20, 2, 0,    0,                              //   S-1-5-32-544
    0,    0x02, 0x14, 0,    0x19, 0, 0x02, 0, 1,  1, 0, 0, 0,    0, 0, 1,  // reading:
    0,    0,    0,    0,                                                   //   S-1-1-0
    0,    0,    0,    0,                                                   // rest of the ACL
    1,    2,    0,    0,    0,    0, 0,    5, 32, 0, 0, 0, 0x20, 2, 0, 0,  // S-1-5-32-544
    1,    1,    0,    0,    0,    0, 0,    5, 18, 0, 0, 0,                 // S-1-5-18
});

constexpr std::uint16_t RootFlags = nk::HiveEntry | nk::NoDelete;

}  // namespace

std::vector<std::byte> MakeHive(std::uint32_t minor, std::u16string_view root, std::uint64_t now) {
    const std::size_t header = minor <= 1 ? 8 : 4;
    const std::size_t alignment = minor <= 1 ? 16 : 8;
    const StoredName name = EncodeName(root, minor);
    std::vector<std::byte> file(PageSize * 2);
    std::byte* bins = file.data() + PageSize;

    std::memcpy(bins, "hbin", 4);
    Store32(bins + 8, PageSize);
    Store64(bins + 20, now);

    std::uint32_t previous = NoCell;
    std::size_t at = BinHeaderSize;
    const auto cell = [&](std::size_t size, bool allocated) {
        const auto number = static_cast<std::int32_t>(size);
        Store(bins + at, allocated ? -number : number);
        if (header == 8)
            Store32(bins + at + 4, previous);
        previous = static_cast<std::uint32_t>(at);
        at += size;
        return static_cast<std::uint32_t>(at - size);
    };
    const std::uint32_t key = cell(RoundUp(header + nk::NameAt + name.bytes.size(), alignment), true);
    const std::uint32_t security = cell(RoundUp(header + sk::DescriptorAt + Descriptor.size(), alignment), true);
    cell(PageSize - at, false);

    std::byte* record = bins + key + header;
    Store16(record, Tag("nk"));
    Store16(record + nk::FlagsAt, static_cast<std::size_t>(RootFlags | (name.compressed ? nk::CompressedName : 0)));
    Store64(record + nk::WrittenAt, now);
    for (const std::size_t field : {nk::ParentAt, nk::SubkeyListAt, nk::VolatileListAt, nk::ValueListAt, nk::ClassAt})
        Store32(record + field, NoCell);
    Store32(record + nk::SecurityAt, security);
    Store16(record + nk::NameLengthAt, name.bytes.size());
    std::copy(name.bytes.begin(), name.bytes.end(), record + nk::NameAt);

    std::byte* descriptor = bins + security + header;
    Store16(descriptor, Tag("sk"));
    Store32(descriptor + sk::NextAt, security);
    Store32(descriptor + sk::PreviousAt, security);
    Store32(descriptor + sk::ReferencesAt, 1);
    Store32(descriptor + sk::SizeAt, Descriptor.size());
    std::memcpy(descriptor + sk::DescriptorAt, Descriptor.data(), Descriptor.size());

    BaseBlock base;
    base.minor = minor;
    base.written = now;
    base.root = key;
    base.binsSize = PageSize;
    StoreBaseBlock(file.data(), base);
    return file;
}

}  // namespace kel::offline::regf
