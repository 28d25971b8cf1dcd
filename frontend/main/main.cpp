#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "frontend/CommandLine.h"
#include "frontend/ExitCodes.h"

int main(int argc, char** argv) {
    try {
        return kel::frontend::Run(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc),
                                  {stdout, stderr, stdin});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ombrelane: %s\n", error.what());
        return kel::frontend::ExitIncomplete;
    }
}
