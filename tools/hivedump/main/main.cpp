// hivedump: shows what is in a registry hive. See docs/hives.md.
#include <iostream>
#include <string>
#include <vector>

#include "hivedump/CommandLine.h"

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    return kel::hivedump::Run(arguments, std::cout, std::cerr);
}
