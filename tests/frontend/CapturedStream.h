// A stream of the C library whose text a test reads afterwards.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

namespace kel::test {

class CapturedStream {
public:
    CapturedStream() : file_(std::tmpfile()) { EXPECT_NE(file_, nullptr); }
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
    std::FILE* file_;
};

}  // namespace kel::test
