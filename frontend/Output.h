// The program's streams, and results that are written whole or not without notice.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace kel::frontend {

/// Where results and diagnostics go; both stay the caller's.
struct Streams {
    std::FILE* out;
    std::FILE* err;
    std::FILE* in = nullptr;  ///< where questions are answered; null: nobody can be asked
};

/// A stream of results. Nothing is held back, and the first failure is remembered.
class Output {
public:
    /// `stream` stays the caller's, who writes nothing else on it meanwhile.
    explicit Output(std::FILE* stream) : stream_(stream) {}

    /// Line ends go out as they are. Without it, on Windows, each becomes the two characters that the system uses.
    void KeepLineEnds();
    /// Hands the whole text to the system in one write; the rest in further ones only when that takes less. After a
    /// failure nothing more is written.
    void Write(std::string_view text);

    /// Why something could not be written; empty when all was.
    [[nodiscard]] const std::string& Problem() const { return problem_; }

private:
    std::FILE* stream_;
    std::string problem_;
};

}  // namespace kel::frontend
