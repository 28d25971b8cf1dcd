// A Wine prefix of the test's own, where Wine is installed.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "Scratch.h"

namespace kel::test {

/// Cloned by scripts/wine-prefix, removed at the end.
class WinePrefix {
public:
    /// Nothing when there is no Wine here.
    static std::unique_ptr<WinePrefix> Make(const std::string& version = "winxp");
    ~WinePrefix();

    [[nodiscard]] std::filesystem::path Folder() const { return scratch_.Folder() / "prefix"; }
    /// What a program of the prefix prints, without carriage returns. `command` begins with the program.
    [[nodiscard]] std::string Run(const std::string& command) const;
    /// Ends all programs of the prefix and writes its registry.
    void Stop() const;

private:
    Scratch scratch_;
};

/// Whether a command of the host succeeds; its output is thrown away.
bool Succeeds(const std::string& command);

}  // namespace kel::test
