// The completions of the programs, asked for in the shells.
#include <gmock/gmock.h>

#include <array>
#include <cstdio>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::Not;

std::string Output(const std::string& command) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(::popen(("(" + command + ") 2>&1").c_str(), "r"),
                                                               &::pclose);
    std::string output;
    std::array<char, 4096> buffer{};
    while (const std::size_t size = std::fread(buffer.data(), 1, buffer.size(), pipe.get())) {
        output.append(buffer.data(), size);
    }
    return output;
}

std::vector<std::string> Lines(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

// What bash offers for the last word of the line.
std::vector<std::string> BashOffers(const std::string& line) {
    return Lines(Output("bash -c 'eval \"$(" KEL_OMBRELANE " --generate bash)\"; COMP_WORDS=(ombrelane " + line +
                        "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _ombrelane; printf \"%s\\n\" \"${COMPREPLY[@]}\"'"));
}

// What fish offers, without the descriptions.
std::vector<std::string> FishOffers(const std::string& line) {
    return Lines(Output("HOME=/nonexistent fish --no-config -c '" KEL_OMBRELANE
                        " --generate fish | source; complete -C \"ombrelane " +
                        line + "\"' | cut -f1"));
}

TEST(BashCompletion, OffersTheCommands) {
    EXPECT_THAT(BashOffers("\"\""), IsSupersetOf({"scan", "history", "ignore", "threats", "--version"}));
}

TEST(BashCompletion, OffersTheCommandsBelowAnother) {
    EXPECT_THAT(BashOffers("history \"\""), IsSupersetOf({"list", "show", "delete"}));
    EXPECT_THAT(BashOffers("history \"\""), Not(Contains("--full")));
}

TEST(BashCompletion, OffersTheOptionsOfTheCommandBehindOthers) {
    EXPECT_THAT(BashOffers("scan --full --registr"), ElementsAre("--registry"));
    EXPECT_THAT(BashOffers("history list --us"), ElementsAre("--user-data"));
}

TEST(FishCompletion, OffersCommandsAndOptions) {
    EXPECT_THAT(FishOffers("hist"), ElementsAre("history"));
    EXPECT_THAT(FishOffers("history sh"), ElementsAre("show"));
    EXPECT_THAT(FishOffers("scan --registr"), ElementsAre("--registry"));
}

TEST(Completions, AreFreeOfSyntaxErrorsInEveryShell) {
    for (const std::string program : {KEL_OMBRELANE, KEL_KELSDB, KEL_HIVEDUMP, KEL_HIVEMAKE}) {
        EXPECT_THAT(Output(program + " --generate bash | bash -n"), IsEmpty()) << program;
        EXPECT_THAT(Output(program + " --generate zsh | zsh -n"), IsEmpty()) << program;
        EXPECT_THAT(Output(program + " --generate fish | fish --no-execute"), IsEmpty()) << program;
    }
}

TEST(ZshCompletion, OffersTheOptionsOfTheCommand) {
    // The listing function is replaced by one that prints what it was given.
    const std::string offered =
        Output("zsh -f -c '_describe() { print -l -- \"${(@P)2}\" }; words=(ombrelane history list --); CURRENT=4; " +
               std::string("eval \"$(" KEL_OMBRELANE " --generate zsh)\"'"));
    EXPECT_THAT(offered, HasSubstr("--user-data:"));
    EXPECT_THAT(offered, Not(HasSubstr("--full:")));
}

TEST(ManPages, AreReadWithoutAWarning) {
    for (const std::string program : {KEL_OMBRELANE, KEL_KELSDB, KEL_HIVEDUMP, KEL_HIVEMAKE}) {
        EXPECT_THAT(Output(program + " --generate man | groff -man -ww -z"), IsEmpty()) << program;
    }
}

}  // namespace
