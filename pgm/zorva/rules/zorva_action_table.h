// What is known of the properties of actions: one row for each kind, each property and each type.
#pragma once

#include "pgm/h/pgm_common_xml_enum.h"
#include "pgm/zorva/rules/zorva_messages.h"
#include "pgm/zorva/zorva_action.h"

#include <optional>
#include <span>
#include <string_view>

struct ZORVA_PROPERTY_KIND {
    ZORVA_PROPERTY kind;
    const char* label;
    const char* default_value;  // null: not set by the constructor
    bool fixed;                 // not for the user to edit
    PGM_COMMON_XML_ENUM tag;    // the child of ACTION that holds it
    ZORVA_VALUE_RANGE range;
    ZORVA_MESSAGE message;  // posted for a bad value
};

struct ZORVA_ACTION_TYPE_ROW {
    ZORVA_ACT_TYPE type;
    const char* name;
    PGM_COMMON_XML_ENUM keyword;                     // value of the attribute "type"
    std::span<const ZORVA_ACT_PROPERTY> properties;  // numbered without a gap
};

inline constexpr int ZORVA_ACT_TYPE_COUNT = ZORVA_ACT_TYPE_CUSTOM + 1;
inline constexpr int ZORVA_ACT_PROPERTY_COUNT = ZORVA_ACT_PROPERTY_CU_DIRECTION + 1;

// Internal errors for a type outside 0 to 5 and a property outside 0 to 39.
const ZORVA_ACTION_TYPE_ROW& zorva_action_type(ZORVA_ACT_TYPE type);
const ZORVA_PROPERTY_KIND& zorva_property_kind(ZORVA_ACT_PROPERTY property);
// Null for a number outside the table.
const ZORVA_PROPERTY_KIND* zorva_find_property_kind(ZORVA_ACT_PROPERTY property);
// True if a file holds the value as a number; a number that may be "jic" is a text there.
bool zorva_is_number_in_file(const ZORVA_PROPERTY_KIND& kind);
// The type of a keyword of the attribute "type"; an internal error for any other keyword.
const ZORVA_ACTION_TYPE_ROW& zorva_action_type_of_keyword(PGM_COMMON_XML_ENUM keyword);

// True if the text says that the value comes from the .jic file.
bool zorva_is_jic(std::string_view value);
// Whether a value is good for a property. The verdict is kept with the text, because flows repeat
// the same few values in thousands of actions.
bool zorva_is_good(ZORVA_ACT_PROPERTY property, const ZORVA_TEXT& value);
// What is wrong with a value for a property; nothing if it is good.
std::optional<ZORVA_REFUSAL> zorva_judge_property(ZORVA_ACT_PROPERTY property,
                                                  std::string_view value);
// The same where somebody else has said whether the value comes from the .jic file.
std::optional<ZORVA_REFUSAL> zorva_judge_property(ZORVA_ACT_PROPERTY property,
                                                  std::string_view value, bool is_jic);
