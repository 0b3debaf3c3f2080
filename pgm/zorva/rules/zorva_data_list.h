// The data list: the text form of a byte sequence, as "0x20 0xBA 24".
#pragma once

#include "services/types.h"

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

// The number of bytes that the list spells; nothing if an item isn't a byte or there is no item.
// Items are separated by blanks (0x20 only); each is "0x" with one or two hexadecimal digits, or a
// decimal number up to 255.
std::optional<std::size_t> zorva_data_list_length(std::string_view text);

// The bytes themselves; nothing for the same texts.
std::optional<std::vector<unsigned char>> zorva_data_list_bytes(std::string_view text);

// At most the first four bytes as a number, the first byte the least significant.
dword zorva_little_endian(const std::vector<unsigned char>& bytes);
