#include <array>
#include <filesystem>
#include <string>
#include <system_error>

#include "kelsdb/CheckReport.h"
#include "kelsdb/Commands.h"
#include "kelsdb/Failure.h"
#include "kelsdb/Files.h"

namespace kel::kelsdb {

namespace fs = std::filesystem;

namespace {

using TableCheck = void (*)(CheckedTable, const KnownThreats&);

struct Step {
    Table table;
    TableCheck check;
};

// After the threats, by whose numbers the others are checked; in the order in which the engine loads them.
constexpr std::array Steps{
    Step{Table::Cookies, CheckCookies},
    Step{Table::Md5, CheckMd5},
    Step{Table::Paths, CheckPaths},
    Step{Table::Folders, CheckFolders},
    Step{Table::RegKeys, CheckRegKeys},
    Step{Table::Extensions, CheckExtensions},
    Step{Table::Resuscitators, CheckResuscitators},
};

// False when there is no table to look at.
bool Open(tools::HostPlatform& host, const fs::path& folder, const TableKind& kind, Recordset& table,
          CheckReport& report) {
    // Through the platform, so that case counts as little as it does for the engine.
    const std::string path = host.EnginePath(folder / kind.file);
    if (!platform::Current().files->PathExists(path)) {
        if (kind.required) {
            report.Error(kind.file, 0, "is missing, which ends the load where its turn comes");
        }
        return false;
    }
    try {
        table.Open(path);
    } catch (const std::exception& failure) {
        report.Error(kind.file, 0, failure.what());
        return false;
    }
    return true;
}

}  // namespace

int Check(tools::HostPlatform& host, const std::string& folder, const Streams& streams) {
    std::error_code error;
    if (!fs::is_directory(folder, error)) {
        throw Failure(ExitNoInput, folder + ": no such folder");
    }
    CheckReport report(streams.out);
    KnownThreats threats;
    {
        const TableKind& kind = KindOf(Table::Threats);
        Recordset table;
        if (Open(host, folder, kind, table, report)) {
            threats = CheckThreats({report, kind.file, table});
        }
    }
    for (const Step& step : Steps) {
        const TableKind& kind = KindOf(step.table);
        Recordset table;
        if (Open(host, folder, kind, table, report)) {
            step.check({report, kind.file, table}, threats);
        }
    }
    streams.out << folder << ": " << report.Errors() << " errors, " << report.Warnings() << " warnings\n";
    return report.Errors() == 0 ? ExitDone : ExitRejected;
}

}  // namespace kel::kelsdb
