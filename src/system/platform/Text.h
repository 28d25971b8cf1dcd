// Letter case and comparison in the machine's code page.
#pragma once

#include <string>
#include <string_view>

namespace kel::platform {

/// Text rules of the machine: ANSI with its locale on Windows, UTF-8 offline. Bytes that are no character in that
/// code page pass through unchanged. Lengths in bytes may change offline. Never throws.
class Text {
public:
    virtual ~Text() = default;
    virtual std::string ToLower(std::string_view text) = 0;
    virtual std::string ToUpper(std::string_view text) = 0;
    /// Bytes of the longest beginning of `text` that has at most `count` characters, cut between characters.
    virtual std::size_t Prefix(std::string_view text, std::size_t count) = 0;
    /// Conversion for files that hold UTF-8. What can't be converted becomes `?`.
    virtual std::string ToUtf8(std::string_view text) = 0;
    virtual std::string FromUtf8(std::string_view text) = 0;
    /// What a file of the machine holds in the machine's code page, as text of the engine.
    virtual std::string FromAnsi(std::string_view bytes) = 0;
};

}  // namespace kel::platform
