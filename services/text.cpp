#include "services/text.h"

#include "services/host_state.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

// Not the C library's, which asks the locale.
char upper(char letter) {
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

}  // namespace

int gen_strcmp(const char* a, const char* b) { return std::strcmp(a, b); }

int gen_stricmp(const char* a, const char* b) {
    while (*a != '\0' && upper(*a) == upper(*b)) {
        ++a;
        ++b;
    }
    return static_cast<unsigned char>(upper(*a)) - static_cast<unsigned char>(upper(*b));
}

void gen_strcpy(char* to, const char* from) { std::memcpy(to, from, std::strlen(from) + 1); }

std::string& stl_toupper(std::string& text) {
    for (char& letter : text) letter = upper(letter);
    return text;
}

std::string pgm_host::format_text(const char* format, std::va_list args) {
    std::va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(nullptr, 0, format, args);
    std::string text(length < 0 ? 0 : static_cast<std::size_t>(length), '\0');
    if (length > 0) std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

void MEM_DETAIL::stl_raw_sprintf(std::string* text, const char* format, ...) {
    std::va_list args;
    va_start(args, format);
    *text = pgm_host::format_text(format, args);
    va_end(args);
}
