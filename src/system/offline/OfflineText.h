// Text rules of a machine that does not run: UTF-8, case as file and key names have it.
#pragma once

#include "offline/AnsiCodePage.h"
#include "platform/Text.h"

namespace kel::offline {

/// Letters change case by the table that file names are compared with, and by nothing else: so a path that was put
/// in lower case still opens the same file (ß, µ, ı and the Kelvin sign stay).
class OfflineText : public platform::Text {
public:
    std::string ToLower(std::string_view text) override;
    std::string ToUpper(std::string_view text) override;
    std::size_t Prefix(std::string_view text, std::size_t count) override;
    std::string ToUtf8(std::string_view text) override { return std::string(text); }
    std::string FromUtf8(std::string_view text) override { return std::string(text); }
    std::string FromAnsi(std::string_view bytes) override { return codePage_.ToUtf8(bytes); }

    /// The machine's code page, as the registry has its number.
    void SetCodePage(const std::string& number) { codePage_ = AnsiCodePage(number); }

private:
    AnsiCodePage codePage_;
};

/// A file name as it is compared: upper case, bytes that are no UTF-8 unchanged.
[[nodiscard]] std::string FoldName(std::string_view name);

/// Bytes of the UTF-8 character that begins at `at`; 0 when no valid one does. Lone surrogates in three bytes count as
/// characters.
[[nodiscard]] std::size_t CharacterLength(std::string_view text, std::size_t at);

}  // namespace kel::offline
