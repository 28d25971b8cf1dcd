// Runs of the programs that show and make hives, in a folder of its own.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "HiveFixture.h"

namespace kel::test {

/// What a program did.
struct Outcome {
    int code = -1;  ///< -1 when a signal ended it
    std::string out;
    std::string err;
};

class HiveToolsTest : public testing::Test {
protected:
    /// The time of every change of a hive here: 2006-01-02T03:04:05Z as FILETIME.
    static constexpr std::uint64_t When = 127'806'446'450'000'000;

    HiveToolsTest();
    ~HiveToolsTest() override;

    [[nodiscard]] const std::filesystem::path& Folder() const { return folder_; }
    [[nodiscard]] std::string Path(std::string_view name) const { return (folder_ / name).string(); }
    /// Writes a file and gives its path.
    std::string Write(std::string_view name, std::string_view text) const;
    std::string Write(std::string_view name, std::span<const std::byte> bytes) const;
    [[nodiscard]] std::string Read(std::string_view name) const;
    /// Names in the folder, in order.
    [[nodiscard]] std::vector<std::string> Names() const;

    /// A new hive whose changes happen at `When`.
    [[nodiscard]] static std::unique_ptr<offline::Hive> New(std::uint32_t minor = 3);

    /// @param input what the program reads
    /// @param output where it writes to; what it wrote is in the outcome when this is empty
    [[nodiscard]] Outcome Run(const std::string& program, const std::vector<std::string>& arguments,
                              const std::string& input = {}, const std::string& output = {}) const;
    [[nodiscard]] Outcome RunDump(const std::vector<std::string>& arguments, const std::string& output = {}) const {
        return Run(KEL_HIVEDUMP, arguments, {}, output);
    }
    [[nodiscard]] Outcome RunMake(const std::vector<std::string>& arguments, const std::string& input = {}) const {
        return Run(KEL_HIVEMAKE, arguments, input);
    }

    /// A real hive, unpacked where it is packed: of $KEL_HIVES, or of `shared/hives` beside the repository; empty where
    /// it is not there.
    [[nodiscard]] std::string Real(const std::string& name) const;

private:
    std::filesystem::path folder_;
    std::filesystem::path streams_;  // what the programs read and write
};

/// Each line without its end.
[[nodiscard]] std::vector<std::string> Lines(std::string_view text);
[[nodiscard]] std::string LastLine(std::string_view text);

}  // namespace kel::test
