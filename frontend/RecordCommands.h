// The commands that look at records and at no machine, as the command line has them.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "frontend/Output.h"
#include "frontend/RecordOptions.h"

namespace CLI {
class App;
}

namespace kel::frontend {

struct RecordCommand;

class RecordCommands {
public:
    /// Adds them to a program that is yet to be parsed. `app` outlives the object.
    explicit RecordCommands(CLI::App& app);
    ~RecordCommands();
    RecordCommands(const RecordCommands&) = delete;
    RecordCommands& operator=(const RecordCommands&) = delete;

    /// Runs the one that was parsed, and gives its exit code; nothing when it was none of them.
    [[nodiscard]] std::optional<int> Run(const Streams& streams) const;

private:
    struct Parsed {
        const RecordCommand* command;
        CLI::App* app;
    };

    RecordOptions options_;
    std::vector<Parsed> commands_;
};

}  // namespace kel::frontend
