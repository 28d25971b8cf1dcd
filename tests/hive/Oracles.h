// The programs of others that read hives: what they find must be what we find.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "hive/Hive.h"

namespace kel::test {

/// What hivexml or reglookup says of a hive's file, one line for each key and value, sorted; nothing where the program
/// is not installed or fails.
[[nodiscard]] std::optional<std::vector<std::string>> HivexContent(const std::filesystem::path& file);
[[nodiscard]] std::optional<std::vector<std::string>> ReglookupContent(const std::filesystem::path& file);

/// What they should say of this hive.
[[nodiscard]] std::vector<std::string> ForHivex(const offline::Hive& hive);
[[nodiscard]] std::vector<std::string> ForReglookup(const offline::Hive& hive);

/// Writes the hive to a temporary file and compares with both. Fails the test with the first lines that differ, and
/// also when a program refuses the hive; skips nothing silently: whether the programs are there is asked first.
void ExpectOraclesAgree(offline::Hive& hive, const std::string& when);
[[nodiscard]] bool OraclesInstalled();
#define SKIP_WITHOUT_ORACLES()          \
    if (!kel::test::OraclesInstalled()) \
    GTEST_SKIP() << "hivexml (libhivex-bin) or reglookup is not installed"

}  // namespace kel::test
