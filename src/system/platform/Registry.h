// The registry, by the calls that the engine uses.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Result.h"

namespace kel::platform {

/// Predefined keys as signed 32-bit numbers: HKEY_CLASSES_ROOT 0x80000000 and so on. Any other number is legal as an
/// argument and gives SysError::InvalidHandle.
using Hive = std::int32_t;

inline constexpr Hive HiveClassesRoot = static_cast<Hive>(0x80000000U);
inline constexpr Hive HiveCurrentUser = static_cast<Hive>(0x80000001U);
inline constexpr Hive HiveLocalMachine = static_cast<Hive>(0x80000002U);
inline constexpr Hive HiveUsers = static_cast<Hive>(0x80000003U);

/// Data types of values. A number without a name here is legal.
enum class ValueType : std::uint32_t {
    None = 0,
    Sz = 1,
    ExpandSz = 2,
    Binary = 3,
    Dword = 4,
    DwordBigEndian = 5,
    Link = 6,
    MultiSz = 7,
    ResourceList = 8,
    FullResourceDescriptor = 9,
    ResourceRequirementsList = 10,
    Qword = 11,
};

/// A value as the ANSI calls give it: text types in the machine's code page with whatever terminators are stored,
/// a missing one added; all other types as raw bytes. `data.size()` is the reported size.
struct RegistryValue {
    ValueType type = ValueType::None;
    std::string data;
};

/// A value of an enumeration.
struct NamedRegistryValue {
    std::string name;  ///< without its terminator; empty for the default value
    RegistryValue value;
};

/// Access that a key is opened with.
enum RegistryAccess : std::uint32_t {
    AccessEnumerateSubKeys = 8,
    AccessAllButDelete = 63,
    AccessMaximumAllowed = 0x02000000,  ///< what RegOpenKeyA asks for
};

inline constexpr std::size_t Unlimited = static_cast<std::size_t>(-1);

/// An open key. Closed by its destructor.
class RegistryKey {
public:
    virtual ~RegistryKey() = default;

    /// RegQueryValueExA into a buffer of `capacity` bytes: MoreData when the value needs more, FileNotFound when there
    /// is none of that name.
    virtual Result<RegistryValue> Query(std::string_view name, std::size_t capacity = Unlimited) = 0;
    /// RegSetValueExA: `data` is what a caller of the ANSI call would pass, text types in the machine's code page
    /// with or without their terminator. It is stored as given.
    virtual SysError Set(std::string_view name, ValueType type, std::string_view data) = 0;
    /// RegDeleteValueA. FileNotFound when there is none.
    virtual SysError RemoveValue(std::string_view name) = 0;
    /// RegDeleteKeyA on a subkey path. AccessDenied when it has subkeys, FileNotFound when it is not there.
    virtual SysError RemoveKey(std::string_view subKey) = 0;

    /// RegEnumKeyExA: name of the subkey with that index, from 0. NoMoreItems at the end; MoreData when the name
    /// and its terminator need more than `capacity` characters.
    virtual Result<std::string> EnumKey(std::uint32_t index, std::size_t capacity = Unlimited) = 0;
    /// RegEnumValueA. NoMoreItems at the end; MoreData when the name with its terminator, or the data, do not fit.
    virtual Result<NamedRegistryValue> EnumValue(std::uint32_t index, std::size_t nameCapacity = Unlimited,
                                                 std::size_t dataCapacity = Unlimited) = 0;
};

/// Registry access. Key paths have no leading backslash and are compared without regard to case. Never throws.
class Registry {
public:
    virtual ~Registry() = default;

    /// RegOpenKeyExA. An empty `key` opens the hive itself. FileNotFound when it is not there.
    virtual Result<std::unique_ptr<RegistryKey>> Open(Hive hive, std::string_view key,
                                                      std::uint32_t access = AccessMaximumAllowed) = 0;
    /// RegCreateKeyA: opens the key, made with all its parents if it is not there.
    virtual Result<std::unique_ptr<RegistryKey>> Create(Hive hive, std::string_view key) = 0;
    /// RegDeleteKeyA on a path below the hive. AccessDenied when it has subkeys.
    virtual SysError RemoveKey(Hive hive, std::string_view key) = 0;

    /// Puts what was changed on the medium. On a live machine there is nothing to do; offline a changed hive is
    /// written whole or not at all. Success when nothing changed.
    virtual SysError Commit() = 0;
    /// Forgets changes that were not committed. On a live machine nothing can be forgotten, and nothing happens.
    virtual void Discard() = 0;

    /// A number that is another one after each change of a key that has the component `name` on its path, for those who
    /// keep what they read there; no two registries have the same ones. Nothing where others change it too, as on a
    /// live machine.
    virtual std::optional<std::uint64_t> ChangesBelow(std::string_view name) = 0;
};

}  // namespace kel::platform
