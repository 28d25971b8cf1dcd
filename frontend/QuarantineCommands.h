// The commands that remove, and that bring back, as the command line has them.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "frontend/Output.h"
#include "frontend/QuarantineOptions.h"

namespace CLI {
class App;
}

namespace kel::frontend {

struct QuarantineCommand;

class QuarantineCommands {
public:
    /// Adds `clean` and `quarantine` to a program that is yet to be parsed. `app` outlives the object.
    explicit QuarantineCommands(CLI::App& app);
    ~QuarantineCommands();
    QuarantineCommands(const QuarantineCommands&) = delete;
    QuarantineCommands& operator=(const QuarantineCommands&) = delete;

    /// Runs the one that was parsed, and gives its exit code; nothing when it was none of them.
    [[nodiscard]] std::optional<int> Run(const Streams& streams) const;

private:
    struct Parsed {
        const QuarantineCommand* command;
        CLI::App* app;
    };

    QuarantineOptions options_;
    std::vector<Parsed> commands_;
    CleanOptions clean_;
    CLI::App* cleanApp_ = nullptr;
};

}  // namespace kel::frontend
