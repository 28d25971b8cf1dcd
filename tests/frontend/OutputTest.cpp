// Results are written whole, at once, and never lost without notice.
#include "frontend/Output.h"

#include <gtest/gtest.h>

#include "CapturedStream.h"

#ifndef _WIN32
#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>
#include <utility>
#endif

namespace kel::frontend {
namespace {

TEST(Outputs, TextIsThereAsSoonAsItIsWritten) {
    const test::CapturedStream stream;
    Output out(stream.File());
    out.Write("one\n");
    EXPECT_EQ(stream.Text(), "one\n");
    out.Write("");
    out.Write("two\n");
    EXPECT_EQ(stream.Text(), "one\ntwo\n");
    EXPECT_EQ(out.Problem(), "");
}

TEST(Outputs, LineEndsThatAreKeptStayOneByte) {
    const test::CapturedStream stream;
    Output out(stream.File());
    out.KeepLineEnds();
    out.Write("a\nb\n");
    EXPECT_EQ(stream.Text().find('\r'), std::string::npos);
    EXPECT_EQ(stream.Text(), "a\nb\n");
}

#ifndef _WIN32

TEST(Outputs, AFullDiskIsNoticedOnceAndNothingMoreIsWritten) {
    std::FILE* full = std::fopen("/dev/full", "w");
    ASSERT_NE(full, nullptr);
    Output out(full);
    EXPECT_EQ(out.Problem(), "");
    out.Write("");
    EXPECT_EQ(out.Problem(), "");
    out.Write("one\n");
    EXPECT_EQ(out.Problem(), "No space left on device");
    out.Write("two\n");
    EXPECT_EQ(out.Problem(), "No space left on device");
    std::fclose(full);
}

TEST(Outputs, AStreamThatIsNotForWritingIsNoticed) {
    std::FILE* null = std::fopen("/dev/null", "r");
    ASSERT_NE(null, nullptr);
    Output out(null);
    out.Write("one\n");
    EXPECT_EQ(out.Problem(), "Bad file descriptor");
    std::fclose(null);
}

// A pipe with a stream at its writing end.
class Pipes : public testing::Test {
protected:
    void SetUp() override {
        int ends[2];
        ASSERT_EQ(::pipe(ends), 0);
        reading = ends[0];
        writing = ::fdopen(ends[1], "w");
        ASSERT_NE(writing, nullptr);
    }
    void TearDown() override {
        std::fclose(writing);
        if (reading >= 0) {
            ::close(reading);
        }
    }

    int reading = -1;
    std::FILE* writing = nullptr;
};

TEST_F(Pipes, EachTextArrivesInOnePiece) {
    Output out(writing);
    const std::string line = std::string(4000, 'x') + "\n";  // more than the C library's buffer takes at once
    out.Write("a\n");
    out.Write(line);
    char block[8192];
    EXPECT_EQ(::read(reading, block, 2), 2);
    EXPECT_EQ(::read(reading, block, sizeof block), static_cast<ssize_t>(line.size()));
}

TEST_F(Pipes, MoreThanThePipeHoldsArrivesInFull) {
    std::string text;
    for (int number = 0; text.size() < 500'000; ++number) {
        text += std::to_string(number) + "\n";
    }
    std::string received;
    std::thread reader([&] {
        char block[10'000];
        while (received.size() < text.size()) {
            const ssize_t size = ::read(reading, block, sizeof block);
            if (size <= 0) {
                break;
            }
            received.append(block, static_cast<std::size_t>(size));
        }
    });
    Output out(writing);
    out.Write(text);
    reader.join();
    EXPECT_EQ(out.Problem(), "");
    EXPECT_EQ(received, text);
}

TEST_F(Pipes, AReaderThatWentAwayIsNoticed) {
    const auto previous = std::signal(SIGPIPE, SIG_IGN);
    ::close(std::exchange(reading, -1));
    Output out(writing);
    out.Write("one\n");
    EXPECT_EQ(out.Problem(), "Broken pipe");
    std::signal(SIGPIPE, previous);
}

TEST_F(Pipes, ASignalInBetweenLosesNothing) {
    struct sigaction quiet {};
    struct sigaction previous {};
    quiet.sa_handler = [](int) {};  // without SA_RESTART: a write that waits ends with EINTR
    ASSERT_EQ(::sigaction(SIGUSR1, &quiet, &previous), 0);
    const std::string text(300'000, 'y');
    const pthread_t writer = ::pthread_self();
    std::string received;
    std::thread reader([&] {
        for (int times = 0; times < 20; ++times) {
            ::pthread_kill(writer, SIGUSR1);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        char block[10'000];
        while (received.size() < text.size()) {
            const ssize_t size = ::read(reading, block, sizeof block);
            if (size <= 0) {
                break;
            }
            received.append(block, static_cast<std::size_t>(size));
        }
    });
    Output out(writing);
    out.Write(text);
    reader.join();
    ::sigaction(SIGUSR1, &previous, nullptr);
    EXPECT_EQ(out.Problem(), "");
    EXPECT_EQ(received, text);
}

#endif

}  // namespace
}  // namespace kel::frontend
