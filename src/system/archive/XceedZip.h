// The zip operations of the scanner: objects with a handle each, which unpack an archive into a folder.
#pragma once

#include <cstdint>
#include <string_view>

#include "archive/UnzipResult.h"

namespace kel::archive {

/// A zip object; 0 is none.
using ZipHandle = std::int32_t;

/// Prepares the operations; once before the first object is made. True when they are ready.
bool XceedZipInitDLL();

/// A new zip object, to be given back to XzDestroyXceedZip. 0 when XceedZipInitDLL has not run.
/// @param initialisation accepted as it is
ZipHandle XzCreateXceedZipA(std::string_view initialisation);
/// Names the archive to read.
void XzSetZipFilenameA(ZipHandle handle, std::string_view path);
/// Names, separated by CR LF and with the wildcards of the machine, of the entries to unpack; empty means all.
void XzSetFilesToProcessA(ZipHandle handle, std::string_view names);
/// Names of the entries to leave out, in the same form; empty means none.
void XzSetFilesToExcludeA(ZipHandle handle, std::string_view names);
/// Names the folder that takes the entries. It must exist.
void XzSetUnzipToFolderA(ZipHandle handle, std::string_view folder);
/// Unpacks. Nothing is written outside the folder, and no existing file is overwritten. An UnzipResult.
std::int32_t XzUnzip(ZipHandle handle);
/// Frees the object. An unknown handle is ignored.
void XzDestroyXceedZip(ZipHandle handle);

}  // namespace kel::archive
