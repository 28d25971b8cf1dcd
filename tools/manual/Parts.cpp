#include "manual/Parts.h"

namespace kel::manual {

namespace {

ShownOption Shown(const CLI::Option& option) {
    ShownOption shown;
    for (const std::string& name : option.get_snames()) {
        shown.words.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        shown.words.push_back("--" + name);
    }
    for (const std::string& word : shown.words) {
        shown.names += (shown.names.empty() ? "" : ", ") + word;
    }
    if (shown.words.empty()) {
        shown.names = option.get_single_name();
    }
    if (option.get_items_expected_max() > 0 && !shown.words.empty()) {
        // A type's name ends where the parser's checks begin.
        const std::string type = option.get_type_name();
        shown.argument = type.substr(0, type.find(':'));
        // The parser's own names of kinds tell a reader nothing.
        if (shown.argument.empty() || shown.argument == "TEXT" || shown.argument == "ENUM") {
            shown.argument = "VALUE";
        } else if (shown.argument == "INT" || shown.argument == "UINT") {
            shown.argument = "N";
        }
    }
    shown.help = option.get_description();
    shown.required = option.get_required();
    shown.repeatable = option.get_items_expected_max() > 1;
    return shown;
}

void Collect(const CLI::App& app, const std::string& path, std::vector<ShownCommand>& commands) {
    ShownCommand command{path, &app, {}};
    for (const CLI::App* below : app.get_subcommands([](const CLI::App*) { return true; })) {
        if (!below->get_name().empty()) {
            command.below.push_back(below);
        }
    }
    commands.push_back(command);
    for (const CLI::App* below : command.below) {
        Collect(*below, (path.empty() ? "" : path + " ") + below->get_name(), commands);
    }
}

}  // namespace

std::vector<ShownOption> OptionsOf(const CLI::App& app) {
    std::vector<ShownOption> options;
    for (const CLI::Option* option : app.get_options()) {
        if (!option->get_positional() && !option->get_group().empty()) {
            options.push_back(Shown(*option));
        }
    }
    return options;
}

std::vector<ShownOption> PositionalsOf(const CLI::App& app) {
    std::vector<ShownOption> words;
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_positional()) {
            words.push_back(Shown(*option));
        }
    }
    return words;
}

std::vector<ShownCommand> CommandsOf(const CLI::App& app) {
    std::vector<ShownCommand> commands;
    Collect(app, "", commands);
    return commands;
}

}  // namespace kel::manual
