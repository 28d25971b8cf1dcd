// Version resources of real programs, beside an independent reader.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "offline/OfflinePlatform.h"

namespace kel::test {
namespace {

namespace fs = std::filesystem;

std::string OutputOf(const std::string& command) {
    std::string output;
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::array<char, 65536> block{};
    while (const std::size_t got = pipe ? std::fread(block.data(), 1, block.size(), pipe.get()) : 0) {
        output.append(block.data(), got);
    }
    return output;
}

// The company by the languages that the file lists, as a person would look for it.
std::string Company(const platform::VersionBlock& block) {
    const std::string list = block.Query("\\VarFileInfo\\Translation").value_or(std::string("\x09\x04\xE4\x04", 4));
    for (std::size_t at = 0; at + 4 <= list.size(); at += 4) {
        const auto word = [&](std::size_t place) {
            return static_cast<unsigned>(static_cast<unsigned char>(list[place])) |
                   static_cast<unsigned>(static_cast<unsigned char>(list[place + 1])) << 8U;
        };
        std::array<char, 9> code{};
        std::snprintf(code.data(), code.size(), "%04X%04X", word(at), word(at + 2));
        const auto text = block.Query("\\StringFileInfo\\" + std::string(code.data()) + "\\CompanyName");
        if (text) {
            return text->substr(0, text->find('\0'));
        }
    }
    return {};
}

TEST(ProgramVersions, CompaniesOfAWinePrefixAreThoseThatExiftoolReads) {
    fs::path prefix;
    for (const char* name : {"wine-template", "wine-prefix"}) {
        const fs::path folder = fs::path(KEL_SOURCE_DIR) / "build" / name;
        if (prefix.empty() && fs::exists(folder / "system.reg")) {
            prefix = folder;
        }
    }
    if (prefix.empty()) {
        GTEST_SKIP() << "no Wine prefix in build/: scripts/wine-prefix makes one";
    }
    if (std::system("exiftool -ver >/dev/null 2>&1") != 0) {
        GTEST_SKIP() << "exiftool is not installed";
    }
    const fs::path folder = prefix / "drive_c" / "windows" / "system32";
    const auto records = nlohmann::json::parse(
        OutputOf("exiftool -j -q -charset utf8 -CompanyName -ext exe -ext dll -ext sys -ext drv '" + folder.string() +
                 "' 2>/dev/null"));
    offline::MachineOptions options;
    options.drives = {{'C', folder}};
    offline::OfflinePlatform machine(options);
    platform::VersionResources& versions = *machine.View().versions;
    int compared = 0;
    int named = 0;
    for (const auto& record : records) {
        const std::string file = fs::path(record["SourceFile"].get<std::string>()).filename().string();
        const std::string expected = record.value("CompanyName", "");
        std::string company;
        if (const auto size = versions.Size("C:\\" + file)) {
            const auto block = versions.Load("C:\\" + file, *size);
            ASSERT_TRUE(block.Ok()) << file;
            company = Company(**block);
        }
        EXPECT_EQ(company, expected) << file;
        ++compared;
        named += expected.empty() ? 0 : 1;
    }
    EXPECT_GT(compared, 100);
    EXPECT_GT(named, 10);
}

}  // namespace
}  // namespace kel::test
