// Where results go: standard output, or a file that the command line names.
#pragma once

#include <cstdio>
#include <string>

#include "frontend/Output.h"

namespace kel::frontend {

class ResultFile {
public:
    /// @param name file of the host, made or emptied at once; empty: the results go to `standard`
    ResultFile(const std::string& name, std::FILE* standard);
    ~ResultFile();
    ResultFile(const ResultFile&) = delete;
    ResultFile& operator=(const ResultFile&) = delete;

    /// Why the file can't be written; empty when it can.
    [[nodiscard]] const std::string& Problem() const { return problem_; }
    /// The stream; null after a problem.
    [[nodiscard]] std::FILE* Stream() const { return stream_; }

private:
    bool own_;
    std::FILE* stream_;
    std::string problem_;
};

}  // namespace kel::frontend
