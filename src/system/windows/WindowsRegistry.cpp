#include "windows/WindowsRegistry.h"

#include <windows.h>

#include <algorithm>

#include "windows/Win32.h"

namespace kel::windows {

namespace {

using platform::Hive;
using platform::NamedRegistryValue;
using platform::RegistryValue;
using platform::Result;
using platform::SysError;
using platform::Unlimited;
using platform::ValueType;

// In characters of a double-byte code page, with the terminator.
constexpr std::size_t LongestKeyName = 2 * 255 + 1;
constexpr std::size_t LongestValueName = 2 * 16383 + 1;

SysError FromStatus(LSTATUS status) {
    return static_cast<SysError>(static_cast<std::uint32_t>(status));
}

DWORD Dword(std::size_t size) {
    return static_cast<DWORD>(std::min<std::size_t>(size, MAXDWORD));
}

// A number that is no predefined key may be some open handle of the process, so it never reaches the system.
HKEY Predefined(Hive hive) {
    const auto number = static_cast<std::uint32_t>(hive);
    const bool known = number >= 0x80000000U && number <= 0x80000006U;
    return known ? reinterpret_cast<HKEY>(static_cast<INT_PTR>(hive)) : nullptr;
}

// Windows 95, 98 and ME.
bool OnWindows9x() {
    static const bool is = (::GetVersion() & 0x80000000U) != 0;
    return is;
}

// Windows 9x deletes a key with all its subkeys; the NT family refuses, and so does this.
SysError RemoveEmptyKey(HKEY root, const std::string& path) {
    if (OnWindows9x()) {
        KeyHandle key;
        char name[LongestKeyName];
        DWORD length = sizeof(name);
        if (::RegOpenKeyA(root, path.c_str(), key.Out()) == ERROR_SUCCESS &&
            ::RegEnumKeyExA(key.Get(), 0, name, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS) {
            return SysError::AccessDenied;
        }
    }
    return FromStatus(::RegDeleteKeyA(root, path.c_str()));
}

// The system writes a missing terminator behind text where there is room, and does not count it. It counts here:
// whoever takes the last character for the terminator must not lose a letter.
RegistryValue Counted(DWORD type, const std::string& buffer, DWORD size, DWORD capacity) {
    const auto kind = static_cast<ValueType>(type);
    const bool text = kind == ValueType::Sz || kind == ValueType::ExpandSz || kind == ValueType::MultiSz;
    RegistryValue value{kind, buffer.substr(0, size)};
    if (text && size > 0 && size < capacity && value.data.back() != '\0') {
        value.data += '\0';
    }
    return value;
}

class WindowsRegistryKey final : public platform::RegistryKey {
public:
    explicit WindowsRegistryKey(KeyHandle handle) : handle_(std::move(handle)) {}

    Result<RegistryValue> Query(std::string_view name, std::size_t capacity) override {
        const std::string valueName(name);
        if (capacity != Unlimited) {
            data_.resize(std::max<std::size_t>(capacity, 1));
            return QueryInto(valueName, Dword(capacity));
        }
        for (;;) {
            DWORD size = 0;
            const LSTATUS status =
                ::RegQueryValueExA(handle_.Get(), valueName.c_str(), nullptr, nullptr, nullptr, &size);
            if (status != ERROR_SUCCESS) {
                return FromStatus(status);
            }
            // One more, in which the system puts a missing terminator.
            data_.resize(static_cast<std::size_t>(size) + 1);
            auto value = QueryInto(valueName, Dword(data_.size()));
            if (value.Error() != SysError::MoreData) {
                return value;
            }
        }
    }

    SysError Set(std::string_view name, ValueType type, std::string_view data) override {
        // The NT family looks one byte behind unterminated text and counts a NUL that it finds there. Windows 9x takes
        // text up to its first NUL, whatever size it is told.
        std::string bytes(data);
        bytes += OnWindows9x() ? '\0' : '\x01';
        return FromStatus(::RegSetValueExA(handle_.Get(), std::string(name).c_str(), 0, static_cast<DWORD>(type),
                                           reinterpret_cast<const BYTE*>(bytes.data()), Dword(data.size())));
    }

    SysError RemoveValue(std::string_view name) override {
        return FromStatus(::RegDeleteValueA(handle_.Get(), std::string(name).c_str()));
    }

    SysError RemoveKey(std::string_view subKey) override { return RemoveEmptyKey(handle_.Get(), std::string(subKey)); }

    Result<std::string> EnumKey(std::uint32_t index, std::size_t capacity) override {
        const std::size_t room = std::min(capacity, LongestKeyName);
        std::string name(std::max<std::size_t>(room, 1), '\0');
        DWORD length = Dword(room);
        const LSTATUS status =
            ::RegEnumKeyExA(handle_.Get(), index, name.data(), &length, nullptr, nullptr, nullptr, nullptr);
        if (status != ERROR_SUCCESS) {
            return FromStatus(status);
        }
        name.resize(length);
        return name;
    }

    Result<NamedRegistryValue> EnumValue(std::uint32_t index, std::size_t nameCapacity,
                                         std::size_t dataCapacity) override {
        const std::size_t nameRoom = std::min(nameCapacity, LongestValueName);
        name_.resize(std::max<std::size_t>(nameRoom, 1));
        if (dataCapacity != Unlimited) {
            data_.resize(std::max<std::size_t>(dataCapacity, 1));
            return EnumInto(index, Dword(nameRoom), Dword(dataCapacity));
        }
        for (;;) {
            DWORD nameLength = Dword(nameRoom);
            DWORD size = 0;
            const LSTATUS status =
                ::RegEnumValueA(handle_.Get(), index, name_.data(), &nameLength, nullptr, nullptr, nullptr, &size);
            if (status != ERROR_SUCCESS) {
                return FromStatus(status);
            }
            data_.resize(static_cast<std::size_t>(size) + 1);
            auto value = EnumInto(index, Dword(nameRoom), Dword(data_.size()));
            // The name fits, so it is the data that grew meanwhile.
            if (value.Error() != SysError::MoreData) {
                return value;
            }
        }
    }

private:
    Result<RegistryValue> QueryInto(const std::string& name, DWORD capacity) {
        DWORD type = 0;
        DWORD size = capacity;
        const LSTATUS status = ::RegQueryValueExA(handle_.Get(), name.c_str(), nullptr, &type,
                                                  reinterpret_cast<BYTE*>(data_.data()), &size);
        if (status != ERROR_SUCCESS) {
            return FromStatus(status);
        }
        return Counted(type, data_, size, capacity);
    }

    Result<NamedRegistryValue> EnumInto(std::uint32_t index, DWORD nameCapacity, DWORD dataCapacity) {
        DWORD nameLength = nameCapacity;
        DWORD type = 0;
        DWORD size = dataCapacity;
        const LSTATUS status = ::RegEnumValueA(handle_.Get(), index, name_.data(), &nameLength, nullptr, &type,
                                               reinterpret_cast<BYTE*>(data_.data()), &size);
        if (status != ERROR_SUCCESS) {
            return FromStatus(status);
        }
        return NamedRegistryValue{name_.substr(0, nameLength), Counted(type, data_, size, dataCapacity)};
    }

    KeyHandle handle_;
    std::string name_;  // buffers, kept between calls
    std::string data_;
};

Result<std::unique_ptr<platform::RegistryKey>> Owner(LSTATUS status, KeyHandle handle) {
    if (status != ERROR_SUCCESS) {
        return FromStatus(status);
    }
    return std::unique_ptr<platform::RegistryKey>(std::make_unique<WindowsRegistryKey>(std::move(handle)));
}

}  // namespace

Result<std::unique_ptr<platform::RegistryKey>> WindowsRegistry::Open(Hive hive, std::string_view key,
                                                                     std::uint32_t access) {
    const HKEY root = Predefined(hive);
    if (root == nullptr) {
        return SysError::InvalidHandle;
    }
    const std::string path(key);
    KeyHandle handle;
    const LSTATUS status = access == platform::AccessMaximumAllowed
                               ? ::RegOpenKeyA(root, path.c_str(), handle.Out())
                               : ::RegOpenKeyExA(root, path.c_str(), 0, access, handle.Out());
    return Owner(status, std::move(handle));
}

Result<std::unique_ptr<platform::RegistryKey>> WindowsRegistry::Create(Hive hive, std::string_view key) {
    const HKEY root = Predefined(hive);
    if (root == nullptr) {
        return SysError::InvalidHandle;
    }
    KeyHandle handle;
    const LSTATUS status = ::RegCreateKeyA(root, std::string(key).c_str(), handle.Out());
    return Owner(status, std::move(handle));
}

SysError WindowsRegistry::RemoveKey(Hive hive, std::string_view key) {
    const HKEY root = Predefined(hive);
    return root == nullptr ? SysError::InvalidHandle : RemoveEmptyKey(root, std::string(key));
}

SysError WindowsRegistry::Commit() {
    return SysError::Success;
}

void WindowsRegistry::Discard() {
}

}  // namespace kel::windows
