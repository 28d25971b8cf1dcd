#include "system/modKvFileExplorer.h"

#include <utility>

#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "platform/Platform.h"

namespace kel::modKvFileExplorer {

namespace {

using platform::FindData;
using platform::SysError;

constexpr std::string_view Module = "modKvFileExplorer";
// The number of a file scan, as the events of the current scan carry it.
constexpr std::int32_t ScanTypeFiles = 2;
constexpr std::size_t ShortestPath = 3;

bool IsFolder(const FindData& entry) {
    return (entry.attributes & platform::AttributeDirectory) != 0;
}

bool IsDots(std::string_view name) {
    return name == "." || name == "..";
}

bool LeadsElsewhere(std::string_view path) {
    return path.find(R"(\.\)") != std::string_view::npos || path.find(R"(\..\)") != std::string_view::npos;
}

bool IsAccepted(std::string_view path) {
    return path.size() >= ShortestPath && path.back() != '.' && !LeadsElsewhere(path);
}

// Calls `visit` with each entry that matches, until it answers false. The message loop gets its turn after each.
template <class Visit>
void ForEachEntry(const std::string& pattern, Visit&& visit) {
    FindData entry;
    auto find = platform::Current().files->FindFirst(pattern, entry);
    for (bool more = find.Ok(); more; more = (*find)->Next(entry) == SysError::Success) {
        if (!visit(std::as_const(entry))) {
            return;
        }
        DoEvents();
    }
}

// Tells the current scan where the walk is. False when the walk shall end.
bool Notify(const std::string& path) {
    if (ScanAbortFlag()) {
        return false;
    }
    if (const auto& event = State().Calls.StartingLocation) {
        event(path, ScanTypeFiles);
    }
    return true;
}

// A list in the making, whose items are reported as they come if the caller wants that.
class Listing {
public:
    Listing(Collection<std::string>& paths, bool notify) : paths_(paths), notify_(notify) {}

    // False when the walk shall end.
    bool Add(const std::string& path) {
        if (notify_ && !Notify(path)) {
            return false;
        }
        paths_.Add(path);
        DoEvents();
        return true;
    }

private:
    Collection<std::string>& paths_;
    bool notify_;
};

void ListDeep(const std::string& folder, bool subFolders, bool notify, Collection<std::string>& paths) {
    Listing listing(paths, notify);
    for (const std::string& name : FilesListShallow(folder, "*.*")) {
        if (!listing.Add(folder + name)) {
            return;
        }
    }
    ForEachEntry(folder + "*.*", [&](const FindData& entry) {
        // Below "." and ".." the builder finds no path that it accepts.
        if (!IsFolder(entry) || IsDots(entry.name) || entry.name.starts_with('\2')) {
            return true;
        }
        for (const std::string& path : FileTreeBuilder(folder + entry.name, subFolders, notify)) {
            if (!listing.Add(path)) {
                return false;
            }
        }
        return true;
    });
}

// One folder of a tree with what is below it. False when the enumeration shall end.
bool AddFolder(const std::string& path, bool notify, Collection<std::string>& paths) {
    paths.Add(path);
    if (notify && !Notify(path)) {
        return false;
    }
    for (const std::string& below : FileTreeBuilder(path, true, notify)) {
        paths.Add(below);
        DoEvents();
        if (ScanAbortFlag()) {
            return false;
        }
    }
    return true;
}

}  // namespace

std::int32_t FilesCountShallow(std::string& path, std::string_view pattern) {
    std::int32_t count = 0;
    Trap(Module, "FilesCountShallow", [&] {
        if (path.empty()) {
            return;
        }
        path = WithBackslash(path);
        ForEachEntry(path + std::string(pattern), [&](const FindData& entry) {
            count += IsDots(entry.name) ? 0 : 1;
            return true;
        });
    });
    return count;
}

Collection<std::string> FilesListShallow(std::string_view path, std::string_view pattern) {
    Collection<std::string> names;
    Trap(Module, "FilesListShallow", [&] {
        ForEachEntry(WithBackslash(path) + std::string(pattern), [&](const FindData& entry) {
            if (!IsDots(entry.name) && !LeadsElsewhere(entry.name)) {
                names.Add(entry.name);
            }
            return true;
        });
    });
    return names;
}

Collection<std::string> FoldersList(std::string& path) {
    Collection<std::string> names;
    Trap(Module, "FoldersList", [&] {
        path = WithBackslash(path);
        ForEachEntry(path + "*.*", [&](const FindData& entry) {
            if (IsFolder(entry) && !IsDots(entry.name)) {
                names.Add(entry.name);
            }
            return true;
        });
    });
    return names;
}

Collection<std::string> FilesListDeep(std::string_view path, bool blnSubFolders, bool blnNotify) {
    Collection<std::string> paths;
    Trap(Module, "FilesListDeep", [&] { ListDeep(WithBackslash(path), blnSubFolders, blnNotify, paths); });
    return paths;
}

Collection<std::string> FileTreeBuilder(std::string_view path, bool blnSubFolders, bool blnNotify) {
    Collection<std::string> paths;
    Trap(Module, "FileTreeBuilder", [&] {
        const std::string folder = WithBackslash(path);
        ForEachEntry(folder + "*.*", [&](const FindData& entry) {
            const std::string full = folder + entry.name;
            if (!IsAccepted(full)) {
                return true;
            }
            // Without subfolders a folder is an entry like any other: listed, not entered.
            if (IsFolder(entry) && blnSubFolders) {
                return AddFolder(full, blnNotify, paths);
            }
            paths.Add(full);
            return true;
        });
    });
    return paths;
}

Collection<std::string> UserCookieFoldersList(std::string_view path) {
    Collection<std::string> folders;
    Trap(Module, "UserCookieFoldersList", [&] {
        const std::string profiles = WithBackslash(path);
        ForEachEntry(profiles + "*.", [&](const FindData& entry) {
            // The pattern means names without a dot; some machines let others through (Wine does).
            const bool hasDot = entry.name.find('.') != std::string::npos;
            if (!hasDot && (entry.attributes & platform::AttributeHidden) == 0) {
                folders.Add(profiles + entry.name + R"(\cookies)");
            }
            return true;
        });
    });
    return folders;
}

Collection<std::string> AllUsersCookieFolders() {
    Collection<std::string> folders;
    Trap(Module, "AllUsersCookieFolders", [&] {
        const auto& cookiesOfScan = State().Calls.ScanCookiesFolder;
        if (!cookiesOfScan) {
            Raise(ErrObjectNotSet);
        }
        const std::string cookies = cookiesOfScan();
        const std::size_t first = cookies.find('\\');
        const std::size_t second = first == std::string::npos ? first : cookies.find('\\', first + 1);
        if (second != std::string::npos) {
            folders = UserCookieFoldersList(std::string_view(cookies).substr(0, second + 1));
        }
    });
    return folders;
}

}  // namespace kel::modKvFileExplorer
