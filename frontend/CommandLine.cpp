#include "frontend/CommandLine.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <sstream>

#include "frontend/ExitCodes.h"
#include "frontend/OptionTable.h"
#include "frontend/QuarantineCommands.h"
#include "frontend/RecordCommands.h"
#include "frontend/ScanCommand.h"
#include "frontend/ScanOptions.h"
#include "manual/Manual.h"

namespace kel::frontend {

namespace {

constexpr const char* Footer =
    "Exit codes: 0 nothing found, 1 threats found, 2 the scan could not be completed, 64 usage, 66 no such machine or "
    "data";

// The engine's rule at the start of every scan; whoever scans a running machine has to know it beforehand.
constexpr const char* WhatScansEnd =
    "On a running machine every scan ends the programs that the table kelRes.sdb names as starting threats again, and "
    "removes their files and run values where the table says so. An empty table is none.\n";

void Parse(CLI::App& app, std::vector<std::string> arguments) {
    std::reverse(arguments.begin(), arguments.end());  // as the library wants them
    try {
        app.parse(std::move(arguments));
    } catch (const CLI::RequiredError&) {
        // A word that is no command tells more than that a command is missing.
        if (app.remaining_size() > 0) {
            throw CLI::ExtrasError(app.remaining());
        }
        throw;
    }
}

}  // namespace

int Run(std::vector<std::string> arguments, const Streams& streams) {
    CLI::App app{"Anti-spyware engine: scans a Windows machine, live on Windows or offline on Linux", "ombrelane"};
    app.footer(Footer);
    app.require_subcommand(1);
    app.set_version_flag("--version", std::string("ombrelane ") + KEL_VERSION);

    ScanOptions scan;
    CLI::App* scanCommand = app.add_subcommand("scan", "Scan a machine and report the threats on it");
    scanCommand->footer(std::string(WhatScansEnd) + Footer);
    AddOptions<SessionOptions>(*scanCommand, SessionOptionTable(), scan);
    AddOptions<ScanOptions>(*scanCommand, ScanOptionTable(), scan);
    const QuarantineCommands quarantine(app);
    const RecordCommands records(app);
    manual::AddGenerator(app, KEL_VERSION);

    try {
        Parse(app, std::move(arguments));
    } catch (const CLI::ParseError& error) {
        std::ostringstream out;
        std::ostringstream err;
        const bool asked = app.exit(error, out, err) == 0;
        std::fputs(out.str().c_str(), streams.out);
        std::fputs(err.str().c_str(), streams.err);
        return asked ? ExitClean : ExitUsage;
    }
    if (const auto code = quarantine.Run(streams)) {
        return *code;
    }
    if (const auto code = records.Run(streams)) {
        return *code;
    }
    if (const auto problem = CheckScanOptions(scan)) {
        std::fprintf(streams.err, "ombrelane scan: %s\nRun with --help for more information.\n", problem->c_str());
        return ExitUsage;
    }
    return RunScan(scan, streams);
}

}  // namespace kel::frontend
