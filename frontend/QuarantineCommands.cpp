#include "frontend/QuarantineCommands.h"

#include <CLI/CLI.hpp>

#include <array>
#include <cstdio>
#include <string>

#include "frontend/CleanCommand.h"
#include "frontend/ExitCodes.h"
#include "frontend/OptionTable.h"
#include "frontend/QuarantineCommand.h"

namespace kel::frontend {

/// One command of the group.
struct QuarantineCommand {
    const char* name;
    const char* help;
    bool namesRecords;  ///< identifiers may follow
    bool needsRecords;  ///< at least one has to
    bool needsMachine;
    int (*run)(const QuarantineOptions& options, const Streams& streams);
};

namespace {

constexpr const char* Footer =
    "Exit codes: 0 done, 2 something did not come back, could not be removed, read or written, 64 usage, 66 no such "
    "machine, folder, scan, threat or record";

constexpr std::array Commands{
    QuarantineCommand{"list", "Show what was removed, one line a record", false, false, false, ListQuarantine},
    QuarantineCommand{"show", "Show records with all that they keep", true, false, false, ShowQuarantine},
    QuarantineCommand{"restore", "Bring threats back to where they were", true, true, true, RestoreQuarantined},
    QuarantineCommand{"destroy", "Delete what is kept of threats", true, true, false, DestroyQuarantined},
};

void AddRecords(CLI::App& app, bool needed, QuarantineOptions& options) {
    const auto take = [&options](const std::vector<std::string>& values) { options.ids = values; };
    CLI::Option* option = app.add_option_function<std::vector<std::string>>(
        "ID", take, "identifier of a record, as quarantine list shows it");
    option->type_name("");
    option->expected(needed ? 1 : 0, CLI::detail::expected_max_vector_size);
    option->required(needed);
}

std::optional<std::string> Missing(const QuarantineCommand& command, const QuarantineOptions& options) {
    if (options.userData.empty()) {
        return "--user-data is required";
    }
    return CheckMachineOptions(options, command.needsMachine);
}

int UsageError(const std::string& command, const std::string& problem, const Streams& streams) {
    std::fprintf(streams.err, "ombrelane %s: %s\nRun with --help for more information.\n", command.c_str(),
                 problem.c_str());
    return ExitUsage;
}

}  // namespace

QuarantineCommands::QuarantineCommands(CLI::App& app) {
    cleanApp_ = app.add_subcommand("clean", "Remove threats that an earlier scan found into the quarantine");
    cleanApp_->footer(std::string("The history has no folders and no usable registry entries: these stay on the "
                                  "machine. scan --quarantine removes them too.\n") +
                      Footer);
    AddOptions<SessionOptions>(*cleanApp_, SessionOptionTable(), clean_);
    AddOptions<CleanOptions>(*cleanApp_, CleanOptionTable(), clean_);

    CLI::App* group = app.add_subcommand("quarantine", "What was removed, and the way back");
    group->footer(Footer);
    group->require_subcommand(1);
    for (const QuarantineCommand& command : Commands) {
        CLI::App* own = group->add_subcommand(command.name, command.help);
        own->footer(Footer);
        AddOptions<SessionOptions>(*own, SessionOptionTable(), options_);
        AddOptions<QuarantineOptions>(*own, QuarantineOptionTable(), options_);
        if (command.namesRecords) {
            AddRecords(*own, command.needsRecords, options_);
        }
        commands_.push_back({&command, own});
    }
}

QuarantineCommands::~QuarantineCommands() = default;

std::optional<int> QuarantineCommands::Run(const Streams& streams) const {
    if (cleanApp_->parsed()) {
        const auto problem = CheckCleanOptions(clean_);
        return problem ? UsageError("clean", *problem, streams) : RunClean(clean_, streams);
    }
    for (const auto& [command, app] : commands_) {
        if (app->parsed()) {
            const auto problem = Missing(*command, options_);
            return problem ? UsageError(std::string("quarantine ") + command->name, *problem, streams)
                           : command->run(options_, streams);
        }
    }
    return std::nullopt;
}

}  // namespace kel::frontend
