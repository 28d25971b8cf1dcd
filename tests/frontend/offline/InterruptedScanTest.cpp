// Ctrl-C: the scan ends early, says so, and what it found until then is there.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <thread>

#include "ScanRun.h"
#include "frontend/CommandLine.h"
#include "frontend/ExitCodes.h"
#include "frontend/Interrupt.h"

namespace kel::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

// The action for SIGINT at the moment.
struct sigaction Action() {
    struct sigaction action {};
    ::sigaction(SIGINT, nullptr, &action);
    return action;
}

class InterruptedScan : public ScanRun {
protected:
    InterruptedScan() {
        MakeTables();
        previous_ = std::signal(SIGINT, SIG_IGN);
    }
    ~InterruptedScan() override { std::signal(SIGINT, previous_); }

    /// Runs with both streams into a pipe that holds less than what is written while it scans, interrupts it once it
    /// has begun, and only then reads.
    Outcome InterruptWhileScanning(const std::vector<std::string>& more) const {
        int ends[2];
        EXPECT_EQ(::pipe(ends), 0);
        EXPECT_EQ(::fcntl(ends[1], F_SETPIPE_SZ, 4096), 4096);
        std::FILE* writing = ::fdopen(ends[1], "w");
        std::setvbuf(writing, nullptr, _IOLBF, BUFSIZ);
        Outcome outcome;
        std::atomic<bool> ended = false;
        std::thread reader([&] {
            while (Action().sa_handler == SIG_IGN && !ended) {
                std::this_thread::yield();
            }
            ::kill(::getpid(), SIGINT);
            char block[4096];
            for (ssize_t size = 0; (size = ::read(ends[0], block, sizeof block)) > 0;) {
                outcome.out.append(block, static_cast<std::size_t>(size));
            }
        });
        std::vector<std::string> arguments{"scan",          "--machine",   Machine().string(), "--data",
                                           Data().string(), "--user-data", UserData().string()};
        arguments.insert(arguments.end(), more.begin(), more.end());
        outcome.code = frontend::Run(arguments, {writing, writing});
        ended = true;
        std::fclose(writing);
        reader.join();
        ::close(ends[0]);
        return outcome;
    }

private:
    void (*previous_)(int);
};

TEST_F(InterruptedScan, EndsWithTheReasonAndCodeTwo) {
    for (int number = 0; number < 200; ++number) {
        Write("machine/" + std::to_string(1000 + number) + ".exe", Bad());
    }
    const Outcome outcome = InterruptWhileScanning({"--format", "jsonl"});
    EXPECT_EQ(outcome.code, frontend::ExitIncomplete);
    const auto lines = Lines(outcome.out);
    ASSERT_GE(lines.size(), 2U);
    EXPECT_LT(lines.size(), 202U) << "it was not interrupted";
    EXPECT_THAT(lines.front(), StartsWith(R"({"type":"start",)"));
    EXPECT_THAT(lines.back(), StartsWith(R"({"type":"summary","complete":false,)"));
    EXPECT_THAT(lines.back(), HasSubstr(R"("abort_reason":"Interrupted by the user",)"));
    EXPECT_THAT(lines.back(), HasSubstr("\"locations\":" + std::to_string(lines.size() - 2) + ","));
    EXPECT_EQ(Action().sa_handler, SIG_IGN);
}

TEST_F(InterruptedScan, InTextTheLastLineSaysSo) {
    for (int number = 0; number < 200; ++number) {
        Write("machine/" + std::to_string(1000 + number) + ".zip", "no archive");  // each is told at once
    }
    const Outcome outcome = InterruptWhileScanning({"--zips"});
    EXPECT_EQ(outcome.code, frontend::ExitIncomplete);
    EXPECT_LT(Lines(outcome.out).size(), 200U) << "it was not interrupted";
    EXPECT_EQ(Lines(outcome.out).back(), "The scan was aborted: Interrupted by the user");
}

TEST_F(InterruptedScan, OneSignalIsAFlagAndTheNextEndsTheProgram) {
    {
        const frontend::Interrupt interrupt;
        EXPECT_FALSE(frontend::Interrupt::Requested());
        std::raise(SIGINT);
        EXPECT_TRUE(frontend::Interrupt::Requested());
        EXPECT_EQ(Action().sa_handler, SIG_DFL);
    }
    EXPECT_EQ(Action().sa_handler, SIG_IGN);
    const frontend::Interrupt again;
    EXPECT_FALSE(frontend::Interrupt::Requested());
}

}  // namespace
}  // namespace kel::test
