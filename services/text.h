// Small text functions of the host.
#pragma once

#include <string>

// 0 if the two are equal but for the case of ASCII letters; otherwise negative or positive, in
// byte order.
int gen_stricmp(const char* a, const char* b);
// Brings ASCII letters to upper case in place and returns the text.
std::string& stl_toupper(std::string& text);
