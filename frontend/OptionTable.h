// Options of a command as a table: the parser, the help and the manual are made from it.
#pragma once

#include <CLI/CLI.hpp>

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace kel::frontend {

/// One option. `apply` answers what is wrong with the value, or nothing.
template <class Options>
struct OptionRow {
    const char* name;      ///< with its two hyphens
    const char* argument;  ///< what the value is called in the help; empty for a switch
    bool repeatable;
    const char* help;
    std::optional<std::string> (*apply)(Options& options, const std::string& value);
};

/// Adds the rows to a command. `options` and the table outlive it.
template <class Options>
void AddOptions(CLI::App& command, std::span<const OptionRow<Options>> table, Options& options) {
    for (const OptionRow<Options>& row : table) {
        if (*row.argument == '\0') {
            command.add_flag_callback(
                row.name, [&options, &row] { row.apply(options, {}); }, row.help);
            continue;
        }
        const auto apply = [&options, &row](const std::vector<std::string>& values) {
            for (const std::string& value : values) {
                if (const auto problem = row.apply(options, value)) {
                    throw CLI::ValidationError(row.name, *problem);
                }
            }
        };
        CLI::Option* option = command.add_option_function<std::vector<std::string>>(row.name, apply, row.help);
        option->type_name(row.argument);
        option->expected(1);
        option->multi_option_policy(row.repeatable ? CLI::MultiOptionPolicy::TakeAll
                                                   : CLI::MultiOptionPolicy::TakeLast);
        // One value each: neither the next word of the line nor a list in brackets.
        option->allow_extra_args(false);
    }
}

}  // namespace kel::frontend
