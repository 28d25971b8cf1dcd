#include "frontend/Question.h"

#include <cstdio>

#ifndef _WIN32
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#endif

#include "frontend/Interrupt.h"
#include "frontend/Terminal.h"

namespace kel::frontend {

namespace {

#ifdef _WIN32

int NextByte(std::FILE* stream) {
    return Interrupt::Requested() ? -1 : std::fgetc(stream);
}

#else

// An interruption is an answer too: waiting is what it ends, while a read would go on behind it.
int NextByte(std::FILE* stream) {
    const int file = fileno(stream);
    while (!Interrupt::Requested()) {
        pollfd waiting{file, POLLIN, 0};
        // Not for ever: a signal that comes between the look at the flag and the waiting would be missed.
        constexpr int Milliseconds = 200;
        const int ready = ::poll(&waiting, 1, Milliseconds);
        if (ready < 0 && errno != EINTR) {
            return -1;
        }
        if (ready <= 0) {
            continue;
        }
        unsigned char byte = 0;
        return ::read(file, &byte, 1) == 1 ? byte : -1;
    }
    return -1;
}

#endif

}  // namespace

bool CanAsk(const Streams& streams) {
    return streams.in != nullptr && IsTerminal(streams.in) && IsTerminal(streams.err);
}

bool Ask(const Streams& streams, const std::string& question) {
    std::fputs(question.c_str(), streams.err);
    std::fflush(streams.err);
    std::string answer;
    int byte = 0;
    while ((byte = NextByte(streams.in)) >= 0 && byte != '\n') {
        if (byte >= 'A' && byte <= 'Z') {
            byte += 'a' - 'A';
        }
        if (byte != ' ' && byte != '\r') {
            answer.push_back(static_cast<char>(byte));
        }
    }
    // What was typed before an interruption or the end of the input was not sent off.
    return byte == '\n' && (answer == "y" || answer == "yes");
}

}  // namespace kel::frontend
