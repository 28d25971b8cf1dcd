#include <cstdio>
#include <exception>

#include "frontend/CommandLine.h"
#include "frontend/ExitCodes.h"

int main(int argc, char** argv) {
    try {
        return kel::frontend::Run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ombrelane: %s\n", error.what());
        return kel::frontend::ExitIncomplete;
    }
}
