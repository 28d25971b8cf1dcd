#include "offline/RegistryData.h"

#include <cstring>

#include "offline/Wtf8.h"

namespace kel::offline {

using platform::RegistryValue;
using platform::ValueType;

bool IsTextType(ValueType type) {
    return type == ValueType::Sz || type == ValueType::ExpandSz || type == ValueType::MultiSz;
}

RegistryValue ToAnsi(const TreeValue& value) {
    RegistryValue ansi;
    ansi.type = static_cast<ValueType>(value.type);
    if (IsTextType(ansi.type)) {
        ansi.data = ToWtf8(UnitsFromBytes(value.data));
        if (!ansi.data.empty() && ansi.data.back() != '\0') {
            ansi.data.push_back('\0');
        }
    } else {
        ansi.data.assign(reinterpret_cast<const char*>(value.data.data()), value.data.size());
    }
    return ansi;
}

std::vector<std::byte> FromAnsi(ValueType type, std::string_view data) {
    if (IsTextType(type)) {
        return BytesFromUnits(FromWtf8(data));
    }
    const auto* bytes = reinterpret_cast<const std::byte*>(data.data());
    return {bytes, bytes + data.size()};
}

}  // namespace kel::offline
