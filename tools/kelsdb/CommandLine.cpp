#include "kelsdb/CommandLine.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>
#include <optional>

#include "kelsdb/Commands.h"
#include "kelsdb/Failure.h"
#include "manual/Manual.h"

namespace kel::kelsdb {

namespace {

constexpr const char* Footer =
    "Exit codes: 0 done; 1 input lines were rejected, or a check found something wrong; 64 the command line can't be "
    "understood; 66 an input is missing, can't be read or is no table file; 73 the output can't be written.";

struct Arguments {
    std::string table;
    std::string output;
    std::string input;
    std::vector<std::string> inputs;
    DumpFormat format = DumpFormat::Csv;
    ImportForm form = ImportForm::Hdb;
    std::int32_t threat = 0;
};

std::vector<std::string> TableNames() {
    std::vector<std::string> names;
    for (const TableKind& kind : TableKinds()) {
        names.emplace_back(kind.name);
    }
    return names;
}

const std::map<std::string, DumpFormat> DumpFormats{{"csv", DumpFormat::Csv}, {"jsonl", DumpFormat::JsonLines}};
const std::map<std::string, ImportForm> ImportForms{{"hdb", ImportForm::Hdb}, {"hashes", ImportForm::Hashes}};

// The command line, and afterwards what it asked for.
class Parser {
public:
    Parser() {
        app_.require_subcommand(1);
        app_.footer(Footer);
        app_.set_version_flag("--version", "kelsdb " KEL_VERSION);

        create_ = Command("create", "make a table of comma-separated values, whose first row names the columns");
        create_->add_option("--table", arguments_.table, "which table")->required()->check(CLI::IsMember(TableNames()));
        Output(*create_);
        create_->add_option("CSV", arguments_.input, "the values, as UTF-8; standard input when it is left out or -");

        dump_ = Command("dump", "print the rows of a table file");
        dump_->add_option("FILE", arguments_.input, "a table file")->required();
        dump_->add_option("--format", arguments_.format, "csv, the default, or jsonl: one object a line")
            ->transform(CLI::CheckedTransformer(DumpFormats));

        info_ = Command("info", "print the columns, the number of rows and the size of a table file");
        info_->add_option("FILE", arguments_.input, "a table file")->required();

        import_ = Command("import", "make an MD5 table of lists of hashes");
        import_->add_option("--from", arguments_.form, "hdb: lines MD5:size:name; hashes: what md5sum prints")
            ->required()
            ->transform(CLI::CheckedTransformer(ImportForms));
        import_->add_option("--threat", arguments_.threat, "the threat that all hashes belong to")
            ->required()
            ->check(CLI::Range(1, 2147483647));
        Output(*import_);
        import_->add_option("INPUT", arguments_.inputs, "lists; - is standard input")->required();

        check_ = Command("check", "look for what would stop a load of a data folder or make a row of it useless");
        check_->add_option("DIR", arguments_.input, "the folder of the tables")->required();
        manual::AddGenerator(app_, KEL_VERSION);
    }

    // The exit code when there is nothing more to do: help was asked for, or the command line is wrong.
    std::optional<int> Parse(std::vector<std::string> arguments, const Streams& streams) {
        std::reverse(arguments.begin(), arguments.end());
        try {
            app_.parse(arguments);
        } catch (const CLI::ParseError& error) {
            return app_.exit(error, streams.out, streams.err) == 0 ? ExitDone : ExitUsage;
        }
        return std::nullopt;
    }

    int Execute(tools::HostPlatform& host, const Streams& streams) const {
        if (create_->parsed()) {
            return Create(host, *KindByName(arguments_.table), arguments_.output, arguments_.input, streams);
        }
        if (dump_->parsed()) {
            return Dump(host, arguments_.input, arguments_.format, streams);
        }
        if (info_->parsed()) {
            return Info(host, arguments_.input, streams);
        }
        if (import_->parsed()) {
            return Import(host, arguments_.form, arguments_.threat, arguments_.output, arguments_.inputs, streams);
        }
        return Check(host, arguments_.input, streams);
    }

private:
    CLI::App* Command(const std::string& name, const std::string& description) {
        CLI::App* command = app_.add_subcommand(name, description);
        command->footer(Footer);
        return command;
    }

    void Output(CLI::App& command) {
        command.add_option("-o,--output", arguments_.output, "the table file to make; one that is there is replaced")
            ->required();
    }

    CLI::App app_{"Makes, shows and checks the table files of the engine.", "kelsdb"};
    Arguments arguments_;
    CLI::App* create_ = nullptr;
    CLI::App* dump_ = nullptr;
    CLI::App* info_ = nullptr;
    CLI::App* import_ = nullptr;
    CLI::App* check_ = nullptr;
};

int Execute(const Parser& parser, const Streams& streams) {
    try {
        tools::HostPlatform host;
        const platform::PlatformScope installed(host.View());
        int code = parser.Execute(host, streams);
        streams.out.flush();
        if (!streams.out) {
            throw Failure(ExitNoOutput, "standard output can't be written");
        }
        return code;
    } catch (const Failure& failure) {
        streams.err << "kelsdb: " << failure.what() << '\n';
        return failure.code;
    } catch (const std::exception& failure) {
        streams.err << "kelsdb: " << failure.what() << '\n';
        return ExitNoInput;
    }
}

}  // namespace

int Run(const std::vector<std::string>& arguments, const Streams& streams) {
    try {
        Parser parser;
        if (const auto code = parser.Parse(arguments, streams)) {
            return *code;
        }
        return Execute(parser, streams);
    } catch (const std::exception& failure) {
        streams.err << "kelsdb: " << failure.what() << '\n';
        return ExitUsage;
    }
}

}  // namespace kel::kelsdb
