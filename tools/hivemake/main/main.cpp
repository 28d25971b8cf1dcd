// hivemake: makes a registry hive of JSON lines as hivedump writes them. See docs/hives.md.
#include <iostream>
#include <string>
#include <vector>

#include "hivemake/CommandLine.h"

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    return kel::hivemake::Run(arguments, std::cin, std::cout, std::cerr);
}
