// The names that a file may define, without parsing it.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>

struct ZORVA_NAMES {
    std::set<std::string, std::less<>> devices;
    std::set<std::string, std::less<>> templates;
};

// All names that the bytes spell plainly, and maybe more; no result for bytes that could spell one
// in another way: only a parse tells.
std::optional<ZORVA_NAMES> zorva_names_in(std::string_view bytes);
