// What is wrong with a value, a definition or a file.
#pragma once

#include "services/types.h"

#include <string>

// One thing that keeps a value from being good, or a definition or a whole file from loading.
struct ZORVA_FINDING {
    unsigned id;           // of the message; 0 where the file itself is at fault
    std::string sentence;  // what is wrong
    dword line;            // in the file, from 1; 0 if not known
};
