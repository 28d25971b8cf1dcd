// A run of `ombrelane scan` in process, over a machine and tables made for the test.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace kel::test {

struct Outcome {
    int code = 0;
    std::string out;
    std::string err;
};

class ScanRun : public ::testing::Test {
protected:
    ScanRun();
    ~ScanRun() override;

    /// The host's folder of the machine, empty at first.
    [[nodiscard]] std::filesystem::path Machine() const { return root_ / "machine"; }
    [[nodiscard]] std::filesystem::path Data() const { return root_ / "data"; }
    /// Not there until a scan makes it.
    [[nodiscard]] std::filesystem::path UserData() const { return root_ / "user"; }
    [[nodiscard]] const std::filesystem::path& Root() const { return root_; }

    /// Makes a file, and the folders above it, at a path below Root().
    void Write(const std::string& path, std::string_view bytes) const;
    void Folder(const std::string& path) const { std::filesystem::create_directories(root_ / path); }

    /// The signature tables from rows of values, without their header. All are made; the data version is 105.
    struct Tables {
        std::string threats;  ///< ThreatID,ThreatName,ThreatCategory,ThreatLevel
        std::string md5;      ///< ThreatID,Key,OptionalScan; the next two as well
        std::string paths;
        std::string folders;
        std::string extensions;  ///< Extension
        std::string regkeys{};   ///< ThreatID,RegHive,RegKey,RegValueName,RegValueData,OptionalScan
        std::string cookies{};   ///< ThreatID,Key
    };
    void MakeTables(const Tables& tables) const;
    /// One threat, 9001, for files with the bytes Bad(), and another, 9002, for `c:\small\bad.exe`, whatever it holds.
    void MakeTables() const;
    /// The table of programs that start each other again, which is empty otherwise.
    /// @param rows ThreatID,ResExeName,ResExeMD5,ResDeleteFile,ResDeleteRegKey,ResInternalName
    void MakeResuscitators(const std::string& rows) const;
    /// Long enough to be known by its hash.
    [[nodiscard]] static std::string Bad();
    [[nodiscard]] static std::string HashOf(std::string_view bytes);

    /// `ombrelane scan` over Machine() with Data() and UserData(), and more arguments.
    [[nodiscard]] Outcome Scan(const std::vector<std::string>& more = {}) const;
    /// With arguments of the test's own.
    [[nodiscard]] static Outcome Run(const std::vector<std::string>& arguments);

    /// The lines of a text, with what changes from run to run put out of sight: <scan>, <seconds> and <root>.
    [[nodiscard]] std::vector<std::string> Lines(const std::string& text) const;

    /// Everything in a folder: content and times of each file, by path.
    [[nodiscard]] static std::map<std::string, std::string> Snapshot(const std::filesystem::path& folder);

    /// The content of each file in a folder, by path; folders have none.
    [[nodiscard]] static std::map<std::string, std::string> Contents(const std::filesystem::path& folder);

private:
    std::filesystem::path root_;
};

}  // namespace kel::test
