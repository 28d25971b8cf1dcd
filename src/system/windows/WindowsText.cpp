#include "windows/WindowsText.h"

#include <windows.h>

#include <algorithm>

#include "windows/Win32.h"

namespace kel::windows {

std::string WindowsText::ToLower(std::string_view text) {
    std::string lower(text);
    ::CharLowerBuffA(lower.data(), static_cast<DWORD>(lower.size()));
    return lower;
}

std::string WindowsText::ToUpper(std::string_view text) {
    std::string upper(text);
    ::CharUpperBuffA(upper.data(), static_cast<DWORD>(upper.size()));
    return upper;
}

std::size_t WindowsText::Prefix(std::string_view text, std::size_t count) {
    CPINFO codePage{};
    if (::GetCPInfo(CP_ACP, &codePage) == FALSE || codePage.MaxCharSize == 1) {
        return std::min(text.size(), count);
    }
    const bool utf8 = ::GetACP() == CP_UTF8;
    std::size_t end = 0;
    for (; count > 0 && end < text.size(); --count) {
        const bool pair = !utf8 && ::IsDBCSLeadByte(static_cast<BYTE>(text[end])) != FALSE;
        end = std::min(end + (pair ? 2 : 1), text.size());
        while (utf8 && end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) {
            ++end;
        }
    }
    return end;
}

std::string WindowsText::ToUtf8(std::string_view text) {
    return Narrow(Widen(text), CP_UTF8);
}

std::string WindowsText::FromUtf8(std::string_view text) {
    const std::wstring wide = Widen(text, CP_UTF8);
    // Nothing that only looks alike. 95 and NT 4 don't know the flag and refuse the call.
    std::string exact = Narrow(wide, CP_ACP, WC_NO_BEST_FIT_CHARS);
    return exact.empty() && !wide.empty() ? Narrow(wide) : exact;
}

}  // namespace kel::windows
