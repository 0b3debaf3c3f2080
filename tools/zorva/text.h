// Texts for people: what may go to a terminal, sizes, and names that come near a misspelled one.
#pragma once

#include "services/types.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zorva_tool {

// The text with each control character, and each byte that isn't part of a character in UTF-8,
// spelled out as "\x1B".
std::string printable(std::string_view text);
// Number of characters in a printable text.
std::size_t width(std::string_view text);

std::string upper_case(std::string_view text);
// Without the blanks around it.
std::string_view trimmed(std::string_view text);
// A text for a sentence: of one that no line has room for, the beginning.
std::string shortened(std::string_view text);
// "A, B, C"
std::string joined(const std::vector<std::string>& texts, std::string_view separator = ", ");

// "16 MiB", "4 KiB", "300 bytes".
std::string size_text(qword bytes);
// The bytes of "128Mb", "8GB", "16MiB" or "16 MiB".
std::optional<qword> parse_density(std::string_view text);
// Whether an I/O voltage, which may be several as "3.0V/3.3V", is or holds the one that is asked
// for, as "3.3V" or "3.3".
bool is_voltage(std::string_view voltage, std::string_view asked);

// At most three of the names that `name` may have been meant for, the nearest first.
std::vector<std::string> nearest(std::string_view name, const std::vector<std::string>& names);

}  // namespace zorva_tool
