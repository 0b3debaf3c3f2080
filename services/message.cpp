#include "services/message.h"

#include "services/host_state.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

using pgm_host::state;

namespace {

// Not part of what a host sets: the ids stay registered over a reset.
std::map<unsigned, MSG_POST_TYPE>& registered() {
    static std::map<unsigned, MSG_POST_TYPE> types;
    return types;
}

// "%N!s!" or "%N!d!" at `place`: what it asks for, and how long it is.
struct PLACEHOLDER {
    std::size_t number;  // 0: there is none
    char kind;
    static constexpr std::size_t length = 5;
};

PLACEHOLDER placeholder_at(std::string_view text, std::size_t place) {
    const std::string_view part = text.substr(place, PLACEHOLDER::length);
    const bool found = part.size() == PLACEHOLDER::length && part[0] == '%' && part[1] >= '1' &&
                       part[1] <= '9' && part[2] == '!' && (part[3] == 's' || part[3] == 'd') &&
                       part[4] == '!';
    return found ? PLACEHOLDER{static_cast<std::size_t>(part[1] - '0'), part[3]} : PLACEHOLDER{};
}

std::string_view text_of(std::string_view format) { return format.substr(0, format.rfind('/')); }

// The kind of each value that the text asks for, in the order of their numbers.
std::string value_kinds(std::string_view text) {
    std::string kinds;
    for (std::size_t place = 0; place < text.size(); ++place) {
        const PLACEHOLDER found = placeholder_at(text, place);
        if (found.number == 0) continue;
        if (kinds.size() < found.number) kinds.resize(found.number, 's');
        kinds[found.number - 1] = found.kind;
    }
    return kinds;
}

std::string fill(std::string_view text, const std::vector<std::string>& values) {
    std::string filled;
    for (std::size_t place = 0; place < text.size();) {
        const PLACEHOLDER found = placeholder_at(text, place);
        if (found.number == 0) {
            filled += text[place++];
        } else {
            if (found.number <= values.size()) filled += values[found.number - 1];
            place += PLACEHOLDER::length;
        }
    }
    return filled;
}

std::string formatted(const char* format, std::va_list args) {
    char* text = nullptr;
    if (::vasprintf(&text, format, args) < 0) return {};
    const std::unique_ptr<char, decltype(&std::free)> owner(text, &std::free);
    return text;
}

}  // namespace

MSG_ID_REGISTRAR::MSG_ID_REGISTRAR(const unsigned* ids, const MSG_POST_TYPE* types,
                                   std::size_t count)
    : m_ids(ids), m_count(count) {
    for (std::size_t i = 0; i < count; ++i) registered()[ids[i]] = types[i];
}

MSG_ID_REGISTRAR::~MSG_ID_REGISTRAR() {
    for (std::size_t i = 0; i < m_count; ++i) registered().erase(m_ids[i]);
}

MSG_INDEX* MSG_INDEX::get_default_index() {
    static MSG_INDEX index;
    return &index;
}

// An error is always told.
bool MSG_INDEX::is_suppressed(unsigned id) const {
    const auto found = registered().find(id);
    const bool is_error = found != registered().end() && found->second == MSG_POST_ERROR;
    return !is_error && state().suppressed.count(id) != 0;
}

MSG_BASE::MSG_BASE(MSG_POST_TYPE type) : m_type(type) {}

void MSG_BASE::fill_args(const char* format, ...) {
    const std::string kinds = value_kinds(text_of(format));
    std::vector<std::string> values;
    std::va_list args;
    va_start(args, format);
    for (const char kind : kinds) {
        if (kind == 'd') {
            values.push_back(std::to_string(va_arg(args, unsigned)));
        } else {
            const char* value = va_arg(args, const char*);
            values.emplace_back(value != nullptr ? value : "");
        }
    }
    va_end(args);
    fill_values(format, values);
}

void MSG_BASE::fill_values(std::string_view format, const std::vector<std::string>& values) {
    const std::size_t slash = format.rfind('/');
    m_name =
        slash == std::string_view::npos ? "" : format.substr(std::min(slash + 2, format.size()));
    m_text = fill(text_of(format), values);
}

void MSG_BASE::set_severity_level(int level) { m_severity_level = level; }

void MSG_BASE::set_id(unsigned id) { m_id = id; }

bool MSG_BASE::post() {
    if (state().messages) {
        state().messages({m_id, m_type, m_name, m_text});
    } else {
        std::fprintf(stderr, "%s (%u): ", m_type == MSG_POST_ERROR ? "Error" : "Warning", m_id);
        std::fwrite(m_text.data(), 1, m_text.size(), stderr);
        std::fputc('\n', stderr);
    }
    return true;
}

MSG_W::MSG_W(MSG_REPORT*) : MSG_BASE(MSG_POST_WARNING) {}

MSG_E::MSG_E(MSG_REPORT*) : MSG_BASE(MSG_POST_ERROR) {}

MSG_W_NULL::MSG_W_NULL() : MSG_BASE(MSG_POST_WARNING) {}

bool MSG_W_NULL::post() { return false; }

void MSG_INTERNAL_ERROR::report(const char* text, const char* module, const char* file, int line) {
    if (state().internal_errors) {
        // The handler may bring about its own replacement.
        const pgm_host::internal_error_handler handler = state().internal_errors;
        handler(text, module, file, line);
    } else {
        std::fprintf(stderr, "Internal error: %s (%s, %s:%d)\n", text, module, file, line);
    }
    std::abort();
}

void msg_local_vdebug(const char* module, MSG_D_LEVEL level, const char* format, va_list args) {
    if (state().traces) state().traces(module, level, formatted(format, args));
}
