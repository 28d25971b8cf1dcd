#include "results/DetectedThreat.h"

namespace kel {

void ThreatLocationFile::SetDetectedFilePath(std::string_view path) {
    detectedFilePath_ = path;
    ++ModuleData<LocationPathChanges>().count;
}

void ThreatLocationFolder::SetDetectedFolderPath(std::string_view path) {
    detectedFolderPath_ = path;
    ++ModuleData<LocationPathChanges>().count;
}

bool DetectedThreat::HasFile(std::string_view path) {
    return filePaths_.Holds(ThreatLocationFiles, path);
}

bool DetectedThreat::HasFolder(std::string_view path) {
    return folderPaths_.Holds(ThreatLocationFolders, path);
}

}  // namespace kel
