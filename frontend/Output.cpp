#include "frontend/Output.h"

#include <cerrno>
#include <cstring>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#else
#include <unistd.h>
#endif

namespace kel::frontend {

namespace {

// The system's own write: the C library splits what is longer than its buffer.
std::ptrdiff_t SystemWrite(std::FILE* stream, std::string_view text) {
#ifdef _WIN32
    return _write(_fileno(stream), text.data(), static_cast<unsigned>(text.size()));
#else
    return ::write(fileno(stream), text.data(), text.size());
#endif
}

}  // namespace

void Output::KeepLineEnds() {
#ifdef _WIN32
    std::fflush(stream_);
    _setmode(_fileno(stream_), _O_BINARY);
#endif
}

void Output::Write(std::string_view text) {
    while (!text.empty() && problem_.empty()) {
        const std::ptrdiff_t written = SystemWrite(stream_, text);
        if (written > 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (written == 0 || errno != EINTR) {
            problem_ = written == 0 ? "nothing is taken" : std::strerror(errno);
        }
    }
}

}  // namespace kel::frontend
