#include "hive/BaseBlock.h"

#include <cstring>

#include "hive/Bytes.h"

namespace kel::offline::regf {
namespace {

constexpr std::size_t Sequence1At = 4;
constexpr std::size_t Sequence2At = 8;
constexpr std::size_t WrittenAt = 12;
constexpr std::size_t MajorAt = 20;
constexpr std::size_t TypeAt = 28;
constexpr std::size_t FormatAt = 32;
constexpr std::size_t RootAt = 36;
constexpr std::size_t BinsSizeAt = 40;
constexpr std::size_t ClusterAt = 44;
constexpr std::size_t ChecksumAt = 508;

}  // namespace

std::uint32_t Checksum(const std::byte* block) noexcept {
    std::uint32_t sum = 0;
    for (std::size_t at = 0; at < ChecksumAt; at += 4)
        sum ^= Load32(block + at);
    if (sum == 0)
        return 1;
    return sum == 0xFFFFFFFF ? 0xFFFFFFFE : sum;
}

bool HasHiveSignature(std::span<const std::byte> file) noexcept {
    return file.size() >= 4 && std::memcmp(file.data(), "regf", 4) == 0;
}

BaseBlock ParseBaseBlock(const std::byte* block) noexcept {
    BaseBlock fields;
    fields.sequence1 = Load32(block + Sequence1At);
    fields.sequence2 = Load32(block + Sequence2At);
    fields.written = Load64(block + WrittenAt);
    fields.major = Load32(block + MajorAt);
    fields.minor = Load32(block + MinorOffset);
    fields.type = static_cast<FileType>(Load32(block + TypeAt));
    fields.root = Load32(block + RootAt);
    fields.binsSize = Load32(block + BinsSizeAt);
    fields.checksumOk = Checksum(block) == Load32(block + ChecksumAt);
    return fields;
}

void StoreBaseBlock(std::byte* block, const BaseBlock& fields) noexcept {
    std::memcpy(block, "regf", 4);
    Store32(block + Sequence1At, fields.sequence1);
    Store32(block + Sequence2At, fields.sequence2);
    Store64(block + WrittenAt, fields.written);
    Store32(block + MajorAt, fields.major);
    Store32(block + MinorOffset, fields.minor);
    Store32(block + TypeAt, static_cast<std::uint32_t>(fields.type));
    Store32(block + FormatAt, 1);
    Store32(block + RootAt, fields.root);
    Store32(block + BinsSizeAt, fields.binsSize);
    Store32(block + ClusterAt, 1);
    Store32(block + ChecksumAt, Checksum(block));
}

std::string WhyNotAHive(std::span<const std::byte> file) {
    if (file.size() >= 4 && std::memcmp(file.data(), "CREG", 4) == 0)
        return "is a registry of Windows 95, 98 or Me (CREG); only hives of Windows NT and its successors are read";
    if (!HasHiveSignature(file))
        return "is not a registry hive";
    if (file.size() < PageSize)
        return "is too short for a registry hive";
    const BaseBlock fields = ParseBaseBlock(file.data());
    if (fields.major != 1 || fields.minor < 1 || fields.minor > 6)
        return "is a registry hive of the unknown version " + std::to_string(fields.major) + "." +
               std::to_string(fields.minor);
    if (fields.type != FileType::Primary && fields.checksumOk)
        return "is the log of a registry hive, not a hive";
    return {};
}

}  // namespace kel::offline::regf
