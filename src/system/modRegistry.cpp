#include "system/modRegistry.h"

#include <cstddef>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include "core/Failures.h"
#include "core/Text.h"
#include "platform/Platform.h"
#include "system/modFolderPaths.h"

namespace kel::modRegistry {

namespace {

using platform::RegistryValue;
using platform::SysError;
using platform::ValueType;

constexpr std::size_t TextBuffer = 20480;
constexpr std::size_t TreeKeyBuffer = 512;
constexpr std::size_t SubKeyBuffer = 2048;
constexpr std::size_t EnumerationBuffer = 20000;
constexpr std::size_t ShortestClsid = 10;

// An enumeration that answers with nothing but errors would never end by itself.
constexpr std::uint32_t MaxErrorsInARow = 65536;

platform::Registry& Machine() {
    return *platform::Current().registry;
}

std::string_view WithoutLeadingBackslash(std::string_view key) {
    return key.starts_with('\\') ? key.substr(1) : key;
}

platform::Result<RegistryValue> Query(Hive hive, std::string_view key, std::string_view name,
                                      std::size_t capacity = platform::Unlimited) {
    auto open = Machine().Open(hive, key);
    if (!open) {
        return open.Error();
    }
    return (*open)->Query(name, capacity);
}

std::uint32_t ByteAt(std::string_view data, std::size_t place) {
    return place < data.size() ? static_cast<unsigned char>(data[place]) : 0U;
}

std::uint32_t Dword(std::string_view data) {
    return ByteAt(data, 0) | ByteAt(data, 1) << 8 | ByteAt(data, 2) << 16 | ByteAt(data, 3) << 24;
}

std::string_view WithoutLast(std::string_view data) {
    return data.substr(0, data.empty() ? 0 : data.size() - 1);
}

std::string HexText(std::string_view bytes) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    text.reserve(2 * bytes.size());
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += digits[byte >> 4];
        text += digits[byte & 15U];
    }
    return text;
}

// A REG_DWORD as the quarantine keeps it: the text is cut as if it were data of four bytes with a terminator.
std::string DwordText(const std::string& data) {
    std::string digits = Text(static_cast<std::int64_t>(Dword(data)));
    if (digits.size() < 3) {
        digits.insert(0, 3 - digits.size(), '0');
    }
    return std::string(Left(digits, data.empty() ? 0 : data.size() - 1));
}

std::string ValueText(const RegistryValue& value) {
    switch (value.type) {
        case ValueType::Binary:
            return HexText(value.data);
        case ValueType::Dword:
            return DwordText(value.data);
        default:
            return std::string(WithoutLast(value.data));
    }
}

std::optional<std::string> ReadText(Hive hive, std::string_view key, std::string_view name) {
    const auto value = Query(hive, key, name, TextBuffer);
    if (!value) {
        return std::nullopt;
    }
    return ValueText(*value);
}

unsigned HexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return static_cast<unsigned>(c - '0');
    }
    const char lower = static_cast<char>(c | 0x20);
    if (lower >= 'a' && lower <= 'f') {
        return static_cast<unsigned>(lower - 'a' + 10);
    }
    Raise(ErrTypeMismatch);
}

// Calls `visit` with each value. A value that can't be given is passed over.
template <class Visit>
void ForEachValue(Hive hive, std::string_view key, Visit&& visit) {
    auto open = Machine().Open(hive, key);
    if (!open) {
        return;
    }
    std::uint32_t errors = 0;
    for (std::uint32_t index = 0; errors < MaxErrorsInARow; ++index) {
        const auto value = (*open)->EnumValue(index, EnumerationBuffer, EnumerationBuffer);
        if (value) {
            errors = 0;
            visit(*value);
        } else if (value.Error() == SysError::NoMoreItems) {
            return;
        } else {
            ++errors;
        }
    }
}

std::vector<std::string> SubKeysOf(platform::RegistryKey& key, std::size_t capacity) {
    std::vector<std::string> names;
    for (std::uint32_t index = 0;; ++index) {
        auto name = key.EnumKey(index, capacity);
        if (!name) {
            return names;
        }
        names.push_back(*std::move(name));
    }
}

void DeleteSubKeys(Hive hive, const std::string& key) {
    auto open = Machine().Open(hive, key, platform::AccessAllButDelete);
    if (!open) {
        return;
    }
    for (const std::string& name : SubKeysOf(**open, TreeKeyBuffer)) {
        std::string subKey = key;
        DeleteSubKeys(hive, subKey.append("\\").append(name));
        (*open)->RemoveKey(name);
    }
}

}  // namespace

Value GetRegistryValue(Hive hive, std::string_view key, std::string_view name) {
    Value result;
    ResumeNext([&] {
        const auto value = Query(hive, key, name);
        if (!value) {
            return;
        }
        switch (value->type) {
            case ValueType::Sz:
            case ValueType::ExpandSz:
            case ValueType::MultiSz:
                result = value->data.ends_with('\0') ? std::string(WithoutLast(value->data)) : value->data;
                return;
            case ValueType::Dword:
                result = static_cast<std::int32_t>(Dword(value->data));
                return;
            default:
                return;
        }
    });
    return result;
}

std::string GetRegistryValueText(Hive hive, std::string_view key, std::string_view name) {
    std::string result;
    ResumeNext([&] { result = ReadText(hive, key, name).value_or(std::string()); });
    return result;
}

std::int32_t GetRegistryValueType(Hive hive, std::string_view key, std::string_view name) {
    std::int32_t result = 0;
    Trap("modRegistry", "GetRegistryValueType", [&] {
        const auto value = Query(hive, key, name);
        if (!value) {
            Raise(ErrInvalidProcedureCall);
        }
        switch (value->type) {
            case ValueType::Sz:
                result = TypeSz;
                return;
            case ValueType::ExpandSz:
                result = TypeExpandSz;
                return;
            case ValueType::Dword:
                result = TypeDword;
                return;
            default:
                result = TypeOther;
                return;
        }
    });
    return result;
}

bool SetRegistryValue(Hive hive, std::string_view key, std::string_view name, const Value& data, std::int32_t type) {
    const std::string_view bare = WithoutLeadingBackslash(key);
    if (bare.empty()) {
        return false;
    }
    ResumeNext([&] {
        auto open = Machine().Create(hive, bare);
        if (!open) {
            return;
        }
        switch (const auto valueType = static_cast<ValueType>(type)) {
            case ValueType::Sz:
            case ValueType::MultiSz:
                (*open)->Set(name, valueType, ToText(data));
                return;
            case ValueType::Dword: {
                const auto number = static_cast<std::uint32_t>(ToLong(data));
                std::string bytes;
                for (unsigned shift = 0; shift < 32; shift += 8) {
                    bytes += static_cast<char>(static_cast<unsigned char>(number >> shift));
                }
                (*open)->Set(name, valueType, bytes);
                return;
            }
            default:
                return;
        }
    });
    return true;
}

bool SetRegistryBinaryValue(Hive hive, std::string_view key, std::string_view name, std::string_view text) {
    auto open = Machine().Create(hive, key);
    return open.Ok() && (*open)->Set(name, ValueType::Binary, BytesFromBinaryText(text)) == SysError::Success;
}

std::string BinaryTextFromHex(std::string_view hex) {
    std::string result;
    ResumeNext([&] {
        std::string text;
        for (std::size_t at = 0; at < hex.size(); at += 2) {
            unsigned code = 0;
            for (const char digit : hex.substr(at, 2)) {
                code = code * 16 + HexDigit(digit);
            }
            text += code == 0 ? '|' : static_cast<char>(code);
        }
        result = Trim(text);
    });
    return result;
}

std::string BytesFromBinaryText(std::string_view text) {
    std::string bytes(text);
    for (char& c : bytes) {
        if (c == '|') {
            c = '\0';
        }
    }
    return bytes;
}

bool CreateRegistryKey(Hive hive, std::string_view key) {
    const std::string_view bare = WithoutLeadingBackslash(key);
    if (bare.empty()) {
        return false;
    }
    (void)Machine().Create(hive, bare);
    return true;
}

bool DeleteRegistryKey(Hive hive, std::string_view key) {
    return Machine().RemoveKey(hive, key) == SysError::Success;
}

bool DeleteRegistryKeyTree(Hive hive, std::string_view key) {
    bool result = false;
    ResumeNext([&] {
        const std::string bare(key.ends_with('\\') ? key.substr(0, key.size() - 1) : key);
        // An empty path is the hive itself, which no caller means: it is what is left of a path that was too short.
        if (bare.empty()) {
            return;
        }
        DeleteSubKeys(hive, bare);
        const std::size_t separator = bare.rfind('\\');
        if (separator == std::string::npos) {
            Machine().RemoveKey(hive, bare);
            return;
        }
        auto parent = Machine().Open(hive, bare.substr(0, separator), platform::AccessAllButDelete);
        if (parent) {
            (*parent)->RemoveKey(bare.substr(separator + 1));
            result = true;
        }
    });
    return result;
}

bool DeleteRegistryValue(Hive hive, std::string_view key, std::string_view name) {
    auto open = Machine().Open(hive, key, platform::AccessAllButDelete);
    return open.Ok() && (*open)->RemoveValue(name) == SysError::Success;
}

std::optional<Collection<std::string>> RegistrySubKeys(Hive hive, std::string_view key) {
    auto open = Machine().Open(hive, key, platform::AccessEnumerateSubKeys);
    if (!open) {
        return std::nullopt;
    }
    Collection<std::string> names;
    for (std::string& name : SubKeysOf(**open, SubKeyBuffer)) {
        names.Add(std::move(name));
    }
    return names;
}

Collection<std::string> RegistryValuesList(Hive hive, std::string_view key) {
    Collection<std::string> items;
    ForEachValue(hive, key, [&](const platform::NamedRegistryValue& entry) {
        std::string item = entry.name;
        item += ':';
        item += WithoutLast(entry.value.data);
        items.Add(std::move(item));
    });
    return items;
}

Collection<std::string> RegistryValueNames(Hive hive, std::string_view key) {
    Collection<std::string> names;
    ForEachValue(hive, key, [&](const platform::NamedRegistryValue& entry) {
        if (!entry.value.data.empty()) {
            names.Add(std::string(Trim(entry.name + '\0')));
        }
    });
    return names;
}

std::int16_t RegistryValueCount(Hive hive, std::string_view key) {
    std::int16_t count = 0;
    ForEachValue(hive, key, [&](const platform::NamedRegistryValue& entry) {
        if (!entry.value.data.empty() && count < std::numeric_limits<std::int16_t>::max()) {
            ++count;
        }
    });
    return count;
}

bool RegKeyExists(Hive hive, std::string_view key) {
    return Machine().Open(hive, key).Ok();
}

bool RegValueExists(Hive hive, std::string_view key, std::string_view name) {
    return Query(hive, key, name).Ok();
}

bool RegValueDataEquals(Hive hive, std::string_view key, std::string_view name, std::string_view text) {
    bool equal = false;
    ResumeNext([&] {
        const auto stored = ReadText(hive, key, name);
        equal = stored && LCase(*stored) == LCase(text);
    });
    return equal;
}

std::string ServerOfClass(std::string_view clsid) {
    std::string key = "CLSID\\";
    key.append(clsid).append("\\InprocServer32");
    return ToText(GetRegistryValue(platform::HiveClassesRoot, key, {}));
}

std::string GetFilePathFromCLSID(std::string_view clsid) {
    std::string path;
    if (clsid.size() < ShortestClsid) {
        return path;
    }
    ResumeNext([&] {
        const std::string server = ServerOfClass(clsid);
        path = ToText(modFolderPaths::ResolveFilePathEx(modFolderPaths::TranslateEnvironmentVariablesPaths(server)));
    });
    return path;
}

}  // namespace kel::modRegistry
