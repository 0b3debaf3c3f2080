// Texts of a QSPI document that aren't read as they stand.
#pragma once

#include <string>
#include <string_view>

// A description as it stands in a file, with each backslash and "n" turned into a line feed.
std::string zorva_unescape_description(std::string_view text);
