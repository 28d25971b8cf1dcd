// Reads and writes of the registry, with the text forms in which the quarantine keeps what they give.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/Collection.h"
#include "core/Value.h"
#include "platform/Registry.h"

/// Stateless. Keys are paths below a hive. Except where it says so nothing is reported: a failed operation answers
/// false, nothing or an empty collection.
namespace kel::modRegistry {

using platform::Hive;

/// Catalogue numbers of data types as GetRegistryValueType gives them.
enum RegistryTypeNumber : std::int32_t { TypeSz = 1, TypeExpandSz = 2, TypeOther = 3, TypeDword = 4 };

/// Text of a string type, without one trailing NUL; a REG_DWORD as a 32-bit number; Empty for every other type and when
/// the value can't be read.
Value GetRegistryValue(Hive hive, std::string_view key, std::string_view name);
/// The form in which detections and the quarantine keep a value: text as it is; a REG_DWORD as the first three of its
/// decimal digits; REG_BINARY as upper-case hexadecimal digits. Empty on failure or above 20480 bytes.
std::string GetRegistryValueText(Hive hive, std::string_view key, std::string_view name);
/// A RegistryTypeNumber; 0 when the value can't be read, which is reported.
std::int32_t GetRegistryValueType(Hive hive, std::string_view key, std::string_view name);

/// Makes the key if needed and writes the value.
/// @param type platform number: 1 and 7 write text without adding a terminator, 4 a 32-bit number; others write
/// nothing.
/// @return false only for an empty key.
bool SetRegistryValue(Hive hive, std::string_view key, std::string_view name, const Value& data, std::int32_t type);
/// Makes the key if needed and writes BytesFromBinaryText(text) as REG_BINARY. True when all succeeded.
bool SetRegistryBinaryValue(Hive hive, std::string_view key, std::string_view name, std::string_view text);
/// Text form of hexadecimal digit pairs: "00" becomes "|", others the character; without blanks at the ends.
std::string BinaryTextFromHex(std::string_view hex);
/// Bytes of that text form: "|" becomes the byte 0.
std::string BytesFromBinaryText(std::string_view text);

/// Makes a key. False only for an empty one.
bool CreateRegistryKey(Hive hive, std::string_view key);
/// Deletes a key without subkeys.
bool DeleteRegistryKey(Hive hive, std::string_view key);
/// Deletes a key with all that is below it. True when its parent could be opened; a key directly below the hive is
/// deleted and gives false. An empty path deletes nothing.
bool DeleteRegistryKeyTree(Hive hive, std::string_view key);
bool DeleteRegistryValue(Hive hive, std::string_view key, std::string_view name);

/// Names of the subkeys; nothing when the key can't be opened.
std::optional<Collection<std::string>> RegistrySubKeys(Hive hive, std::string_view key);
/// The values as "name:data", the data without its last byte whatever the type.
Collection<std::string> RegistryValuesList(Hive hive, std::string_view key);
/// Names of the values that have data. Each still ends in a NUL: use modFiles::StringBeforeNul.
Collection<std::string> RegistryValueNames(Hive hive, std::string_view key);
/// Number of values that have data.
std::int16_t RegistryValueCount(Hive hive, std::string_view key);

bool RegKeyExists(Hive hive, std::string_view key);
bool RegValueExists(Hive hive, std::string_view key, std::string_view name);
/// Whether the value's text form equals `text` without regard to case. False when it can't be read.
bool RegValueDataEquals(Hive hive, std::string_view key, std::string_view name, std::string_view text);

/// The text that names the file that serves a class in its clients' processes, as it is registered. Empty when there is
/// none.
std::string ServerOfClass(std::string_view clsid);
/// Path of the file that serves a class in its clients' processes, in lower case and resolved. Empty for a text of
/// fewer than 10 characters, and when none is registered or the file is not there.
std::string GetFilePathFromCLSID(std::string_view clsid);
/// Whether short names and marks that resolving takes out count as any name.
enum class Marks { Names, Any };
/// Those subkeys of HKEY_CLASSES_ROOT\CLSID, in the order of their listing, whose server's text holds the name of the
/// file, without regard to case; for the empty name all that have a server. Where all changes of the registry are known
/// (not on a live machine) the classes are read once.
std::vector<std::string> ClassesServedFrom(std::string_view fileName, Marks marks);
/// The classes whose file that is: those subkeys of HKEY_CLASSES_ROOT\CLSID, in the order of their listing, whose
/// GetFilePathFromCLSID is the path, without regard to case. None for an empty path.
Collection<std::string> GetDllCLSIDs(std::string_view path);

}  // namespace kel::modRegistry
