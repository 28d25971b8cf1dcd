// The tests that the process scan makes.
#pragma once

#include <cstdint>
#include <string_view>

namespace kel::modScannerProcesses {

/// Tests a program or module by its path, and records it with its relations if it is a threat.
void TestImage(std::string_view path);

/// Names and tests the modules of a process until the abort flag is set; at most 512 of them but on Windows 95, 98 and
/// ME. A failure is reported, none is raised.
void ScanProcessModules(std::int32_t ProcessID);

}  // namespace kel::modScannerProcesses
