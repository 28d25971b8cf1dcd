// Files that the commands read and write.
#pragma once

#include <cstddef>
#include <fstream>
#include <istream>
#include <optional>
#include <string>

#include "core/Recordset.h"
#include "hostplatform/HostPlatform.h"

namespace kel::kelsdb {

/// A text input: a file, or standard input for "" and "-".
class Input {
public:
    /// Throws Failure when the file can't be opened.
    Input(const std::string& path, std::istream& standard);

    [[nodiscard]] std::istream& Stream() { return path_.empty() ? standard_ : file_; }
    /// As reports call it.
    [[nodiscard]] std::string Name() const { return path_.empty() ? "standard input" : path_; }
    /// Throws Failure when the last read failed for another reason than the end.
    void RequireWhole();

private:
    std::string path_;
    std::istream& standard_;
    std::ifstream file_;
};

/// Opens a table file. Throws Failure when it is missing or no table file.
void OpenTable(tools::HostPlatform& host, Recordset& table, const std::string& path);

/// Writes a table under a temporary name and puts it in the place of `path` when it is whole. Throws Failure.
/// @param orderBy position of the column by whose texts the rows are put in order, if they are
void SaveTable(tools::HostPlatform& host, Recordset& table, const std::string& path,
               std::optional<std::size_t> orderBy);

}  // namespace kel::kelsdb
