// The private orders and listings of a Scanner, for tests of them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "scanner/Scanner.h"

namespace kel {

struct ScannerPeer {
    static void RunQuickScan(Scanner& scanner) { scanner.RunQuickScan(); }
    static void RunExhaustiveScan(Scanner& scanner) { scanner.RunExhaustiveScan(); }
    static void ScanKnownFilesCommon(Scanner& scanner) { scanner.ScanKnownFilesCommon(); }
    static void ScanCustom(Scanner& scanner) { scanner.ScanCustom(); }
    static void WriteThreatList(std::string_view text) { Scanner::WriteThreatList(text); }
    static bool ScanZipFile(Scanner& scanner, const std::string& path, bool report) {
        return scanner.ScanZipFile(path, report);
    }
    static std::vector<std::string> FilesListDeep(Scanner& scanner, std::string_view path, bool folders, bool report) {
        return List(scanner.FilesListDeep(path, folders, report));
    }
    static std::vector<std::string> FilesListShallow(Scanner& scanner, std::string_view path, std::string_view spec) {
        return List(scanner.FilesListShallowKvArray(path, spec));
    }

private:
    static std::vector<std::string> List(const Collection<std::string>& items) {
        std::vector<std::string> list;
        for (const std::string& item : items) {
            list.push_back(item);
        }
        return list;
    }
};

}  // namespace kel
