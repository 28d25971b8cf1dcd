#include "hivemake/CommandLine.h"

#include <CLI/CLI.hpp>

#include <fstream>

#include "hive/NewHive.h"
#include "hivemake/Lines.h"
#include "hivemake/NewFile.h"
#include "manual/Manual.h"
#include "offline/Wtf8.h"

namespace kel::hivemake {
namespace {

constexpr const char* Footer =
    "Exit codes: 0 done; 64 the command line can't be understood; 65 a line is no key or value, and nothing is "
    "written; 66 the input is missing or can't be read; 73 the hive can't be written.";

constexpr std::uint32_t SmallestMinor = 1;
constexpr std::uint32_t LargestMinor = 6;

/// Empty when a root key can have that name.
std::string WhyNoRootName(const std::string& name) {
    const std::u16string units = offline::FromWtf8(name);
    if (units.empty() || units.size() > offline::Hive::MaximumKeyName)
        return "a key has a name of 1 to 255 characters";
    return {};
}

}  // namespace

int Run(const std::vector<std::string>& arguments, std::istream& in, std::ostream& out, std::ostream& err) {
    CLI::App app("Makes a registry hive of JSON lines as hivedump writes them.", "hivemake");
    app.footer(Footer);
    app.set_version_flag("--version", "hivemake " KEL_VERSION);
    std::string input;
    std::string output;
    std::string root = "ROOT";
    std::uint32_t minor = 3;
    app.add_option("JSONL", input, "the lines; standard input when it is left out or -");
    app.add_option("-o,--output", output, "the hive; an old file of that name is replaced")->required();
    app.add_option("--minor", minor, "version 1.N of the hive; 3, the default, is what every Windows since NT 4 reads")
        ->check(CLI::Range(SmallestMinor, LargestMinor));
    app.add_option("--root", root, "name of the root key")->check(CLI::Validator(WhyNoRootName, "NAME"));
    manual::AddGenerator(app, KEL_VERSION);
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    try {
        app.parse(reversed);
    } catch (const CLI::ParseError& error) {
        return app.exit(error, out, err) == 0 ? ExitDone : ExitUsage;
    }
    std::ifstream file;
    if (!input.empty() && input != "-") {
        file.open(input, std::ios::binary);
        if (!file) {
            err << "hivemake: " << input << " can't be read\n";
            return ExitNoInput;
        }
    }
    try {
        offline::regf::HiveImage image;
        if (!image.Assign(offline::regf::MakeHive(minor, offline::FromWtf8(root), 0)))
            throw std::bad_alloc();
        offline::Hive hive(std::move(image));
        ReadLines(file.is_open() ? static_cast<std::istream&>(file) : in, hive);
        if (const std::error_code error = WriteNewFile(output, hive.Render())) {
            err << "hivemake: " << output << " can't be written: " << error.message() << '\n';
            return ExitNoOutput;
        }
    } catch (const LineError& error) {
        err << "hivemake: " << (input.empty() ? "-" : input) << ": " << error.what() << '\n';
        return ExitBadInput;
    } catch (const InputError& error) {
        err << "hivemake: " << (input.empty() ? "-" : input) << ' ' << error.what() << '\n';
        return ExitNoInput;
    } catch (const std::exception& error) {
        err << "hivemake: " << error.what() << '\n';
        return ExitNoOutput;
    }
    return ExitDone;
}

}  // namespace kel::hivemake
