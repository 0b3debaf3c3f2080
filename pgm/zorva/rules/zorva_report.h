// Internal errors and debug traces of this library.
#pragma once

#include "services/message.h"

#include <fmt/format.h>
#include <fmt/printf.h>

#include <cstddef>
#include <exception>
#include <string>

// The text of argument `number` on a line of its own, through a format made for it.
template <class... Args>
std::string zorva_argument_text(std::size_t number, const Args&... args) {
    try {
        return fmt::vformat(fmt::sprintf("{%d}\n", number), fmt::make_format_args(args...));
    } catch (const std::exception&) {
        return "(unprintable)\n";
    }
}

// printf-style formatting for the texts of internal errors. A format that doesn't suit its
// arguments gives a text for diagnosis instead of an exception: the report must get through.
template <class... Args>
std::string zorva_format(const char* format, const Args&... args) {
    try {
        return fmt::sprintf(format, args...);
    } catch (const std::exception&) {
        std::string text =
            fmt::format("ERROR: args not compatible with format string\nformat: {}\n", format);
        for (std::size_t number = 0; number < sizeof...(args); ++number)
            text += fmt::format("arg[{}]: ", number) + zorva_argument_text(number, args...);
        return text;
    }
}

// Reports a broken invariant; the text is the condition as spelled.
#define ZORVA_ASSERT(condition)                                                                    \
    ((condition) ? static_cast<void>(0)                                                            \
                 : MSG_INTERNAL_ERROR::report(#condition, "ZORVA", __FILE__, __LINE__))

// Reports an internal error whose text is a printf format and its arguments.
#define ZORVA_FAIL(...)                                                                            \
    MSG_INTERNAL_ERROR::report(zorva_format(__VA_ARGS__).c_str(), "ZORVA", __FILE__, __LINE__)

// Writes a debug trace at the level that the library uses throughout.
void zorva_trace(const char* format, ...) __attribute__((format(printf, 1, 2)));
