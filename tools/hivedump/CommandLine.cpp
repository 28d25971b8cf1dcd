#include "hivedump/CommandLine.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <map>

#include "hivedump/Dump.h"
#include "manual/Manual.h"
#include "offline/HiveFile.h"
#include "offline/OfflinePlatform.h"

namespace kel::hivedump {
namespace {

constexpr const char* Footer =
    "Logs are applied in memory, and only those that are named. Exit codes: 0 done; 2 something of the hive could not "
    "be read, and it says what; 64 the command line can't be understood; 66 a file is missing, can't be read or is no "
    "hive; 74 the output can't be written.";

const std::map<std::string, Format> Formats{{"text", Format::Text}, {"jsonl", Format::JsonLines}};

int Show(const std::string& file, const std::vector<std::string>& logs, Format format, std::ostream& out,
         std::ostream& err) {
    const std::vector<std::filesystem::path> logPaths(logs.begin(), logs.end());
    const auto hive = offline::HiveFile::Open(file, logPaths);
    for (const std::string& note : hive->Replay().notes)
        err << note << '\n';
    if (hive->Replay().dirty && !hive->Replay().replayed)
        err << file << ": was not written to its end; " << (logs.empty() ? "name its logs with --log" : "no log fits")
            << " to see its last state\n";
    const Counts counts = Dump(*hive, format, out);
    out.flush();
    if (!out) {
        err << "hivedump: the output can't be written\n";
        return ExitNoOutput;
    }
    for (const offline::Damage& damage : hive->Damage().Items())
        err << file << ": offset " << damage.fileOffset << ": " << damage.reason << '\n';
    const std::uint64_t told = hive->Damage().Items().size();
    if (hive->Damage().Count() > told)
        err << file << ": " << hive->Damage().Count() - told << " more places could not be read\n";
    if (counts.tooDeep != 0)
        err << file << ": " << counts.tooDeep << " keys lie deeper than " << DeepestLevel
            << " levels and were left out\n";
    return hive->Damage().Count() == 0 && counts.tooDeep == 0 ? ExitDone : ExitDamaged;
}

}  // namespace

int Run(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err) {
    CLI::App app("Shows the keys and values of a registry hive of Windows NT or one of its successors.", "hivedump");
    app.footer(Footer);
    app.set_version_flag("--version", "hivedump " KEL_VERSION);
    std::string file;
    std::vector<std::string> logs;
    Format format = Format::Text;
    app.add_option("FILE", file, "the hive")->required();
    app.add_option("--log", logs, "a transaction log of the hive; may be given several times")->allow_extra_args(false);
    app.add_option("--format", format, "text, the default, or jsonl: one object a line")
        ->transform(CLI::CheckedTransformer(Formats));
    manual::AddGenerator(app, KEL_VERSION);
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    try {
        app.parse(reversed);
    } catch (const CLI::ParseError& error) {
        return app.exit(error, out, err) == 0 ? ExitDone : ExitUsage;
    }
    try {
        return Show(file, logs, format, out, err);
    } catch (const offline::OpenError& error) {
        err << "hivedump: " << error.what() << '\n';
        return ExitNoInput;
    } catch (const std::exception& error) {
        err << "hivedump: " << file << ": " << error.what() << '\n';
        return ExitNoInput;
    }
}

}  // namespace kel::hivedump
