// The tool as one function, so that a test can run it.
#pragma once

#include "tools/zorva/output.h"

#include <string>
#include <vector>

namespace zorva_tool {

// Runs the command that `arguments` (without the program's name) ask for; returns its exit code.
int run(const std::vector<std::string>& arguments, const streams& streams);

}  // namespace zorva_tool
