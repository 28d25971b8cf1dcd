#include <cstdint>

#include "offline/PathResolver.h"
#include "offline/Wtf8.h"

namespace kel::offline {

namespace {

constexpr std::uint32_t TagMountPoint = 0xA0000003;
constexpr std::uint32_t TagSymbolicLink = 0xA000000C;
constexpr std::uint32_t FlagRelative = 1;
constexpr std::size_t HeaderSize = 8;  // tag, length of the data, reserved

std::uint32_t Number(std::string_view data, std::size_t at, std::size_t bytes) {
    std::uint32_t number = 0;
    for (std::size_t index = 0; index < bytes; ++index) {
        number |= static_cast<std::uint32_t>(static_cast<unsigned char>(data[at + index])) << (8 * index);
    }
    return number;
}

}  // namespace

std::optional<WindowsPath> ReparseTarget(std::string_view data, const WindowsPath& parent) {
    if (data.size() < HeaderSize + 12) {
        return std::nullopt;
    }
    const std::uint32_t tag = Number(data, 0, 4);
    if (tag != TagMountPoint && tag != TagSymbolicLink) {
        return std::nullopt;
    }
    const std::size_t names = HeaderSize + (tag == TagSymbolicLink ? 12U : 8U);
    const bool relative = tag == TagSymbolicLink && (Number(data, HeaderSize + 8, 4) & FlagRelative) != 0;
    const std::size_t offset = Number(data, HeaderSize, 2);
    const std::size_t length = Number(data, HeaderSize + 2, 2);
    if (names + offset + length > data.size()) {
        return std::nullopt;
    }
    const std::string_view bytes = data.substr(names + offset, length);
    const std::string target = ToWtf8(UnitsFromBytes(std::as_bytes(std::span(bytes.data(), bytes.size()))));
    if (!relative && !(target.size() >= 7 && target.starts_with("\\??\\") && target[5] == ':' && target[6] == '\\')) {
        return std::nullopt;  // a volume without a letter, or another machine
    }
    auto path = ParsePath(relative ? std::string_view(target) : std::string_view(target).substr(4), parent);
    if (!path) {
        return std::nullopt;
    }
    return *std::move(path);
}

}  // namespace kel::offline
