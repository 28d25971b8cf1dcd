// What pages and completions need of a parser.
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace kel::manual {

/// One option as it is shown.
struct ShownOption {
    std::string names;               ///< "-o, --output"
    std::vector<std::string> words;  ///< "-o" and "--output"; empty for a word that stands by its place
    std::string argument;            ///< name of its value; empty for a switch
    std::string help;
    bool required = false;
    bool repeatable = false;
};

/// Options that the help lists, in its order.
[[nodiscard]] std::vector<ShownOption> OptionsOf(const CLI::App& app);
/// The words of a command line that stand by their place.
[[nodiscard]] std::vector<ShownOption> PositionalsOf(const CLI::App& app);

/// A command, or a command below another.
struct ShownCommand {
    std::string path;  ///< "quarantine list"; empty for the program itself
    const CLI::App* app = nullptr;
    std::vector<const CLI::App*> below;
};

/// The program itself and all its commands, parents before their children.
[[nodiscard]] std::vector<ShownCommand> CommandsOf(const CLI::App& app);

}  // namespace kel::manual
