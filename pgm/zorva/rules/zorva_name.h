// How names are spelled: with ASCII letters, digits and underscores.
#pragma once

#include <string_view>

// True for a text that a device or a template may have as its name, taken or not. "db" is none: it
// would give a device the shipped files' prefix.
bool zorva_is_definition_name(std::string_view name);
// True for the name of an action: it may hold blanks too, but not blanks alone.
bool zorva_is_action_name(std::string_view name);
