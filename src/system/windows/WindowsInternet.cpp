#include "windows/WindowsInternet.h"

#include <windows.h>
// After windows.h.
#include <unknwn.h>

#include <string>

#include "windows/Win32.h"

namespace kel::windows {

using platform::SysError;

SysError WindowsInternet::Download(std::string_view url, std::string_view path) {
    // The library belongs to the browser, which a machine need not have.
    using Function = HRESULT(WINAPI*)(IUnknown*, LPCSTR, LPCSTR, DWORD, void*);
    static const auto download = Import<Function>("urlmon.dll", "URLDownloadToFileA");
    if (download == nullptr) {
        return SysError::ProcNotFound;
    }
    const std::string address(url.substr(0, url.find('\0')));
    const std::string file(path.substr(0, path.find('\0')));
    const HRESULT result = download(nullptr, address.c_str(), file.c_str(), 0, nullptr);
    if (result == S_OK) {
        return SysError::Success;
    }
    return HRESULT_FACILITY(result) == FACILITY_WIN32 && HRESULT_CODE(result) != 0
               ? static_cast<SysError>(HRESULT_CODE(result))
               : SysError::GeneralFailure;
}

}  // namespace kel::windows
