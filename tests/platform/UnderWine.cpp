#include "PlatformTest.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace kel::test {

bool UnderWine() {
#ifdef _WIN32
    return ::GetProcAddress(::GetModuleHandleA("ntdll.dll"), "wine_get_version") != nullptr;
#else
    return false;
#endif
}

}  // namespace kel::test
