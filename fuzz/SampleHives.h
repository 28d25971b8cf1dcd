// Hives that the fuzz targets start from, and the checksums that their mutations have to mend.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "hive/BaseBlock.h"
#include "hive/Hive.h"
#include "hive/Marvin32.h"
#include "hive/NewHive.h"

namespace kel::fuzz {

/// A hive of that version with lists of each form, small, large and shared things.
inline std::vector<std::byte> SampleHive(std::uint32_t minor) {
    offline::regf::HiveImage image;
    image.Assign(offline::regf::MakeHive(minor, u"ROOT", 1));
    offline::Hive hive(std::move(image));
    hive.SetClock([] { return std::uint64_t{2}; });
    const std::vector<std::byte> data(40, std::byte{7});
    const auto key = [&hive](offline::KeyId parent, const std::string& name) {
        return hive.CreateKey(parent, std::u16string(name.begin(), name.end())).Value();
    };
    const offline::KeyId few = key(hive.Root(), "few");
    for (int i = 0; i < 5; ++i)
        hive.SetValue(key(few, std::to_string(i)), u"v", 3, std::span(data).first(static_cast<std::size_t>(i)));
    const offline::KeyId many = key(hive.Root(), "many");
    for (int i = 0; i < (minor < 3 ? 1030 : 520); ++i)
        key(many, std::to_string(i));
    hive.SetValue(few, u"large", 3, std::vector<std::byte>(17000, std::byte{1}));
    hive.SetValue(few, u"\u0416", 1, data);
    const auto bytes = hive.Render();
    return {bytes.begin(), bytes.end()};
}

/// Sets the checksum of a base block right.
inline void MendChecksum(std::byte* block) {
    offline::regf::Store32(block + 508, offline::regf::Checksum(block));
}

/// A small generator of the mutators' own choices.
class Choice {
public:
    explicit Choice(unsigned seed) : state_(seed * 2654435761U + 1) {}
    std::uint32_t Below(std::size_t bound) {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 17;
        state_ ^= state_ << 5;
        return static_cast<std::uint32_t>(state_ % bound);
    }

private:
    std::uint32_t state_;
};

}  // namespace kel::fuzz
