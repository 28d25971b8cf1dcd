// The classes that a library registers.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "platform/Platform.h"
#include "system/modFolderPaths.h"
#include "system/modHelper.h"
#include "system/modRegistry.h"

namespace kel::modRegistry {

namespace {

constexpr platform::Hive Root = platform::HiveClassesRoot;

// What all classes name as their server, in the order of listing.
struct Servers {
    std::optional<std::uint64_t> change;  ///< of the registry that they were read from
    std::vector<std::string> classes;
    std::string texts;                ///< in small letters, one behind the other with a line end behind each
    std::vector<std::size_t> ends;    ///< of each class's text in `texts`
    std::vector<std::size_t> marked;  ///< classes whose text may lead to a file of any name
};

// Resolving a path changes its last component only where it is a short name, or the text has marks that are taken out
// of it; so most classes need no look at the disk.
bool MayLeadAnywhere(std::string_view server) {
    return server.find_first_of("~?") != std::string_view::npos;
}

void Read(Servers& servers) {
    servers = {};
    const auto classes = RegistrySubKeys(Root, "CLSID");
    if (!classes) {
        return;
    }
    for (const std::string& clsid : *classes) {
        const std::string server = ToText(GetRegistryValue(Root, "CLSID\\" + clsid + "\\InprocServer32", ""));
        if (server.empty()) {
            continue;
        }
        if (MayLeadAnywhere(server)) {
            servers.marked.push_back(servers.classes.size());
        }
        servers.classes.push_back(clsid);
        servers.texts.append(LCase(server)).append("\n");
        servers.ends.push_back(servers.texts.size());
    }
}

// Tens of thousands of classes are read once, and again when one of them has changed.
const Servers& Present() {
    Servers& servers = ModuleData<Servers>();
    const auto change = platform::Current().registry->ChangesBelow("CLSID");
    if (!change || servers.change != change) {
        Read(servers);
        servers.change = change;
    }
    return servers;
}

void AddHolders(const Servers& servers, const std::string& part, std::vector<std::size_t>& found) {
    const std::boyer_moore_horspool_searcher searcher(part.begin(), part.end());
    for (auto from = servers.texts.begin();;) {
        const auto at = std::search(from, servers.texts.end(), searcher);
        if (at == servers.texts.end()) {
            return;
        }
        const auto place = static_cast<std::size_t>(at - servers.texts.begin());
        const auto end = std::upper_bound(servers.ends.begin(), servers.ends.end(), place);
        found.push_back(static_cast<std::size_t>(end - servers.ends.begin()));
        from = servers.texts.begin() + static_cast<std::ptrdiff_t>(*end);
    }
}

}  // namespace

std::vector<std::string> ClassesServedFrom(std::string_view fileName, Marks marks) {
    const Servers& servers = Present();
    if (fileName.empty()) {
        return servers.classes;
    }
    std::vector<std::size_t> numbers = marks == Marks::Any ? servers.marked : std::vector<std::size_t>();
    AddHolders(servers, LCase(fileName), numbers);
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    std::vector<std::string> classes;
    classes.reserve(numbers.size());
    for (const std::size_t number : numbers) {
        classes.push_back(servers.classes[number]);
    }
    return classes;
}

Collection<std::string> GetDllCLSIDs(std::string_view path) {
    Collection<std::string> clsids;
    ResumeNext([&] {
        if (path.empty()) {
            return;
        }
        // In a folder with a short name every path is lengthened as a whole.
        const bool shortened =
            (modFolderPaths::GetWindowsFolder() + modFolderPaths::GetSystemFolder()).find('~') != std::string::npos;
        const std::string fileName = shortened ? std::string() : modHelper::FileNameFromFilePath(path);
        for (const std::string& clsid : ClassesServedFrom(fileName, Marks::Any)) {
            if (EqualText(GetFilePathFromCLSID(clsid), path)) {
                clsids.Add(clsid);
            }
        }
    });
    return clsids;
}

}  // namespace kel::modRegistry
