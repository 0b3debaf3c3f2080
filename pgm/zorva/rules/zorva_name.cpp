#include "pgm/zorva/rules/zorva_name.h"

#include <algorithm>

namespace {

bool is_name_character(char character) {
    constexpr std::string_view allowed =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_";
    return allowed.find(character) != allowed.npos;
}

}  // namespace

bool zorva_is_definition_name(std::string_view name) {
    return !name.empty() && name != "db" && std::ranges::all_of(name, is_name_character);
}

bool zorva_is_action_name(std::string_view name) {
    return std::ranges::any_of(name, is_name_character) && std::ranges::all_of(name, [](char each) {
               return each == ' ' || is_name_character(each);
           });
}
