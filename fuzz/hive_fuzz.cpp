// Hives: whatever opens is walked within bounds, changed and read again; what the change did not touch stays.
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "CountedMemory.h"
#include "SampleHives.h"

namespace {

using kel::offline::Hive;
using kel::offline::KeyId;
using kel::offline::regf::HiveReader;
using kel::platform::SysError;

// What all readings together may give through shared cells: bytes for each byte of the file, and some for small ones.
constexpr std::size_t GivenFactor = 8;
constexpr std::size_t GivenSlack = std::size_t{4} << 20;
// What reading and what changing a hive may take of the heap, beside its image. docs/hives.md states them.
constexpr std::size_t ReadFactor = 4;
constexpr std::size_t EditFactor = 12;
constexpr std::size_t HeapSlack = std::size_t{2} << 20;

struct Total {
    std::uint64_t keys = 0;
    std::uint64_t values = 0;
    std::uint64_t bytes = 0;
    std::uint64_t sum = 1;
    void Mix(std::uint64_t number) { sum = (sum ^ number) * 0x100000001B3ULL; }
};

Total Walk(const Hive& hive) {
    const HiveReader& reader = hive.Reader();
    Total total;
    std::vector<std::uint32_t> values;
    std::vector<std::byte> data;
    reader.ForEachKey([&](std::uint32_t key, std::uint32_t depth) {
        ++total.keys;
        total.Mix(depth);
        const std::u16string name = reader.KeyName(key).Text();
        for (const char16_t unit : name)
            total.Mix(unit);
        total.bytes += name.size() * 2 + reader.ClassName(key).size() * 2;
        reader.Values(key, values);
        for (const std::uint32_t value : values) {
            ++total.values;
            total.Mix(reader.ValueType(value));
            const std::u16string valueName = reader.ValueName(value).Text();
            for (const char16_t unit : valueName)
                total.Mix(unit);
            reader.Data(value, data);
            for (const std::byte byte : data)
                total.Mix(static_cast<std::uint64_t>(byte));
            total.bytes += data.size() + valueName.size() * 2;
        }
    });
    return total;
}

std::unique_ptr<Hive> Open(std::span<const std::byte> bytes) {
    kel::offline::regf::HiveImage image;
    if (!image.Assign(bytes))
        std::abort();
    return std::make_unique<Hive>(std::move(image));
}

void RequireThat(bool condition, const char* what) {
    if (condition)
        return;
    std::fprintf(stderr, "not so: %s\n", what);
    std::abort();
}
#define Require(condition) RequireThat(condition, #condition)

/// Adds below the root and takes away again: what was there must be there.
void Edit(Hive& hive, const Total& before) {
    const KeyId root = hive.Root();
    const std::vector<std::byte> data(hive.KeyCount(root) * 977 % 20000, std::byte{3});
    if (hive.FindKey(root, u"kel fuzz") != kel::offline::NoKey || hive.FindValue(root, u"kel fuzz").Ok())
        return;
    const auto key = hive.CreateKey(root, u"kel fuzz");
    const SysError set = hive.SetValue(root, u"kel fuzz", 3, data);
    if (key.Ok()) {
        const SysError below = hive.SetValue(*key, u"v", 1, data);
        Require(below == SysError::Success || hive.Damage().Count() != 0);
        Require(below != SysError::Success || hive.FindValue(*key, u"V")->data == data);
    }
    const auto written = hive.Render();
    const auto again = Open(written);
    Require(!key.Ok() || again->FindKey(again->Root(), u"KEL FUZZ") != kel::offline::NoKey);
    Require(set != SysError::Success || again->FindValue(again->Root(), u"kel FUZZ")->data == data);
    if (key.Ok())
        Require(hive.DeleteKey(root, u"kel fuzz") == SysError::Success);
    if (set == SysError::Success)
        Require(hive.DeleteValue(root, u"kel fuzz") == SysError::Success);
    const Total after = Walk(hive);
    Require(after.keys == before.keys && after.values == before.values);
    // A list that was out of order is in order now, so that only a sound hive is the same to the last place.
    Require(hive.Damage().Count() != 0 || after.bytes == before.bytes);
    hive.Discard();
    Require(Walk(hive).keys == before.keys);
}

}  // namespace

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

/// Starts from a real hive, changes bytes or whole references, and mends the header's checksum.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned seed) {
    kel::fuzz::Choice choice(seed);
    auto* bytes = reinterpret_cast<std::byte*>(data);
    if (size < 8192 || std::memcmp(data, "regf", 4) != 0) {
        const auto sample = kel::fuzz::SampleHive(1 + choice.Below(6));
        if (sample.size() > maxSize)
            return LLVMFuzzerMutate(data, size, maxSize);
        std::memcpy(data, sample.data(), sample.size());
        size = sample.size();
    }
    if (choice.Below(3) == 0) {
        size = LLVMFuzzerMutate(data, size, maxSize);
    } else {
        for (std::uint32_t i = 0; i < 1 + choice.Below(4); ++i) {
            const std::size_t at = 4096 + choice.Below((size - 4096) / 4) * 4;
            switch (choice.Below(4)) {
                case 0:  // a reference, a count or a size becomes another one of the file
                    std::memcpy(data + at, data + 4096 + choice.Below((size - 4096) / 4) * 4, 4);
                    break;
                case 1:  // a place of a cell
                    kel::offline::regf::Store32(bytes + at, choice.Below(size - 4096) / 8 * 8);
                    break;
                case 2:
                    kel::offline::regf::Store16(bytes + at + 2 * choice.Below(2), choice.Below(0x10000));
                    break;
                default: {
                    constexpr std::uint32_t Edges[] = {0,          1,          0xFFFFFFFF, 0x7FFFFFFF, 0x80000000,
                                                       0x80000004, 0xFFFFFFF8, 0xFFFF,     16344,      16345};
                    kel::offline::regf::Store32(bytes + at, Edges[choice.Below(std::size(Edges))]);
                }
            }
        }
    }
    if (size >= 512)
        kel::fuzz::MendChecksum(bytes);
    return size;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        kel::fuzz::HeapCount::Begin();
        const auto hive = Open(std::as_bytes(std::span(data, size)));
        hive->SetClock([] { return std::uint64_t{3}; });
        const Total before = Walk(*hive);
        Require(before.bytes <= GivenFactor * size + GivenSlack);
        Require(Walk(*hive).sum == before.sum);
        hive->Reader().ReadAll();
        Require(kel::fuzz::HeapCount::Used() <= ReadFactor * size + HeapSlack);
        Edit(*hive, before);
        Require(kel::fuzz::HeapCount::Used() <= EditFactor * size + HeapSlack);
    } catch (const kel::offline::regf::HiveError&) {
        // Refused with a message: what foreign files are met with.
    }
    return 0;
}
