// What a program's own option parser knows, written as a manual page and as completions for shells.
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <string_view>

namespace kel::manual {

/// The manual page in the man macros of roff: synopsis, every command with its options, exit codes from the footer.
/// @param app the whole parser, named and with its description
/// @param version shown at the foot of the page
[[nodiscard]] std::string ManPage(const CLI::App& app, std::string_view version);

// Completions of the commands and options. Everything else on the line completes to files.

[[nodiscard]] std::string BashCompletion(const CLI::App& app);
[[nodiscard]] std::string ZshCompletion(const CLI::App& app);
[[nodiscard]] std::string FishCompletion(const CLI::App& app);

/// Adds the option `--generate man|bash|zsh|fish`, which the help does not list: it prints the page or the completion
/// on standard output and ends the parse as `--version` does. Add it behind all other options; the parser must have
/// been given its name.
void AddGenerator(CLI::App& app, std::string_view version);

}  // namespace kel::manual
