#include "manual/Manual.h"
#include "manual/Parts.h"

namespace kel::manual {

namespace {

// Text that roff prints as it stands.
std::string Escaped(std::string_view text) {
    std::string result;
    for (const char c : text) {
        const bool lineStart = result.empty() || result.back() == '\n';
        if (lineStart && (c == '.' || c == '\'')) {
            result += "\\&";
        }
        if (c == '\\') {
            result += "\\e";
        } else if (c == '-') {
            result += "\\-";
        } else {
            result += c;
        }
    }
    return result;
}

std::string Bold(std::string_view text) {
    return "\\fB" + Escaped(text) + "\\fR";
}

std::string Italic(std::string_view text) {
    return "\\fI" + Escaped(text) + "\\fR";
}

// A description without the full stop at its end.
std::string Described(std::string text) {
    if (text.ends_with('.')) {
        text.pop_back();
    }
    return Escaped(text);
}

std::string Upper(std::string text) {
    for (char& c : text) {
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    }
    return text;
}

std::string CommandLine(const std::string& program, const ShownCommand& command) {
    std::string line = Bold(command.path.empty() ? program : program + " " + command.path);
    if (!OptionsOf(*command.app).empty()) {
        line += " [" + Italic("OPTION") + "]...";
    }
    for (const ShownOption& word : PositionalsOf(*command.app)) {
        const std::string shown = Italic(word.names) + (word.repeatable ? "..." : "");
        line += " " + (word.required ? shown : "[" + shown + "]");
    }
    return line;
}

void AppendOption(std::string& page, const ShownOption& option) {
    page += ".TP\n" + (option.words.empty() ? Italic(option.names) : Bold(option.names));
    if (!option.argument.empty()) {
        page += " " + Italic(option.argument);
    }
    page += "\n" + Escaped(option.help);
    if (option.required && !option.words.empty()) {
        page += " (required)";
    }
    page += "\n";
}

void AppendOptions(std::string& page, const CLI::App& app) {
    for (const ShownOption& word : PositionalsOf(app)) {
        AppendOption(page, word);
    }
    for (const ShownOption& option : OptionsOf(app)) {
        AppendOption(page, option);
    }
}

}  // namespace

std::string ManPage(const CLI::App& app, std::string_view version) {
    const std::string& program = app.get_name();
    const std::vector<ShownCommand> commands = CommandsOf(app);
    std::string page = ".TH " + Upper(program) + " 1 \"\" \"" + program + " " + std::string(version) + "\"\n";
    page += ".SH NAME\n" + Escaped(program) + " \\- " + Described(app.get_description()) + "\n";
    page += ".SH SYNOPSIS\n";
    for (const ShownCommand& command : commands) {
        if (command.below.empty()) {
            page += CommandLine(program, command) + "\n.br\n";
        }
    }
    page += ".SH OPTIONS\n";
    AppendOptions(page, app);
    if (commands.size() > 1) {
        page += ".SH COMMANDS\n";
    }
    for (const ShownCommand& command : commands) {
        if (command.path.empty()) {
            continue;
        }
        page += ".SS " + Escaped(command.path) + "\n" + Described(command.app->get_description()) + ".\n";
        if (command.below.empty()) {
            AppendOptions(page, *command.app);
            if (const std::string footer = command.app->get_footer(); footer != app.get_footer()) {
                page += ".PP\n" + Escaped(footer) + "\n";
            }
        }
    }
    page += ".SH NOTES\n" + Escaped(app.get_footer()) + "\n";
    return page;
}

}  // namespace kel::manual
