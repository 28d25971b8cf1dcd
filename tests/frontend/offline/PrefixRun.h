// A Wine prefix with one threat of each kind, for scans of every stage.
#pragma once

#include <string>
#include <string_view>

#include "ScanRun.h"

namespace kel::test {

/// Planted: 1 by path and by hash, 2 by a registry value, 3 by a cookie, 4 by a folder. Threat 5 has signatures for
/// things that are not there.
class PrefixRun : public ScanRun {
protected:
    PrefixRun() {
        Write("machine/system.reg", SystemReg);
        Write("machine/user.reg", UserReg);
        Folder("machine/drive_c/windows/system32");
        Folder("machine/drive_c/Program Files/Common Files");
        Write("machine/drive_c/windows/system32/TIN.DLL", "x");
        Write("machine/drive_c/users/ada/Desktop/pic.exe", Bad());
        Write("machine/drive_c/users/ada/Cookies/ada@crumb.example[1].txt", "x");
        Write("machine/drive_c/users/ada/Cookies/ada@other.example[1].txt", "x");
        Folder("machine/drive_c/users/Public");
        Write("machine/drive_c/Banners/readme.txt", "x");
        MakeTables(Planted());
    }

    [[nodiscard]] static Tables Planted() {
        Tables tables;
        tables.threats =
            "1,Example.Path,Trojan,1\n2,Example.Value,Adware,2\n3,Example.Crumb,Cookie,0\n4,Example.Banners,Adware,0\n"
            "5,Example.Absent,Adware,3\n";
        tables.md5 = "1," + HashOf(Bad()) + ",0\n";
        tables.paths = "1,%windows%\\system32\\tin.dll,0\n1,c:\\windows\\system32\\tin.dll,0\n5,c:\\absent.exe,0\n";
        tables.folders = "4,c:\\banners\\,0\n";
        tables.extensions = ".exe\n.dll\n";
        tables.regkeys =
            "2,HKEY_LOCAL_MACHINE,Software\\Example,Banner,,0\n5,HKEY_LOCAL_MACHINE,Software\\Absent,,,0\n";
        tables.cookies = "3,crumb.example\n";
        return tables;
    }

    static constexpr std::string_view SystemReg =
        "WINE REGISTRY Version 2\n"
        ";; All keys relative to \\\\Machine\n"
        "\n"
        "#arch=win64\n"
        "\n"
        "[Software\\\\Example] 1700000000\n"
        "#time=1da1747c9e5c000\n"
        "\"Banner\"=\"on & \\\"off\\\"\"\n"
        "\n"
        "[Software\\\\Microsoft\\\\Windows NT\\\\CurrentVersion] 1700000000\n"
        "#time=1da1747c9e5c000\n"
        "\"CurrentBuildNumber\"=\"2600\"\n"
        "\"CurrentVersion\"=\"5.1\"\n"
        "\"ProductName\"=\"Microsoft Windows XP\"\n"
        "\"SystemRoot\"=\"C:\\\\windows\"\n"
        "\n"
        "[Software\\\\Microsoft\\\\Windows\\\\CurrentVersion] 1700000000\n"
        "#time=1da1747c9e5c000\n"
        "\"CommonFilesDir\"=\"C:\\\\Program Files\\\\Common Files\"\n"
        "\"ProgramFilesDir\"=\"C:\\\\Program Files\"\n";

    static constexpr std::string_view UserReg =
        "WINE REGISTRY Version 2\n"
        ";; All keys relative to \\\\User\\\\S-1-5-21-0-0-0-1000\n"
        "\n"
        "#arch=win64\n"
        "\n"
        "[Software\\\\Microsoft\\\\Windows\\\\CurrentVersion\\\\Explorer\\\\Shell Folders] 1700000000\n"
        "#time=1da1747c9e5c000\n"
        "\"Cookies\"=\"C:\\\\users\\\\ada\\\\Cookies\"\n"
        "\n"
        "[Software\\\\Wine] 1700000000\n"
        "#time=1da1747c9e5c000\n"
        "\"Version\"=\"winxp\"\n";
};

}  // namespace kel::test
