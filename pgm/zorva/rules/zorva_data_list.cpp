#include "pgm/zorva/rules/zorva_data_list.h"

#include "pgm/zorva/rules/zorva_report.h"
#include "services/pgm_common.h"

#include <algorithm>
#include <memory>
#include <string>

namespace {

// Takes the next item off the front; empty at the end.
std::string_view next_item(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    const std::string_view item = text.substr(0, text.find(' '));
    text.remove_prefix(item.size());
    return item;
}

std::optional<unsigned char> hexadecimal_byte(std::string_view digits) {
    if (digits.empty() || digits.size() > 2) return {};
    dword byte_size_temp = 0;
    bool ok = false;
    const std::unique_ptr<unsigned char[]> byte(PGM_COMMON::convert_hex_string_to_byte_array(
        std::string(digits), 0xFFFFFFFF, &byte_size_temp, true, &ok));
    if (!ok || !byte) return {};
    ZORVA_ASSERT(byte_size_temp == 1);
    return byte[0];
}

std::optional<unsigned char> item_byte(std::string_view item) {
    if (item.starts_with("0x")) return hexadecimal_byte(item.substr(2));
    bool ok = false;
    const qword number =
        PGM_COMMON::convert_string_to_qword(std::string(item), true, &ok, nullptr, false);
    if (!ok || number > 255) return {};
    return static_cast<unsigned char>(number);
}

}  // namespace

std::optional<std::vector<unsigned char>> zorva_data_list_bytes(std::string_view text) {
    std::vector<unsigned char> bytes;
    for (std::string_view item; !(item = next_item(text)).empty();) {
        const std::optional<unsigned char> byte = item_byte(item);
        if (!byte) return {};
        bytes.push_back(*byte);
    }
    if (bytes.empty()) return {};
    return bytes;
}

std::optional<std::size_t> zorva_data_list_length(std::string_view text) {
    if (text.find_first_not_of("abcdefxABCDEF0123456789 ") != text.npos) return {};
    const auto bytes = zorva_data_list_bytes(text);
    return bytes ? std::optional(bytes->size()) : std::nullopt;
}

unsigned char* zorva_data_list_array(std::string_view data_string, dword* length, bool* valid) {
    ZORVA_ASSERT(!data_string.empty());
    const auto bytes = zorva_data_list_bytes(data_string);
    if (valid) *valid = bytes.has_value();
    if (length) *length = bytes ? static_cast<dword>(bytes->size()) : 0;
    if (!bytes) return nullptr;
    auto* array = new unsigned char[bytes->size()];
    std::ranges::copy(*bytes, array);
    return array;
}

dword zorva_little_endian(const std::vector<unsigned char>& bytes) {
    dword number = 0;
    for (std::size_t i = 0; i < std::min<std::size_t>(bytes.size(), 4); ++i)
        number |= static_cast<dword>(bytes[i]) << (8 * i);
    return number;
}
