// Judging files by themselves.
#pragma once

#include "tools/zorva/context.h"

#include <string>

namespace zorva_tool {

// Judges a file that another command is to read. If anything is found, that is the answer, as
// 'zorva lint' gives it, and the result isn't exit_done.
int judge_file(context& context, const std::string& file);

}  // namespace zorva_tool
