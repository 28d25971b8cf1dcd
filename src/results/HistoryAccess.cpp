#include "results/HistoryAccess.h"

#include "core/Paths.h"
#include "platform/Platform.h"

namespace kel::history {

Recordset& Opened(const Table& table, SourceLocation where) {
    return Required(State().*table.recordset, where);
}

void Restrict(Recordset& table, std::string_view filter, SourceLocation where) {
    table.SetFilter({}, where);
    table.SetFilter(filter, where);
}

std::string OfScan(std::string_view scanID) {
    return "ScanID='" + std::string(scanID) + "'";
}

void RemoveFile(const std::string& path) {
    if (!paths::FileExists(path)) {
        return;
    }
    const platform::SysError error = platform::Current().files->Remove(path);
    if (error != platform::SysError::Success) {
        paths::RaiseFileError(error, path);
    }
}

void SavedAnew(const Table& table, std::string_view file) {
    const std::string path = PathOf(file);
    RemoveFile(path);
    Opened(table).Save(path);
}

std::int32_t Sum(std::int32_t left, std::int32_t right, SourceLocation where) {
    return ToLong(static_cast<double>(left) + right, where);
}

}  // namespace kel::history
