// The code page in which the programs of a machine wrote their files.
#pragma once

#include <iconv.h>

#include <string>
#include <string_view>

namespace kel::offline {

/// Converts to UTF-8. One thread.
class AnsiCodePage {
public:
    /// Western European (1252), which is also what an unknown one is taken for.
    AnsiCodePage() : AnsiCodePage("1252") {}
    /// @param number as the registry has it: `1252`, `932`
    explicit AnsiCodePage(const std::string& number);
    ~AnsiCodePage();
    AnsiCodePage(const AnsiCodePage&) = delete;
    AnsiCodePage& operator=(const AnsiCodePage&) = delete;
    AnsiCodePage(AnsiCodePage&& other) noexcept;
    AnsiCodePage& operator=(AnsiCodePage&& other) noexcept;

    /// Bytes that are no character there become the character of their number, as the system has them.
    [[nodiscard]] std::string ToUtf8(std::string_view bytes) const;

private:
    iconv_t converter_;
};

}  // namespace kel::offline
