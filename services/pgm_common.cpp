#include "services/pgm_common.h"

#include "services/text.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <memory>

namespace {

// `digits` in that base, all of them and at least one.
qword read_digits(std::string_view digits, int base, bool& ok) {
    qword number = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number, base);
    ok = stop == end && error == std::errc();
    if (stop == end && error == std::errc::result_out_of_range) {
        return std::numeric_limits<qword>::max();
    }
    return ok ? number : 0;
}

qword read_number(std::string_view text, bool& ok) {
    if (text == "0x") {
        ok = true;
        return 0;
    }
    if (text.substr(0, 2) != "0x") return read_digits(text, 10, ok);
    const std::string_view digits = text.substr(2);
    return read_digits(digits, 16, ok);
}

template <class NUMBER, class OUT>
NUMBER bounded_number(const std::string& text, bool* ok, OUT* number) {
    bool is_number = false;
    const qword full = read_number(text, is_number);
    const NUMBER result =
        static_cast<NUMBER>(std::min<qword>(full, std::numeric_limits<NUMBER>::max()));
    if (ok != nullptr) *ok = is_number && result == full;
    if (number != nullptr) *number = result;
    return result;
}

}  // namespace

void PGM_COMMON::change_folder_slash(std::string& path) {
    std::replace(path.begin(), path.end(), '\\', '/');
    const auto doubled = [](char a, char b) { return a == '/' && b == '/'; };
    path.erase(std::unique(path.begin(), path.end(), doubled), path.end());
}

bool PGM_COMMON::compare_string(std::string a, std::string b, bool ignore_case) {
    return ignore_case ? stl_toupper(a) == stl_toupper(b) : a == b;
}

qword PGM_COMMON::convert_string_to_qword(std::string text, bool, bool* ok,
                                          unsigned long long* number, bool) {
    return bounded_number<qword>(text, ok, number);
}

dword PGM_COMMON::convert_string_to_dword(std::string text, bool, bool* ok, dword* number, bool) {
    return bounded_number<dword>(text, ok, number);
}

unsigned char* PGM_COMMON::convert_hex_string_to_byte_array(std::string text, dword limit,
                                                            dword* byte_size, bool, bool* ok) {
    const std::size_t count = (text.size() + 1) / 2;
    // An odd count of digits leaves the first byte with one.
    if (text.size() % 2 != 0) text.insert(0, 1, '0');
    auto bytes = std::make_unique<unsigned char[]>(count);
    bool good = !text.empty() && count <= limit;
    for (std::size_t i = 0; good && i < count; ++i) {
        const char* digits = text.data() + 2 * i;
        good = std::from_chars(digits, digits + 2, bytes[i], 16).ptr == digits + 2;
    }
    if (ok != nullptr) *ok = good;
    if (byte_size != nullptr) *byte_size = good ? static_cast<dword>(count) : 0;
    return good ? bytes.release() : nullptr;
}
