// A component server whose one class is {6B656C00-7465-7374-0000-NAME}, where NAME is its file's name without the
// extension: twelve hexadecimal digits. It answers E_ACCESSDENIED, and does nothing, while a file of its own name with
// ".refuse" behind it is there.
#include <windows.h>

#include <cstring>

namespace {

HINSTANCE self = nullptr;

struct Names {
    char file[MAX_PATH] = {};
    char key[MAX_PATH] = {};
    char server[MAX_PATH] = {};
};

HRESULT Find(Names& names) {
    if (::GetModuleFileNameA(self, names.file, MAX_PATH - 16) == 0) {
        return E_FAIL;
    }
    char refusal[MAX_PATH] = {};
    ::lstrcpyA(refusal, names.file);
    ::lstrcatA(refusal, ".refuse");
    if (::GetFileAttributesA(refusal) != INVALID_FILE_ATTRIBUTES) {
        return E_ACCESSDENIED;
    }
    const char* name = std::strrchr(names.file, '\\');
    if (name == nullptr || std::strlen(name + 1) != 16) {
        return E_UNEXPECTED;
    }
    ::lstrcpyA(names.key, "CLSID\\{6B656C00-7465-7374-0000-");
    std::strncat(names.key, name + 1, 12);
    std::strcat(names.key, "}");
    ::lstrcpyA(names.server, names.key);
    std::strcat(names.server, "\\InprocServer32");
    return S_OK;
}

}  // namespace

BOOL WINAPI DllMain(HINSTANCE module, DWORD /*reason*/, LPVOID /*reserved*/) {
    self = module;
    return TRUE;
}

extern "C" HRESULT WINAPI DllRegisterServer() {
    Names names;
    if (const HRESULT result = Find(names); FAILED(result)) {
        return result;
    }
    const LONG error = ::RegSetValueA(HKEY_CLASSES_ROOT, names.server, REG_SZ, names.file,
                                      static_cast<DWORD>(std::strlen(names.file)));
    return error == ERROR_SUCCESS ? S_OK : HRESULT_FROM_WIN32(static_cast<unsigned>(error));
}

extern "C" HRESULT WINAPI DllUnregisterServer() {
    Names names;
    if (const HRESULT result = Find(names); FAILED(result)) {
        return result;
    }
    ::RegDeleteKeyA(HKEY_CLASSES_ROOT, names.server);
    ::RegDeleteKeyA(HKEY_CLASSES_ROOT, names.key);
    return S_OK;
}
