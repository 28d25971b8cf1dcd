// The line that tells where a scan is: one line whatever the terminal's width, and gone when it is not wanted.
#include "frontend/ProgressLine.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <thread>

#include "CapturedStream.h"
#include "PseudoTerminal.h"
#include "support/EngineTest.h"

namespace kel::frontend {
namespace {

using testing::StartsWith;

constexpr std::string_view Wipe = "\r\x1b[K";

class Progress : public test::EngineTest {
protected:
    /// What stands on the line, without what wipes it first.
    static std::string Shown(const test::CapturedStream& stream) {
        const std::string text = stream.Text();
        EXPECT_THAT(text, StartsWith(Wipe));
        return text.substr(std::min(Wipe.size(), text.size()));
    }
    static void Wait() { std::this_thread::sleep_for(std::chrono::milliseconds(120)); }

    test::CapturedStream stream;
    std::optional<ProgressLine> line{std::in_place, stream.File(), true};
};

TEST_F(Progress, TellsStageCountRateAndPath) {
    line->Show("files", 12, "C:\\a.exe");
    const std::string shown = Shown(stream);
    EXPECT_THAT(shown, StartsWith("files  12  "));
    EXPECT_THAT(shown, testing::EndsWith("/s  C:\\a.exe"));
    const std::string rate = shown.substr(11, shown.find("/s") - 11);
    EXPECT_EQ(rate.find_first_not_of("0123456789"), std::string::npos) << rate;
}

TEST_F(Progress, WithoutATerminalNothingIsWritten) {
    ProgressLine none(stream.File(), false);
    none.Show("files", 1, "C:\\a.exe");
    none.Clear();
    EXPECT_EQ(stream.Text(), "");
}

TEST_F(Progress, IsRedrawnAtMostTenTimesASecond) {
    const auto began = std::chrono::steady_clock::now();
    line->Show("files", 1, "C:\\1");
    line->Show("files", 2, "C:\\2");
    if (std::chrono::steady_clock::now() - began < std::chrono::milliseconds(100)) {
        EXPECT_THAT(stream.Text(), testing::EndsWith("C:\\1"));
    }
    Wait();
    line->Show("files", 3, "C:\\3");
    EXPECT_THAT(stream.Text(), testing::EndsWith("C:\\3"));
    EXPECT_NE(stream.Text().rfind(Wipe), 0U);
}

TEST_F(Progress, ClearWipesOnceAndOnlyWhatWasDrawn) {
    line->Clear();
    EXPECT_EQ(stream.Text(), "");
    line->Show("files", 1, "C:\\a.exe");
    const std::string drawn = stream.Text();
    line->Clear();
    line->Clear();
    EXPECT_EQ(stream.Text(), drawn + std::string(Wipe));
}

TEST_F(Progress, ItsEndWipesIt) {
    line->Show("files", 1, "C:\\a.exe");
    const std::string drawn = stream.Text();
    line.reset();
    EXPECT_EQ(stream.Text(), drawn + std::string(Wipe));
}

TEST_F(Progress, OfALongPathTheEndIsShownInLessThanEightyColumns) {
    line->Show("files", 1, "C:\\" + std::string(200, 'x') + "\\end.exe");
    const std::string shown = Shown(stream);
    EXPECT_EQ(shown.size(), 79U);
    EXPECT_NE(shown.find("/s  ...xxx"), std::string::npos) << shown;
    EXPECT_THAT(shown, testing::EndsWith("xxx\\end.exe"));
}

TEST_F(Progress, NoNameSteersTheTerminal) {
    line->Show("files", 1, "C:\\a\x1b[2J\n\rb");
    EXPECT_THAT(Shown(stream), testing::EndsWith("C:\\a?[2J??b"));
}

#ifndef _WIN32

TEST_F(Progress, ALongPathIsCutBetweenCharacters) {
    for (std::size_t lead = 0; lead < 3; ++lead) {
        const test::CapturedStream wide;
        std::string path = "C:\\" + std::string(lead, 'x');
        for (int times = 0; times < 60; ++times) {
            path += "\xE6\x97\xA5";
        }
        ProgressLine over(wide.File(), true);
        over.Show("files", 1, path);
        const std::string shown = Shown(wide);
        EXPECT_LE(shown.size(), 79U);
        const std::size_t dots = shown.find("...");
        ASSERT_NE(dots, std::string::npos);
        EXPECT_EQ(shown.substr(dots + 3, 3), "\xE6\x97\xA5");
        EXPECT_EQ((shown.size() - dots) % 3, 0U);
    }
}

class Terminals : public test::EngineTest, public testing::WithParamInterface<unsigned short> {};

TEST_P(Terminals, TheLineStaysShorterThanTheTerminal) {
    const test::PseudoTerminal terminal(GetParam());
    ProgressLine line(terminal.File(), true);
    line.Show("files", 123'456, "C:\\" + std::string(300, 'x') + "\\end.exe");
    const std::string text = terminal.Read();
    ASSERT_THAT(text, StartsWith(Wipe));
    const std::string shown = text.substr(Wipe.size());
    EXPECT_LT(shown.size(), std::size_t{GetParam()});
    const std::string begins = "files  123456  ";
    EXPECT_THAT(shown, StartsWith(begins.substr(0, std::min(begins.size(), shown.size()))));
    if (GetParam() >= 80) {
        EXPECT_EQ(shown.size(), std::size_t{GetParam()} - 1);
        EXPECT_THAT(shown, testing::EndsWith("\\end.exe"));
    }
}

INSTANTIATE_TEST_SUITE_P(Widths, Terminals, testing::Values(1, 2, 5, 10, 20, 24, 28, 40, 80, 132, 250));

#endif

}  // namespace
}  // namespace kel::frontend
