// What is known of the properties of actions: one row a kind, one row a property, one row a type.
#pragma once

#include "pgm/h/pgm_common_xml_enum.h"
#include "pgm/zorva/rules/zorva_messages.h"
#include "pgm/zorva/zorva_action.h"

#include <optional>
#include <span>
#include <string_view>

// How the text of a value has to look.
enum class ZORVA_FORM : unsigned char {
    NAME,       // letters, digits, underscores and blanks, not blanks alone
    DATA_LIST,  // bytes; least and most count them
    NUMBER,     // decimal, or "0x" and hexadecimal digits; least and most bound it
    CHOICE,     // one of the choices, exactly
    ANY_TEXT,   // anything but the empty text
};

struct ZORVA_PROPERTY_RULE {
    ZORVA_FORM form;
    bool empty_passes = false;
    bool jic_passes = false;  // a text that holds "jic" or "JIC" stands for data of the .jic file
    qword least = 0;
    qword most = ~qword{0};
    std::span<const std::string_view> choices = {};
};

struct ZORVA_PROPERTY_KIND {
    const char* label;
    const char* default_value;  // null: not set by the constructor
    bool fixed;                 // not for the user to edit
    PGM_COMMON_XML_ENUM tag;    // the child of ACTION that holds it
    ZORVA_PROPERTY_RULE rule;
    ZORVA_MESSAGE message;  // posted for a bad value
};

struct ZORVA_ACTION_TYPE_ROW {
    ZORVA_ACT_TYPE type;
    const char* name;
    PGM_COMMON_XML_ENUM keyword;  // value of the attribute "type"
    int first;                    // number of its first property
    int count;
};

inline constexpr int ZORVA_ACT_TYPE_COUNT = 6;
inline constexpr int ZORVA_ACT_PROPERTY_COUNT = 40;

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
// True if the value keeps the rule; `is_jic` tells whether it comes from the .jic file.
bool zorva_keeps_rule(const ZORVA_PROPERTY_RULE& rule, std::string_view value, bool is_jic);
// The same for a property, remembered: flows repeat the same few values in thousands of actions.
bool zorva_is_good(ZORVA_ACT_PROPERTY property, ZORVA_TEXT value);
// What is wrong with a value for a property; nothing if it is good.
std::optional<ZORVA_REFUSAL> zorva_judge_property(ZORVA_ACT_PROPERTY property,
                                                  std::string_view value);
// The same where somebody else has said whether the value comes from the .jic file.
std::optional<ZORVA_REFUSAL> zorva_judge_property(ZORVA_ACT_PROPERTY property,
                                                  std::string_view value, bool is_jic);
