#include <array>

#include "manual/Manual.h"

namespace kel::manual {

namespace {

struct Kind {
    std::string_view name;
    std::string (*write)(const CLI::App& app, std::string_view version);
};

constexpr std::array Kinds{
    Kind{"man", ManPage},
    Kind{"bash", [](const CLI::App& app, std::string_view) { return BashCompletion(app); }},
    Kind{"zsh", [](const CLI::App& app, std::string_view) { return ZshCompletion(app); }},
    Kind{"fish", [](const CLI::App& app, std::string_view) { return FishCompletion(app); }},
};

}  // namespace

void AddGenerator(CLI::App& app, std::string_view version) {
    const auto generate = [&app, version = std::string(version)](const std::string& wanted) {
        for (const Kind& kind : Kinds) {
            if (kind.name == wanted) {
                std::string text = kind.write(app, version);
                text.pop_back();  // the parser ends the text with a line end of its own
                throw CLI::CallForVersion(std::move(text), 0);
            }
        }
        throw CLI::ValidationError("--generate", "expected man, bash, zsh or fish, not '" + wanted + "'");
    };
    // No group: the help does not list it.
    app.add_option_function<std::string>("--generate", generate)->group("");
}

}  // namespace kel::manual
