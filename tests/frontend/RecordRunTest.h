// Runs of the commands that look at records, in process, over folders made for the test. On both platforms.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "frontend/DataSession.h"
#include "support/ShippedTables.h"

namespace kel::test {

class RecordRunTest : public ::testing::Test {
protected:
    RecordRunTest();
    ~RecordRunTest() override;

    [[nodiscard]] std::string Data() const { return (root_ / "data").string(); }
    [[nodiscard]] std::string UserData() const { return (root_ / "user").string(); }
    [[nodiscard]] std::filesystem::path InUserData(const std::string& name) const { return root_ / "user" / name; }

    /// Puts `tables` into Data().
    void MakeTables() const;
    /// Works on the user's records as the engine does, with the history and the catalogue loaded.
    void WithEngine(const std::function<void(frontend::DataSession&)>& work) const;

    /// A command with Data() and UserData() behind it. The exit code; what was said is in `out` and `err`, with the
    /// test's folder shown as <root> and line ends as they are on Linux.
    int Run(std::vector<std::string> arguments);
    /// A command as it stands.
    int RunAsItStands(const std::vector<std::string>& arguments);

    static void WriteHostFile(const std::filesystem::path& path, std::string_view bytes);
    /// Empty when it is not there.
    [[nodiscard]] static std::string HostFile(const std::filesystem::path& path);

    /// Two threats of the usual kind, and a version row with 105.
    ShippedTables tables;
    std::string out;
    std::string err;

private:
    [[nodiscard]] std::string Shown(std::string text) const;

    std::filesystem::path root_;
};

}  // namespace kel::test
