#include "cleaner/WinsockCatalogue.h"

#include <cstddef>

#include "cleaner/Cleaner.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Platform.h"
#include "system/modFolderPaths.h"
#include "system/modRegistry.h"

// The catalogue is changed in the registry itself, and takes effect at the next start of the machine. Its entries are
// numbered without a gap, in names of twelve digits.

namespace kel {

namespace {

using platform::HiveLocalMachine;

constexpr std::string_view DefaultControlSet = "CurrentControlSet";
constexpr std::string_view Item = "PackedCatalogItem";
constexpr char EndOfPath = '|';
// Other subkeys are no entries.
constexpr std::size_t ShortestName = 3;

std::string Catalogue(std::string_view controlSet) {
    return std::string("SYSTEM\\")
        .append(controlSet.empty() ? DefaultControlSet : controlSet)
        .append(R"(\Services\WinSock2\Parameters\Protocol_Catalog9)");
}

std::string EntryKey(std::string_view controlSet, std::string_view name) {
    return Catalogue(controlSet).append(R"(\Catalog_Entries\)").append(name);
}

Collection<std::string> SubKeysOf(std::string_view controlSet) {
    return modRegistry::RegistrySubKeys(HiveLocalMachine, Catalogue(controlSet) + "\\Catalog_Entries")
        .value_or(Collection<std::string>());
}

std::string ItemOf(std::string_view controlSet, std::string_view name) {
    return modRegistry::BinaryTextFromHex(
        modRegistry::GetRegistryValueText(HiveLocalMachine, EntryKey(controlSet, name), Item));
}

// Path of an entry's provider, in lower case; empty for an entry that names none.
std::string ProviderOf(const std::string& item) {
    const std::size_t end = item.find(EndOfPath);
    if (end == std::string::npos) {
        return {};
    }
    return LCase(modFolderPaths::TranslateEnvironmentVariablesPaths(
        platform::Current().text->FromAnsi(std::string_view(item).substr(0, end))));
}

bool IsNumeric(const std::string& text) {
    return ResumeNext([&] { (void)ToDouble(text); });
}

std::string NameOf(std::size_t number) {
    return (number < 10 ? "00000000000" : "0000000000") + std::to_string(number);
}

void MoveEntry(std::string_view controlSet, std::string_view from, std::string_view to) {
    if (!modRegistry::SetRegistryBinaryValue(HiveLocalMachine, EntryKey(controlSet, to), Item,
                                             ItemOf(controlSet, from))) {
        // The old one is the only one then.
        Raise(ErrInvalidProcedureCall);
    }
    modRegistry::DeleteRegistryKeyTree(HiveLocalMachine, EntryKey(controlSet, from));
}

}  // namespace

namespace modCleanerHelper {

Collection<std::string> GetLSPCatalogEntries(std::string_view path, std::string_view controlSet) {
    Collection<std::string> entries;
    Trap("modCleanerHelper", "GetLSPCatalogEntries", [&] {
        const std::string wanted = LCase(path);
        for (const std::string& name : SubKeysOf(controlSet)) {
            if (!name.empty()) {
                const std::string provider = ProviderOf(ItemOf(controlSet, name));
                if (!provider.empty() && provider == wanted) {
                    entries.Add(name);
                }
            }
        }
    });
    return entries;
}

Collection<std::string> GetAllLSPCatalogEntries(std::string_view controlSet) {
    Collection<std::string> entries;
    Trap("modCleanerHelper", "GetAllLSPCatalogEntries", [&] {
        for (const std::string& name : SubKeysOf(controlSet)) {
            if (name.size() >= ShortestName && IsNumeric(name)) {
                entries.Add(name);
            }
        }
    });
    return entries;
}

}  // namespace modCleanerHelper

enCleanerErrors Cleaner::HelperRemoveLSP(std::int32_t threatID, std::string_view path) {
    enCleanerErrors result = errNone;
    Trap("Cleaner", "HelperRemoveLSP",
         [&] { result = HelperRemoveLSPByControlSet(threatID, path, DefaultControlSet); });
    return result;
}

enCleanerErrors Cleaner::HelperRemoveLSPByControlSet(std::int32_t /*threatID*/, std::string_view path,
                                                     std::string_view controlSet) {
    enCleanerErrors result = errNone;
    Trap("Cleaner", "HelperRemoveLSPByControlSet", [&] {
        const Collection<std::string> named = modCleanerHelper::GetLSPCatalogEntries(path, controlSet);
        if (named.Count() == 0) {
            return;
        }
        for (const std::string& name : named) {
            modRegistry::DeleteRegistryKeyTree(HiveLocalMachine, EntryKey(controlSet, name));
        }
        // Ascending by name, so each goes down to a number that is free by then.
        const Collection<std::string> left = modCleanerHelper::GetAllLSPCatalogEntries(controlSet);
        std::size_t number = 0;
        for (const std::string& name : left) {
            if (const std::string wanted = NameOf(++number); wanted != name) {
                MoveEntry(controlSet, name, wanted);
            }
        }
        modRegistry::SetRegistryValue(HiveLocalMachine, Catalogue(controlSet), "Num_Catalog_Entries",
                                      static_cast<std::int32_t>(left.Count()), modRegistry::TypeDword);
        result = errLSPRemovedSuccess;
    });
    return result;
}

}  // namespace kel
