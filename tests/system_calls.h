// System calls that the test program stands in for, for the services too.
#pragma once

#include <string>
#include <vector>

// What the calls are to do, and what they have done.
struct SYSTEM_CALLS {
    bool hides_size = false;           // fstat finds an empty file
    int entries_left = -1;             // readdir fails after so many; -1: never
    std::vector<std::string> flushed;  // "PATH SIZE"
};
extern SYSTEM_CALLS the_system;
