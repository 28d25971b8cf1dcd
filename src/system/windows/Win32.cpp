#include "windows/Win32.h"

namespace kel::windows {

std::wstring Widen(std::string_view text, UINT codePage) {
    const int bytes = static_cast<int>(text.size());
    const int units = ::MultiByteToWideChar(codePage, 0, text.data(), bytes, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(units), L'\0');
    ::MultiByteToWideChar(codePage, 0, text.data(), bytes, wide.data(), units);
    return wide;
}

std::string Narrow(std::wstring_view text, UINT codePage, DWORD flags) {
    const int units = static_cast<int>(text.size());
    const int bytes = ::WideCharToMultiByte(codePage, flags, text.data(), units, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(bytes), '\0');
    ::WideCharToMultiByte(codePage, flags, text.data(), units, narrow.data(), bytes, nullptr, nullptr);
    return narrow;
}

}  // namespace kel::windows
