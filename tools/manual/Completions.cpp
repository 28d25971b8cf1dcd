#include "manual/Manual.h"
#include "manual/Parts.h"

namespace kel::manual {

namespace {

// In a word of the shell between single quotes.
std::string Quoted(std::string_view text) {
    std::string result = "'";
    for (const char c : text) {
        if (c == '\'') {
            result += "'\\''";
        } else {
            result += c;
        }
    }
    return result + "'";
}

// In a description of zsh, where brackets and colons have a meaning.
std::string Described(std::string_view text) {
    std::string result;
    for (const char c : text) {
        if (c == '[' || c == ']' || c == ':' || c == '\\') {
            result += '\\';
        }
        result += c;
    }
    return result;
}

std::string WordsOf(const ShownCommand& command) {
    std::string words;
    for (const CLI::App* below : command.below) {
        words += (words.empty() ? "" : " ") + below->get_name();
    }
    for (const ShownOption& option : OptionsOf(*command.app)) {
        for (const std::string& word : option.words) {
            words += (words.empty() ? "" : " ") + word;
        }
    }
    return words;
}

std::string Underscored(std::string text) {
    for (char& c : text) {
        c = c == ' ' || c == '-' ? '_' : c;
    }
    return text;
}

// The words of the line that are commands, as a path.
constexpr std::string_view FindPath = R"(    local path= word
    for word in "${words[@]:1}"; do
        case "${path:+$path }$word" in
            COMMANDS) path="${path:+$path }$word" ;;
        esac
    done
)";

std::string PathSearch(const std::vector<ShownCommand>& commands) {
    std::string paths;
    for (const ShownCommand& command : commands) {
        if (!command.path.empty()) {
            paths += (paths.empty() ? "" : "|") + Quoted(command.path);
        }
    }
    if (paths.empty()) {
        return "    local path=\n";
    }
    std::string search(FindPath);
    return search.replace(search.find("COMMANDS"), 8, paths);
}

}  // namespace

std::string BashCompletion(const CLI::App& app) {
    const std::string& program = app.get_name();
    const std::vector<ShownCommand> commands = CommandsOf(app);
    const std::string function = "_" + Underscored(program);
    std::string text = "# Completion of " + program + " for bash. Made by " + program + " --generate bash.\n" +
                       function + "() {\n    local words=(\"${COMP_WORDS[@]:0:COMP_CWORD}\")\n" + PathSearch(commands) +
                       "    local candidates=\n    case \"$path\" in\n";
    for (const ShownCommand& command : commands) {
        text += "        " + Quoted(command.path) + ") candidates=" + Quoted(WordsOf(command)) + " ;;\n";
    }
    return text + "    esac\n    COMPREPLY=($(compgen -W \"$candidates\" -- \"${COMP_WORDS[COMP_CWORD]}\"))\n}\n" +
           "complete -o default -F " + function + " " + program + "\n";
}

std::string ZshCompletion(const CLI::App& app) {
    const std::string& program = app.get_name();
    const std::vector<ShownCommand> commands = CommandsOf(app);
    const std::string function = "_" + Underscored(program);
    std::string text = "#compdef " + program + "\n# Made by " + program + " --generate zsh.\n" + function + "() {\n" +
                       "    local -a line=(\"${(@)words[1,CURRENT-1]}\")\n    local -a candidates\n";
    std::string search = PathSearch(commands);
    if (const std::size_t at = search.find("${words[@]:1}"); at != std::string::npos) {
        search.replace(at, 13, "${(@)line[2,-1]}");
    }
    // In zsh "path" is the search path of commands.
    for (std::size_t at = 0; (at = search.find("path", at)) != std::string::npos; at += 7) {
        search.replace(at, 4, "command");
    }
    text += search + "    case \"$command\" in\n";
    for (const ShownCommand& command : commands) {
        text += "        (" + Quoted(command.path) + ")\n            candidates=(\n";
        for (const CLI::App* below : command.below) {
            text += "                " + Quoted(below->get_name() + ":" + Described(below->get_description())) + "\n";
        }
        for (const ShownOption& option : OptionsOf(*command.app)) {
            for (const std::string& word : option.words) {
                text += "                " + Quoted(word + ":" + Described(option.help)) + "\n";
            }
        }
        text += "            ) ;;\n";
    }
    return text + "    esac\n    _describe " + Quoted(program) + " candidates || _files\n}\n" + function + " \"$@\"\n";
}

std::string FishCompletion(const CLI::App& app) {
    const std::string& program = app.get_name();
    std::string text = "# Completion of " + program + " for fish. Made by " + program + " --generate fish.\n";
    for (const ShownCommand& command : CommandsOf(app)) {
        std::string when;
        if (command.path.empty()) {
            when = "__fish_use_subcommand";
        } else {
            std::size_t start = 0;
            while (start < command.path.size()) {
                const std::size_t end = std::min(command.path.find(' ', start), command.path.size());
                when += (when.empty() ? "" : "; and ") +
                        ("__fish_seen_subcommand_from " + command.path.substr(start, end - start));
                start = end + 1;
            }
            std::string deeper;
            for (const CLI::App* below : command.below) {
                deeper += " " + below->get_name();
            }
            if (!deeper.empty()) {
                when += "; and not __fish_seen_subcommand_from" + deeper;
            }
        }
        const std::string line = "complete -c " + program + " -n " + Quoted(when);
        for (const CLI::App* below : command.below) {
            text += line + " -a " + below->get_name() + " -d " + Quoted(below->get_description()) + "\n";
        }
        for (const ShownOption& option : OptionsOf(*command.app)) {
            text += line;
            for (const std::string& word : option.words) {
                text += word.starts_with("--") ? " -l " + word.substr(2) : " -s " + word.substr(1);
            }
            text += std::string(option.argument.empty() ? "" : " -r") + " -d " + Quoted(option.help) + "\n";
        }
    }
    return text;
}

}  // namespace kel::manual
