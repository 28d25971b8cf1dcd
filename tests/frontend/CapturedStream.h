// A stream of the C library whose text a test reads afterwards.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#ifdef _WIN32
#include <process.h>
#endif

namespace kel::test {

class CapturedStream {
public:
    CapturedStream() : file_(Open()) { EXPECT_NE(file_, nullptr); }
    ~CapturedStream() { std::fclose(file_); }
    CapturedStream(const CapturedStream&) = delete;
    CapturedStream& operator=(const CapturedStream&) = delete;

    [[nodiscard]] std::FILE* File() const { return file_; }

    /// Everything that was written on it so far.
    [[nodiscard]] std::string Text() const {
        std::fflush(file_);
        std::string text;
        char block[4096];
        std::rewind(file_);
        for (std::size_t size = 0; (size = std::fread(block, 1, sizeof block, file_)) > 0;) {
            text.append(block, size);
        }
        std::fseek(file_, 0, SEEK_END);
        return text;
    }

    /// The same in lines without their ends; text behind the last line end is a line too.
    [[nodiscard]] std::vector<std::string> Lines() const {
        std::vector<std::string> lines;
        const std::string text = Text();
        for (std::size_t start = 0; start < text.size();) {
            const std::size_t end = text.find('\n', start);
            lines.push_back(text.substr(start, end - start));
            start = end == std::string::npos ? text.size() : end + 1;
        }
        return lines;
    }

private:
    static std::FILE* Open() {
#ifdef _WIN32
        // The names that the C library makes up are those of other tests that start at the same moment.
        static int made = 0;
        const char* folder = std::getenv("TEMP");
        const std::string name = std::string(folder != nullptr ? folder : ".") + "\\kel-" + std::to_string(_getpid()) +
                                 "-" + std::to_string(++made);
        return std::fopen(name.c_str(), "w+bTD");  // gone with its last handle
#else
        return std::tmpfile();
#endif
    }

    std::FILE* file_;
};

}  // namespace kel::test
