#include "cli/Commands.h"

#include <iostream>
#include <string>
#include <unistd.h>
#include <vector>

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    return zkcli::RunCommandLine(args, {std::cout, std::cerr, ::isatty(STDERR_FILENO) == 1});
}
