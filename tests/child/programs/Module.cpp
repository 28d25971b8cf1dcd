// A module that does nothing but be loaded.
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE /*module*/, DWORD /*reason*/, LPVOID /*reserved*/) {
    return TRUE;
}
