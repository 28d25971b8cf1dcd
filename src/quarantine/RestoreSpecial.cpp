#include "quarantine/RestoreSpecial.h"

#include <string>

#include "core/Text.h"
#include "system/modFiles.h"
#include "system/modFolderPaths.h"

namespace kel::quarantine {

namespace {

struct IniFile {
    enQSpecialType type;
    std::string (*path)();
    std::string (*cleared)();  ///< the file whose attributes are cleared before the write
};

// Always system.ini is made writable, for win.ini too: a read-only win.ini stays without its line.
constexpr IniFile IniFiles[] = {
    {QSpecialTypeWinIniLine, modFolderPaths::GetWinIniFile, modFolderPaths::GetSystemIniFile},
    {QSpecialTypeSystemIniLine, modFolderPaths::GetSystemIniFile, modFolderPaths::GetSystemIniFile},
};

}  // namespace

void RestoreSpecial(const QThreatLocationSpecial& special) {
    for (const IniFile& ini : IniFiles) {
        if (ini.type != special.QSpecialType) {
            continue;
        }
        const std::string path = ini.path();
        const std::string text = modFiles::TextFileRead(path, true);
        if (!text.empty() && InStr(text, special.Data1) == 0) {
            modFiles::FileClearAttributes(ini.cleared());
            modFiles::TextFileWrite(text + "\r\n" + special.Data1, path);
        }
    }
}

}  // namespace kel::quarantine
