// Letter case and code page of the machine.
#pragma once

#include "platform/Text.h"

namespace kel::windows {

class WindowsText final : public platform::Text {
public:
    std::string ToLower(std::string_view text) override;
    std::string ToUpper(std::string_view text) override;
    std::size_t Prefix(std::string_view text, std::size_t count) override;
    std::string ToUtf8(std::string_view text) override;
    std::string FromUtf8(std::string_view text) override;
    std::string FromAnsi(std::string_view bytes) override { return std::string(bytes); }
};

}  // namespace kel::windows
