// Judging files by themselves.
#pragma once

#include "tools/zorva/context.h"

#include <string>

namespace zorva_tool {

// Judges a document that another command is to take. If anything is found, that is the answer, as
// 'zorva lint' gives it, and the result isn't exit_done.
int judge_document(context& context, const std::string& bytes, const std::string& name);
// The same answer for one that can't be read.
int tell_unreadable(context& context, const std::string& name, const std::string& why);

}  // namespace zorva_tool
