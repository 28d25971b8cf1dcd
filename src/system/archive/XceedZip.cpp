#include "archive/XceedZip.h"

#include <algorithm>
#include <map>
#include <string>

#include "archive/Unzip.h"
#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Paths.h"
#include "core/Text.h"
#include "platform/Platform.h"

namespace kel::archive {

namespace {

struct ZipObject {
    std::string filename;
    std::string filesToProcess;
    std::string filesToExclude;
    std::string unzipToFolder;
};

struct Library {
    bool ready = false;
    ZipHandle lastHandle = 0;
    std::map<ZipHandle, ZipObject> objects;
};

void Set(ZipHandle handle, std::string ZipObject::*property, std::string_view text) {
    auto& objects = ModuleData<Library>().objects;
    if (const auto found = objects.find(handle); found != objects.end()) {
        found->second.*property = text;
    }
}

// Whether a path is among names that line ends separate.
bool IsNamed(std::string_view path, std::string_view names) {
    while (!names.empty()) {
        const std::size_t end = std::min(names.find("\r\n"), names.size());
        if (platform::Current().files->MatchSpec(path, names.substr(0, end))) {
            return true;
        }
        names.remove_prefix(std::min(end + 2, names.size()));
    }
    return false;
}

}  // namespace

bool XceedZipInitDLL() {
    ModuleData<Library>().ready = true;
    return true;
}

ZipHandle XzCreateXceedZipA(std::string_view /*initialisation*/) {
    Library& library = ModuleData<Library>();
    if (!library.ready) {
        return 0;
    }
    library.objects.try_emplace(++library.lastHandle);
    return library.lastHandle;
}

void XzSetZipFilenameA(ZipHandle handle, std::string_view path) {
    Set(handle, &ZipObject::filename, path);
}

void XzSetFilesToProcessA(ZipHandle handle, std::string_view names) {
    Set(handle, &ZipObject::filesToProcess, names);
}

void XzSetFilesToExcludeA(ZipHandle handle, std::string_view names) {
    Set(handle, &ZipObject::filesToExclude, names);
}

void XzSetUnzipToFolderA(ZipHandle handle, std::string_view folder) {
    Set(handle, &ZipObject::unzipToFolder, folder);
}

std::int32_t XzUnzip(ZipHandle handle) {
    const auto& objects = ModuleData<Library>().objects;
    const auto found = objects.find(handle);
    if (found == objects.end() || found->second.filename.empty() || found->second.unzipToFolder.empty()) {
        return UnzipNoHandle;
    }
    const ZipObject& object = found->second;
    if (!paths::FolderExists(object.unzipToFolder)) {
        return UnzipWriteFailed;
    }
    // Memory may run out on the way; that too is a failed archive.
    UnzipResult result = UnzipUnreadable;
    ResumeNext([&] {
        result = Unzip(object.filename, object.unzipToFolder, [&](std::string_view path) {
            return (object.filesToProcess.empty() || IsNamed(path, object.filesToProcess)) &&
                   !IsNamed(path, object.filesToExclude);
        });
    });
    return result;
}

void XzDestroyXceedZip(ZipHandle handle) {
    ModuleData<Library>().objects.erase(handle);
}

}  // namespace kel::archive
