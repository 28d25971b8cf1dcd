#include "cleaner/RecordedRows.h"

#include <cstddef>
#include <cstdint>

#include "core/Recordset.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Platform.h"
#include "quarantine/QuarantineTables.h"

namespace kel::recorded {

namespace {

constexpr std::size_t LongestText = 255;

std::string Cut(std::string_view text) {
    return std::string(text.substr(0, platform::Current().text->Prefix(text, LongestText)));
}

}  // namespace

std::string ThreatInHand() {
    return ToText(quarantine::Opened(quarantine::Threats).Get("QThreatID"));
}

void Add(const QThreatLocationFile& file) {
    const std::string threat = ThreatInHand();
    Recordset& files = quarantine::Opened(quarantine::Files);
    files.AddNew();
    files.Set("ThreatTypeFile", static_cast<std::int32_t>(file.ThreatFileType));
    files.Set("OriginalFilePath", Cut(file.OriginalFilePath));
    files.Set("QThreatID", threat);
    files.Set("QFileName", Cut(file.QuarantineFileName));
    files.Set("ActionRegisterFile", file.ActionRegisterFile);
    files.Set("RestoreOrder", file.RestoreOrder);
    files.Update();
}

void Add(const QThreatLocationRegKey& location) {
    const std::string threat = ThreatInHand();
    Recordset& keys = quarantine::Opened(quarantine::RegKeys);
    keys.AddNew();
    keys.Set("RegHive", Text(location.RegHive));
    keys.Set("RegKey", Cut(location.Regkey));
    keys.Set("RegValueName", Cut(location.RegValueName));
    keys.Set("RegValueData", Cut(location.RegValueData));
    keys.Set("RegValueDataType", location.RegValueDataType);
    keys.Set("QThreatID", threat);
    keys.Update();
}

void AddFolder(std::string_view path) {
    Recordset& folders = quarantine::Opened(quarantine::Folders);
    folders.AddNew();
    folders.Set("OriginalFolderPath", Cut(path));
    folders.Update();
}

}  // namespace kel::recorded
