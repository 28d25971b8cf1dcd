// What each command does. All throw Failure when they can't do their work.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hostplatform/HostPlatform.h"
#include "kelsdb/CommandLine.h"
#include "kelsdb/TableKinds.h"

namespace kel::kelsdb {

enum class DumpFormat { Csv, JsonLines };
enum class ImportForm {
    Hdb,    ///< lines of MD5:size:name
    Hashes  ///< lines of an MD5 and, behind blanks, a name, as md5sum prints them
};

/// Makes a table of comma-separated values. `csv` empty or "-": standard input.
int Create(tools::HostPlatform& host, const TableKind& kind, const std::string& output, const std::string& csv,
           const Streams& streams);

/// Prints all rows of any table file.
int Dump(tools::HostPlatform& host, const std::string& file, DumpFormat format, const Streams& streams);

/// Prints what a table file is: columns, rows, size.
int Info(tools::HostPlatform& host, const std::string& file, const Streams& streams);

/// Makes an MD5 table of lists of hashes, all for one threat.
int Import(tools::HostPlatform& host, ImportForm form, std::int32_t threat, const std::string& output,
           const std::vector<std::string>& inputs, const Streams& streams);

/// Looks for whatever in a data folder would stop a load or make a row useless.
int Check(tools::HostPlatform& host, const std::string& folder, const Streams& streams);

}  // namespace kel::kelsdb
