#include "frontend/RecordCommands.h"

#include <CLI/CLI.hpp>

#include <array>
#include <cstdio>
#include <string>
#include <string_view>

#include "frontend/DiagnosticsCommand.h"
#include "frontend/ExitCodes.h"
#include "frontend/HistoryCommand.h"
#include "frontend/IgnoreCommand.h"
#include "frontend/OptionTable.h"
#include "frontend/ShownText.h"
#include "frontend/ThreatsCommand.h"

namespace kel::frontend {

/// What is said behind a command.
enum class Words { None, Scan, Threat, Threats };

/// One command.
struct RecordCommand {
    const char* group;
    const char* name;  ///< empty when the group itself is the command
    Words words;
    bool needsData;
    const char* help;
    int (*run)(RecordRun& run);

    [[nodiscard]] std::string FullName() const {
        return std::string("ombrelane ") + group + (*name == '\0' ? "" : " ") + name;
    }
};

namespace {

constexpr const char* Footer =
    "Exit codes: 0 done, 2 something could not be read or written, 64 usage, 66 no such folder, scan or threat";

struct Group {
    const char* name;
    const char* help;
};

constexpr std::array Groups{
    Group{"history", "What earlier scans found"},
    Group{"ignore", "Threats that scans leave alone"},
    Group{"threats", "What the catalogue knows"},
    Group{"diagnostics", "Versions, and what is loaded"},
};

constexpr std::array Commands{
    RecordCommand{"history", "list", Words::None, false, "Show all scans, the oldest first", ListHistory},
    RecordCommand{"history", "show", Words::Scan, false, "Show a scan: its threats and their locations", ShowHistory},
    RecordCommand{"history", "delete", Words::Scan, false, "Remove a scan from the history", DeleteHistory},
    RecordCommand{"ignore", "list", Words::None, false, "Show the ignored threats", ListIgnored},
    RecordCommand{"ignore", "add", Words::Threats, false, "Ignore threats from now on", AddIgnored},
    RecordCommand{"ignore", "remove", Words::Threats, false, "Ignore threats no longer", RemoveIgnored},
    RecordCommand{"threats", "list", Words::None, true, "Show all threats in one line each", ListThreats},
    RecordCommand{"threats", "show", Words::Threat, true, "Show what is known of a threat", ShowThreat},
    RecordCommand{"threats", "export", Words::None, true, "Write the whole catalogue", ExportThreats},
    RecordCommand{"diagnostics", "", Words::None, true, "", ShowDiagnostics},
};

// The words behind a command.
void AddWords(CLI::App& app, Words words, RecordOptions& options) {
    if (words == Words::None) {
        return;
    }
    const bool scan = words == Words::Scan;
    const auto take = [scan, &options](const std::vector<std::string>& values) {
        for (const std::string& value : values) {
            if (const auto problem = scan ? TakeScan(options, value) : TakeThreat(options, value)) {
                throw CLI::ValidationError(scan ? "ID" : "N", *problem);
            }
        }
    };
    CLI::Option* option = app.add_option_function<std::vector<std::string>>(
        scan ? "ID" : "N", take, scan ? "identifier of a scan, as history list shows it" : "number of a threat");
    option->required();
    option->type_name("");
    if (words == Words::Threats) {
        option->expected(1, CLI::detail::expected_max_vector_size);
    } else {
        option->expected(1);
        option->allow_extra_args(false);
    }
}

std::optional<std::string> Missing(const RecordCommand& command, const RecordOptions& options) {
    if (command.needsData && options.data.empty()) {
        return "--data is required";
    }
    if (options.userData.empty()) {
        return "--user-data is required";
    }
    return std::nullopt;
}

int RunCommand(const RecordCommand& command, const RecordOptions& options, const Streams& streams) {
    try {
        DataSession session(options);
        RecordReport report(command.FullName(), options.format, streams);
        RecordRun run{options, session, report};
        const int code = command.run(run);
        for (const WriteRecord& write : session.TakeWrites()) {
            report.Write(write);
        }
        return report.Finish(code);
    } catch (const MachineError& error) {
        std::fprintf(streams.err, "%s: %s\n", command.FullName().c_str(), ShownHostText(error.what()).c_str());
        return ExitNoInput;
    }
}

}  // namespace

RecordCommands::RecordCommands(CLI::App& app) {
    for (const Group& group : Groups) {
        CLI::App* parent = app.add_subcommand(group.name, group.help);
        parent->footer(Footer);
        for (const RecordCommand& command : Commands) {
            if (std::string_view(command.group) != group.name) {
                continue;
            }
            CLI::App* own = parent;
            if (*command.name != '\0') {
                parent->require_subcommand(1);
                own = parent->add_subcommand(command.name, command.help);
                own->footer(Footer);
            }
            AddOptions<RecordOptions>(*own, RecordOptionTable(), options_);
            AddWords(*own, command.words, options_);
            commands_.push_back({&command, own});
        }
    }
}

RecordCommands::~RecordCommands() = default;

std::optional<int> RecordCommands::Run(const Streams& streams) const {
    for (const auto& [command, app] : commands_) {
        if (!app->parsed()) {
            continue;
        }
        if (const auto problem = Missing(*command, options_)) {
            std::fprintf(streams.err, "%s: %s\nRun with --help for more information.\n", command->FullName().c_str(),
                         problem->c_str());
            return ExitUsage;
        }
        return RunCommand(*command, options_, streams);
    }
    return std::nullopt;
}

}  // namespace kel::frontend
