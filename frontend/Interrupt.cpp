#include "frontend/Interrupt.h"

#include <csignal>

namespace kel::frontend {

namespace {

// Set inside a signal handler, so it can be nothing else than a static of this type.
volatile std::sig_atomic_t requested = 0;

extern "C" void OnInterrupt(int /*signal*/) {
    requested = 1;
    std::signal(SIGINT, SIG_DFL);
}

}  // namespace

Interrupt::Interrupt() : previous_(std::signal(SIGINT, OnInterrupt)) {
    requested = 0;
}

Interrupt::~Interrupt() {
    std::signal(SIGINT, previous_ == SIG_ERR ? SIG_DFL : previous_);
}

bool Interrupt::Requested() {
    return requested != 0;
}

}  // namespace kel::frontend
