// The data list: the text form of a byte sequence, as "0x20 0xBA 24".
#pragma once

#include "services/types.h"

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

// The bytes that the list spells; nothing if an item isn't a byte or there is no item. Items are
// separated by blanks (0x20 only); each is "0x" with one or two hexadecimal digits, or a decimal
// number up to 255.
std::optional<std::vector<unsigned char>> zorva_data_list_bytes(std::string_view text);

// The number of these bytes, for a list that a user or a file gives: no character stands in it
// but those that spell bytes, whatever the host's conversion of numbers takes.
std::optional<std::size_t> zorva_data_list_length(std::string_view text);

// As ZORVA_MGR::convert_data_list_string_to_byte_array tells.
unsigned char* zorva_data_list_array(std::string_view data_string, dword* length, bool* valid);

// At most the first four bytes as a number, the first byte the least significant.
dword zorva_little_endian(const std::vector<unsigned char>& bytes);
