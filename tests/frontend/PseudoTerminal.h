// A terminal of the test's own, of any width. Where the host has such.
#pragma once

#ifndef _WIN32

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <string>

namespace kel::test {

class PseudoTerminal {
public:
    explicit PseudoTerminal(unsigned short columns) : master_(::posix_openpt(O_RDWR | O_NOCTTY)) {
        EXPECT_GE(master_, 0);
        EXPECT_EQ(::grantpt(master_), 0);
        EXPECT_EQ(::unlockpt(master_), 0);
        const int slave = ::open(::ptsname(master_), O_RDWR | O_NOCTTY);
        EXPECT_GE(slave, 0);
        termios settings{};
        EXPECT_EQ(::tcgetattr(slave, &settings), 0);
        ::cfmakeraw(&settings);
        EXPECT_EQ(::tcsetattr(slave, TCSANOW, &settings), 0);
        winsize size{};
        size.ws_col = columns;
        size.ws_row = 24;
        EXPECT_EQ(::ioctl(slave, TIOCSWINSZ, &size), 0);
        file_ = ::fdopen(slave, "w");
        EXPECT_NE(file_, nullptr);
    }
    ~PseudoTerminal() {
        std::fclose(file_);
        ::close(master_);
    }
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    [[nodiscard]] std::FILE* File() const { return file_; }

    /// Types on its keyboard; read from its file's descriptor.
    void Type(const std::string& text) const {
        EXPECT_EQ(::write(master_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    /// What was written on it since the last call; at most a few thousand bytes may wait.
    [[nodiscard]] std::string Read() const {
        // What is written arrives some time later, so a mark behind it tells where it ends.
        std::fputc('\0', file_);
        std::fflush(file_);
        std::string text;
        char block[4096];
        while (text.empty() || text.back() != '\0') {
            const ssize_t size = ::read(master_, block, sizeof block);
            if (size <= 0) {
                ADD_FAILURE() << "the terminal can't be read";
                return text;
            }
            text.append(block, static_cast<std::size_t>(size));
        }
        text.pop_back();
        return text;
    }

private:
    int master_;
    std::FILE* file_ = nullptr;
};

}  // namespace kel::test

#endif
