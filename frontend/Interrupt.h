// Ctrl-C as a flag that the scan asks for.
#pragma once

namespace kel::frontend {

/// Catches SIGINT for its lifetime. A second one ends the program at once.
class Interrupt {
public:
    Interrupt();
    ~Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;

    [[nodiscard]] static bool Requested();

private:
    void (*previous_)(int);
};

}  // namespace kel::frontend
