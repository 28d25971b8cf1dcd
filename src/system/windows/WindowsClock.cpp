#include "windows/WindowsClock.h"

#include <windows.h>
// After windows.h.
#include <objbase.h>
#include <oleauto.h>

#include <cstring>

#include "windows/TickCount.h"
#include "windows/Win32.h"

namespace kel::windows {

namespace {

using platform::Date;
using platform::Result;
using platform::SysError;

struct BstrPolicy {
    using Handle = BSTR;
    static Handle Invalid() { return nullptr; }
    static void Close(Handle handle) { ::SysFreeString(handle); }
};
using OwnedBstr = Owned<BstrPolicy>;

}  // namespace

Date WindowsClock::Now() {
    SYSTEMTIME time{};
    ::GetLocalTime(&time);
    time.wMilliseconds = 0;
    Date date;
    ::SystemTimeToVariantTime(&time, &date.days);
    return date;
}

std::uint64_t WindowsClock::Ticks() {
    return TickCount();
}

std::string WindowsClock::DateText(Date date) {
    OwnedBstr text;
    if (FAILED(::VarBstrFromDate(date.days, LOCALE_USER_DEFAULT, 0, text.Out()))) {
        return {};
    }
    return Narrow({text.Get(), ::SysStringLen(text.Get())});
}

std::string WindowsClock::ShortDateText(Date date) {
    SYSTEMTIME time{};
    if (::VariantTimeToSystemTime(date.days, &time) == FALSE) {
        return {};
    }
    const int room = ::GetDateFormatA(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &time, nullptr, nullptr, 0);
    if (room <= 0) {
        return {};
    }
    std::string text(static_cast<std::size_t>(room), '\0');
    ::GetDateFormatA(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &time, nullptr, text.data(), room);
    text.pop_back();  // its terminator
    return text;
}

Result<Date> WindowsClock::ParseDate(std::string_view text) {
    Date date;
    std::wstring wide = Widen(text);
    if (FAILED(::VarDateFromStr(wide.data(), LOCALE_USER_DEFAULT, 0, &date.days))) {
        return SysError::InvalidData;
    }
    return date;
}

platform::Guid WindowsClock::NewGuid() {
    GUID made{};
    ::CoCreateGuid(&made);
    platform::Guid guid{};
    static_assert(sizeof(made) == sizeof(guid));
    std::memcpy(guid.data(), &made, sizeof(made));
    return guid;
}

}  // namespace kel::windows
