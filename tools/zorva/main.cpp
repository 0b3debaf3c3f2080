#include "tools/zorva/app.h"

#include <unistd.h>

#include <iostream>

int main(int argc, char** argv) {
    const bool err_is_terminal = ::isatty(STDERR_FILENO) == 1;
    const bool can_ask = err_is_terminal && ::isatty(STDIN_FILENO) == 1;
    const zorva_tool::streams streams{std::cout,
                                      std::cerr,
                                      ::isatty(STDOUT_FILENO) == 1,
                                      err_is_terminal,
                                      can_ask ? &std::cin : nullptr,
                                      &std::cin};
    return zorva_tool::run({argv + 1, argv + argc}, streams);
}
