// The log of a companion program.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/ScratchMachine.h"

namespace kel::test {

/// The lines without their dates, each of which must have one; empty without a log.
/// @param folder of the user's data, with a trailing backslash
inline std::vector<std::string> LogLines(const platform::Platform& platform, const std::string& folder,
                                         const std::string& program) {
    std::vector<std::string> lines;
    const std::string path = folder + "logs\\" + program + ".log";
    if (!platform.files->PathExists(path)) {
        return lines;
    }
    std::string text = ReadFile(platform, path);
    for (std::size_t end = text.find("\r\n"); end != std::string::npos; end = text.find("\r\n")) {
        const std::size_t behindDate = text.find("::");
        EXPECT_LT(behindDate, end) << text;
        EXPECT_GT(behindDate, 0U) << text;
        lines.push_back(text.substr(behindDate + 2, end - behindDate - 2));
        text.erase(0, end + 2);
    }
    EXPECT_EQ(text, "") << "the last line has no end";
    return lines;
}

}  // namespace kel::test
