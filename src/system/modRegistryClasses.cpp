// The classes that a library registers.
#include <string>

#include "core/Failures.h"
#include "core/Text.h"
#include "system/modFolderPaths.h"
#include "system/modHelper.h"
#include "system/modRegistry.h"

namespace kel::modRegistry {

namespace {

constexpr platform::Hive Root = platform::HiveClassesRoot;

// Whether a server's text can lead to a file of that name. Resolving a path changes its last component only where it
// is a short name, or the text has marks that are taken out of it; so most classes need no look at the disk.
bool MayLeadTo(const std::string& server, std::string_view fileName) {
    return !server.empty() && (server.find_first_of("~?") != std::string::npos || ContainsText(server, fileName));
}

}  // namespace

Collection<std::string> GetDllCLSIDs(std::string_view path) {
    Collection<std::string> clsids;
    ResumeNext([&] {
        const auto classes = path.empty() ? std::nullopt : RegistrySubKeys(Root, "CLSID");
        if (!classes) {
            return;
        }
        const std::string fileName = LCase(modHelper::FileNameFromFilePath(path));
        // In a folder with a short name every path is lengthened as a whole.
        const bool shortened =
            (modFolderPaths::GetWindowsFolder() + modFolderPaths::GetSystemFolder()).find('~') != std::string::npos;
        for (const std::string& clsid : *classes) {
            const std::string server = ToText(GetRegistryValue(Root, "CLSID\\" + clsid + "\\InprocServer32", ""));
            if ((shortened || MayLeadTo(server, fileName)) && EqualText(GetFilePathFromCLSID(clsid), path)) {
                clsids.Add(clsid);
            }
        }
    });
    return clsids;
}

}  // namespace kel::modRegistry
