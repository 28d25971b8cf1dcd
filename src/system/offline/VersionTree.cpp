#include "offline/VersionTree.h"

#include <algorithm>
#include <array>

#include "offline/RegistryText.h"
#include "offline/Wtf8.h"

namespace kel::offline {

namespace {

constexpr std::string_view RootKey = "VS_VERSION_INFO";
constexpr std::size_t FixedBlockSize = 52;
constexpr std::string_view FixedSignature("\xBD\x04\xEF\xFE", 4);

// Windows-1252 from 0x80 to 0x9F; the rest is Latin-1.
constexpr std::array<char16_t, 32> Upper1252{0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                             0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                             0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                             0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

constexpr std::size_t Aligned(std::size_t at) {
    return (at + 3) & ~std::size_t{3};
}

char16_t Wide(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x80 && byte < 0xA0 ? Upper1252[byte - 0x80U] : static_cast<char16_t>(byte);
}

}  // namespace

VersionTree::VersionTree(std::string bytes)
    : bytes_(std::move(bytes)), narrow_(bytes_.size() > 4 && std::string_view(bytes_).substr(4).starts_with(RootKey)) {
}

std::uint32_t VersionTree::WordAt(std::size_t at) const {
    return at + 2 > bytes_.size() ? 0U
                                  : static_cast<unsigned char>(bytes_[at]) |
                                        static_cast<std::uint32_t>(static_cast<unsigned char>(bytes_[at + 1])) << 8U;
}

std::string VersionTree::TextAt(std::size_t at, std::size_t limit) const {
    std::u16string text;
    const std::size_t unit = narrow_ ? 1 : 2;
    for (; at + unit <= limit; at += unit) {
        const char16_t c = narrow_ ? Wide(bytes_[at]) : static_cast<char16_t>(WordAt(at));
        if (c == 0) {
            break;
        }
        text += c;
    }
    return ToWtf8(text);
}

std::string VersionTree::Key(const Node& node) const {
    return LowerAscii(TextAt(node.key, node.end));
}

std::optional<VersionTree::Node> VersionTree::ReadNode(std::size_t at, std::size_t limit) const {
    const std::size_t head = narrow_ ? 4 : 6;
    if (at + head > limit) {
        return std::nullopt;
    }
    const std::size_t length = WordAt(at);
    if (length < head) {
        return std::nullopt;
    }
    Node node;
    node.end = std::min(at + length, limit);
    node.text = narrow_ || WordAt(at + 4) == 1;
    node.key = at + head;
    const std::size_t unit = narrow_ ? 1 : 2;
    std::size_t keyEnd = node.key;
    while (keyEnd + unit <= node.end && (narrow_ ? bytes_[keyEnd] != '\0' : WordAt(keyEnd) != 0)) {
        keyEnd += unit;
    }
    node.value = std::min(Aligned(keyEnd + unit), node.end);
    // The length of a text is told in characters; of everything else, and in the 16-bit form, in bytes.
    const std::size_t told = WordAt(at + 2) * (node.text && !narrow_ ? std::size_t{2} : std::size_t{1});
    node.valueSize = std::min(told, node.end - node.value);
    node.children = Aligned(node.value + node.valueSize);
    return node;
}

std::optional<VersionTree::Node> VersionTree::Child(const Node& parent, std::string_view name) const {
    const std::string wanted = LowerAscii(name);
    for (std::size_t at = parent.children; at < parent.end;) {
        const auto child = ReadNode(at, parent.end);
        if (!child) {
            return std::nullopt;
        }
        if (Key(*child) == wanted) {
            return child;
        }
        at = Aligned(child->end);
    }
    return std::nullopt;
}

std::optional<std::string> VersionTree::Query(std::string_view subBlock) const {
    auto node = ReadNode(0, bytes_.size());
    std::size_t depth = 0;
    while (node && !subBlock.empty()) {
        const std::size_t separator = subBlock.find('\\');
        const std::string_view name = subBlock.substr(0, separator);
        subBlock.remove_prefix(separator == std::string_view::npos ? subBlock.size() : separator + 1);
        if (!name.empty()) {
            node = Child(*node, name);
            ++depth;
        }
    }
    if (!node) {
        return std::nullopt;
    }
    const std::string_view value = std::string_view(bytes_).substr(node->value, node->valueSize);
    if (depth == 0) {
        const bool fixed = value.size() >= FixedBlockSize && value.starts_with(FixedSignature);
        return fixed ? std::optional(std::string(value.substr(0, FixedBlockSize))) : std::nullopt;
    }
    // Translation lists are numbers; in the 16-bit form nothing tells them from text but their place.
    constexpr std::size_t stringDepth = 3;
    if (node->text && (!narrow_ || depth == stringDepth)) {
        return TextAt(node->value, node->value + node->valueSize) + '\0';
    }
    return std::string(value);
}

}  // namespace kel::offline
