#include "offline/RegistryText.h"

namespace kel::offline {

using platform::ValueType;

namespace {

std::optional<platform::RegistryValue> Read(platform::Registry& registry, platform::Hive hive, std::string_view key,
                                            std::string_view name) {
    auto open = registry.Open(hive, key);
    if (!open) {
        return std::nullopt;
    }
    auto value = (*open)->Query(name);
    if (!value) {
        return std::nullopt;
    }
    return std::move(value).Value();
}

}  // namespace

std::optional<std::string> ReadText(platform::Registry& registry, platform::Hive hive, std::string_view key,
                                    std::string_view name) {
    auto value = Read(registry, hive, key, name);
    if (!value || (value->type != ValueType::Sz && value->type != ValueType::ExpandSz)) {
        return std::nullopt;
    }
    return value->data.substr(0, value->data.find('\0'));
}

std::optional<std::uint32_t> ReadNumber(platform::Registry& registry, platform::Hive hive, std::string_view key,
                                        std::string_view name) {
    const auto value = Read(registry, hive, key, name);
    if (!value || value->type != ValueType::Dword || value->data.size() != 4) {
        return std::nullopt;
    }
    std::uint32_t number = 0;
    for (std::size_t i = 4; i-- > 0;) {
        number = number << 8U | static_cast<unsigned char>(value->data[i]);
    }
    return number;
}

std::string LowerAscii(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return lower;
}

}  // namespace kel::offline
