#include "companions/BootEntries.h"

#include <cstdint>

#include "platform/Platform.h"

namespace kel::companions {

namespace {

using platform::HiveCurrentUser;
using platform::SysError;
using platform::ValueType;

std::string TextOf(const platform::RegistryValue& value) {
    const bool isText = value.type == ValueType::Sz || value.type == ValueType::ExpandSz;
    return isText ? value.data.substr(0, value.data.find('\0')) : std::string();
}

}  // namespace

platform::Result<std::vector<BootEntry>> ReadEntries(std::string_view key) {
    std::vector<BootEntry> entries;
    const auto open = platform::Current().registry->Open(HiveCurrentUser, key);
    if (!open) {
        if (open.Error() == SysError::FileNotFound) {
            return entries;
        }
        return open.Error();
    }
    for (std::uint32_t index = 0;; ++index) {
        const auto value = (*open)->EnumValue(index);
        if (!value) {
            if (value.Error() == SysError::NoMoreItems) {
                return entries;
            }
            return value.Error();
        }
        entries.push_back({value->name, TextOf(value->value)});
    }
}

SysError RemoveEntry(std::string_view key, std::string_view name) {
    const auto open = platform::Current().registry->Open(HiveCurrentUser, key);
    return open ? (*open)->RemoveValue(name) : open.Error();
}

void RemoveEmptyKey(std::string_view key) {
    const auto open = platform::Current().registry->Open(HiveCurrentUser, key);
    if (open && (*open)->EnumValue(0).Error() == SysError::NoMoreItems &&
        (*open)->EnumKey(0).Error() == SysError::NoMoreItems) {
        platform::Current().registry->RemoveKey(HiveCurrentUser, key);
    }
}

}  // namespace kel::companions
