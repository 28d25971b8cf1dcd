// Program files made by hand that hold nothing but a version resource.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace kel::test {

enum class ProgramKind {
    Pe32,      ///< 32-bit
    Pe32Plus,  ///< 64-bit
    Ne,        ///< 16-bit: text is not UTF-16 there
};

/// One table of version strings. Texts are ASCII or, up to U+00FF, Latin-1.
struct VersionTable {
    std::uint16_t language = 0x0409;
    std::uint16_t codePage = 0x04E4;
    std::vector<std::pair<std::string, std::string>> strings;
};

struct VersionRecord {
    std::uint32_t fileVersionHigh = 0x00010002;
    std::uint32_t fileVersionLow = 0x00030004;
    std::uint32_t productVersionHigh = 0x00050006;
    std::uint32_t productVersionLow = 0x00070008;
    std::uint32_t fileType = 1;
    std::vector<VersionTable> tables;
    /// Language and code page of each entry of the translation list; empty: one for each table.
    std::vector<std::pair<std::uint16_t, std::uint16_t>> translations;
};

/// The bytes of the version resource alone.
[[nodiscard]] std::string MakeVersionBlock(ProgramKind kind, const VersionRecord& record);

/// The bytes of a program with that version resource.
[[nodiscard]] std::string MakeProgram(ProgramKind kind, const VersionRecord& record);

/// The bytes of a program without any resource.
[[nodiscard]] std::string MakeProgramWithoutVersion(ProgramKind kind);

}  // namespace kel::test
