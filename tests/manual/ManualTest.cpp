#include "manual/Manual.h"

#include <gmock/gmock.h>

#include <sstream>

namespace kel::manual {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

// A parser with what the programs' parsers have.
struct Sample {
    Sample() {
        app.set_version_flag("--version", "sample 1.0");
        app.footer("Exit codes: 0 done.");
        app.require_subcommand(1);
        auto* scan = app.add_subcommand("scan", "Look at C:\\Temp - or elsewhere");
        scan->add_option("--path", path, "where it's looked")->type_name("DIR");
        scan->add_flag("--deep", deep, "'more' than usual");
        auto* quarantine = app.add_subcommand("quarantine", "What was taken");
        auto* show = quarantine->add_subcommand("show", "Show one");
        show->add_option("ID", id, ".dotted at its start")->required();
        AddGenerator(app, "1.0");
    }
    int Run(const std::string& line, std::string& out) {
        std::ostringstream output;
        std::ostringstream errors;
        try {
            app.parse(line);
        } catch (const CLI::ParseError& error) {
            const int code = app.exit(error, output, errors);
            out = output.str() + errors.str();
            return code;
        }
        return 0;
    }

    CLI::App app{"Does this and that.", "sample"};
    std::string path;
    std::string id;
    bool deep = false;
};

TEST(ManPage, ListsEveryCommandWithItsOptions) {
    const Sample sample;
    const std::string page = ManPage(sample.app, "1.0");
    EXPECT_THAT(page, HasSubstr(".TH SAMPLE 1 \"\" \"sample 1.0\"\n.SH NAME\nsample \\- Does this and that\n"));
    EXPECT_THAT(page, HasSubstr("\\fBsample scan\\fR [\\fIOPTION\\fR]...\n"));
    EXPECT_THAT(page, HasSubstr("\\fBsample quarantine show\\fR [\\fIOPTION\\fR]... \\fIID\\fR\n"));
    EXPECT_THAT(page, HasSubstr(".TP\n\\fB\\-\\-path\\fR \\fIDIR\\fR\nwhere it's looked\n"));
    EXPECT_THAT(page, HasSubstr(".SH NOTES\nExit codes: 0 done.\n"));
}

TEST(ManPage, HidesFromRoffWhatItWouldTakeForItsOwn) {
    const Sample sample;
    const std::string page = ManPage(sample.app, "1.0");
    EXPECT_THAT(page, HasSubstr("Look at C:\\eTemp \\- or elsewhere.\n"));
    EXPECT_THAT(page, HasSubstr("\n\\&.dotted at its start\n"));
    EXPECT_THAT(page, HasSubstr("\n\\&'more' than usual\n"));
}

TEST(Generator, PrintsThePageAndEndsWithoutACommand) {
    Sample sample;
    std::string out;
    EXPECT_EQ(sample.Run("--generate man", out), 0);
    EXPECT_EQ(out, ManPage(sample.app, "1.0"));
}

TEST(Generator, RefusesAnotherKind) {
    Sample sample;
    std::string out;
    EXPECT_NE(sample.Run("--generate pdf", out), 0);
    EXPECT_THAT(out, HasSubstr("expected man, bash, zsh or fish, not 'pdf'"));
}

TEST(Generator, IsNotListed) {
    const Sample sample;
    EXPECT_THAT(sample.app.help(), Not(HasSubstr("--generate")));
    EXPECT_THAT(ManPage(sample.app, "1.0"), Not(HasSubstr("generate")));
    EXPECT_THAT(FishCompletion(sample.app), Not(HasSubstr("-l generate")));
}

TEST(Completions, QuoteTheDescriptions) {
    const Sample sample;
    EXPECT_THAT(ZshCompletion(sample.app), HasSubstr("'--path:where it'\\''s looked'"));
    EXPECT_THAT(FishCompletion(sample.app), HasSubstr("-l path -r -d 'where it'\\''s looked'"));
}

}  // namespace
}  // namespace kel::manual
