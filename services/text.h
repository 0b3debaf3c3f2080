// Small text functions of the host.
#pragma once

#include <string>

// 0 if equal; otherwise negative or positive, in byte order.
int gen_strcmp(const char* a, const char* b);
// The same, ignoring the case of ASCII letters.
int gen_stricmp(const char* a, const char* b);
// Copies `from` with its closing zero to `to`; the caller sees to the room.
void gen_strcpy(char* to, const char* from);
// Brings ASCII letters to upper case in place and returns the text.
std::string& stl_toupper(std::string& text);

class MEM_DETAIL {
  public:
    // Replaces *text by the printf-style formatted text.
    static void stl_raw_sprintf(std::string* text, const char* format, ...);
};

// Names the module of a source file to the host's memory service.
class MEM_INITIALIZER {
  public:
    explicit MEM_INITIALIZER(const char*) {}
};
