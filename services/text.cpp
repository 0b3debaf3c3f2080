#include "services/text.h"

#include "services/host_state.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>

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

std::string pgm_host::format_text(const char* format, std::va_list args) {
    char* text = nullptr;
    if (::vasprintf(&text, format, args) < 0) return {};
    const std::unique_ptr<char, decltype(&std::free)> owner(text, &std::free);
    return text;
}
