// kelsdb: makes, shows and checks the engine's table files. See docs/kelsdb.md.
#include <iostream>
#include <string>
#include <vector>

#include "kelsdb/CommandLine.h"

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

int main(int argc, char** argv) {
#ifdef _WIN32
    // Tables go through the standard streams as UTF-8 with their own line ends.
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
#endif
    std::ios::sync_with_stdio(false);
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    return kel::kelsdb::Run(arguments, {std::cin, std::cout, std::cerr});
}
