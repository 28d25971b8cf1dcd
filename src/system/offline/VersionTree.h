// The block of a version resource as the tree that queries go through.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/VersionResources.h"

namespace kel::offline {

/// Owns the bytes of a block, in its 32-bit form (UTF-16) or its 16-bit one (Windows-1252). Every length in it is
/// checked against the bytes that are there; a query never looks outside.
class VersionTree : public platform::VersionBlock {
public:
    explicit VersionTree(std::string bytes);
    [[nodiscard]] std::optional<std::string> Query(std::string_view subBlock) const override;

private:
    struct Node {
        std::size_t end = 0;
        std::size_t key = 0;
        std::size_t value = 0;
        std::size_t valueSize = 0;  ///< in bytes
        std::size_t children = 0;
        bool text = false;
    };

    [[nodiscard]] std::optional<Node> ReadNode(std::size_t at, std::size_t limit) const;
    [[nodiscard]] std::optional<Node> Child(const Node& parent, std::string_view name) const;
    [[nodiscard]] std::string Key(const Node& node) const;
    [[nodiscard]] std::string TextAt(std::size_t at, std::size_t limit) const;
    [[nodiscard]] std::uint32_t WordAt(std::size_t at) const;

    std::string bytes_;
    bool narrow_;  ///< the 16-bit form
};

}  // namespace kel::offline
