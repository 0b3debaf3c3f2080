#include "services/text.h"

namespace {

// Not the C library's, which asks the locale.
char upper(char letter) {
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

}  // namespace

int gen_stricmp(const char* a, const char* b) {
    while (*a != '\0' && upper(*a) == upper(*b)) {
        ++a;
        ++b;
    }
    return static_cast<unsigned char>(upper(*a)) - static_cast<unsigned char>(upper(*b));
}

std::string& stl_toupper(std::string& text) {
    for (char& letter : text) letter = upper(letter);
    return text;
}
