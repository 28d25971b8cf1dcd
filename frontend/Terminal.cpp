#include "frontend/Terminal.h"

#include <cstdlib>

#ifdef _WIN32
#include <io.h>
#else
#include <sys/ioctl.h>
#include <unistd.h>
#endif

namespace kel::frontend {

bool IsTerminal(std::FILE* stream) {
#ifdef _WIN32
    return _isatty(_fileno(stream)) != 0;
#else
    return isatty(fileno(stream)) != 0;
#endif
}

bool MayColour(std::FILE* stream) {
    const char* noColour = std::getenv("NO_COLOR");
    return (noColour == nullptr || *noColour == '\0') && IsTerminal(stream);
}

int Columns(std::FILE* stream) {
#ifdef _WIN32
    (void)stream;
    return 80;
#else
    winsize size{};
    return ioctl(fileno(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
#endif
}

}  // namespace kel::frontend
