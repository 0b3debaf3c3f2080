// The catalogue of the registered messages.
#pragma once

#include "pgm/zorva/zorva_finding.h"
#include "services/message.h"
#include "services/types.h"

#include <span>
#include <string>
#include <variant>

// The messages in the order of registration, each as X(id, grade letter, name, argument shape,
// text). The grade is W for a warning and E for an error; the full name is "ZORVA_" and the name.
#define ZORVA_MESSAGES(X)                                                                          \
    X(20473, W, INVALID_DEVICE_NAME_WITH_EMPTY_STRING_OR_SPECIAL_CHAR, TEXT,                       \
      "Device name '%1!s!' is invalid as it contains either an empty string or special "           \
      "characters.")                                                                               \
    X(20474, W, INVALID_DEVICE_NAME_CONFLICT_WITH_TEMPLATE, TEXT,                                  \
      "Device name '%1!s!' is invalid as it conflicts with the reserved name for the "             \
      "programming flow template.")                                                                \
    X(20475, W, INVALID_DEVICE_NAME_CONFLICT_WITH_EXISTING_DEVICE, TEXT,                           \
      "Device name '%1!s!' is invalid as it already exist in the device database.")                \
    X(20476, W, INVALID_IO_VOLTAGE, TEXT, "Device I/O voltage '%1!s!' is invalid.")                \
    X(20535, W, INCOMPATIBLE_IO_VOLTAGE, TEXT,                                                     \
      "Flash device I/O voltage '%1!s!' is incompatible with the selected FPGA device family.")    \
    X(20477, W, INVALID_DEVICE_ID_WITH_EMPTY_STRING_OR_SPECIAL_CHAR, TEXT,                         \
      "Device ID '%1!s!' is invalid. It either contains an empty string or special characters, "   \
      "or it is not in the list of byte formats.")                                                 \
    X(20478, W, INVALID_DEVICE_DENSITY, TEXT, "Device density '%1!s!' is invalid.")                \
    X(20479, W, INVALID_TOTAL_DEVICE_DIE, NUMBER, "Total device die '%1!d!' is invalid.")          \
    X(20543, W, INVALID_DEVICE_DUMMY_CLOCK_CYCLE, NUMBER,                                          \
      "Device dummy clock cycle '%1!d!' is invalid.")                                              \
    X(20481, W, INVALID_PROGRAMMING_FLOW_TEMPLATE, TEXT,                                           \
      "Programming flow template '%1!s!' is invalid.")                                             \
    X(20482, E, FOUND_DUPLICATED_FLASH_IN_DB, TWO_TEXTS,                                           \
      "Found duplicate flash device names '%1!s!' in the %2!s! directory.")                        \
    X(20510, E, UNUSED_20510, NONE, "")                                                            \
    X(20485, W, INVALID_ACTION_NAME_WITH_EMPTY_STRING_OR_SPECIAL_CHAR, TEXT,                       \
      "Action name '%1!s!' is invalid as it contains an empty string or special characters.")      \
    X(20486, W, INVALID_ACTION_COMMAND_WITH_EMPTY_STRING_OR_SPECIAL_CHAR, TEXT,                    \
      "Action command '%1!s!' is invalid. It either contains an empty string or special "          \
      "characters, or it is not in the list of byte formats.")                                     \
    X(20494, W, INVALID_ACTION_DATA_MASK_WITH_SPECIAL_CHAR, TEXT,                                  \
      "Action data mask '%1!s!' is invalid. It either contains special characters or is not in "   \
      "the list of byte formats.")                                                                 \
    X(20495, W, INVALID_ACTION_EXPECTED_DATA_WITH_SPECIAL_CHAR, TEXT,                              \
      "Action expected data '%1!s!' is invalid. It either contains special characters or is not "  \
      "in the list of byte formats.")                                                              \
    X(20496, W, INVALID_ACTION_DATA_WITH_SPECIAL_CHAR, TEXT,                                       \
      "Action data '%1!s!' is invalid. It either contains special characters or is not in the "    \
      "list of byte formats.")                                                                     \
    X(20497, W, INVALID_ACTION_DATA_LENGTH_WITH_EMPTY_STRING_OR_SPECIAL_CHAR, TEXT,                \
      "Action data length '%1!s!' is invalid. It either contains an empty string or special "      \
      "characters, or has a value of 0.")                                                          \
    X(20498, W, INVALID_ACTION_ATTEMPT_COUNT_WITH_EMPTY_STRING_OR_SPECIAL_CHAR, TEXT,              \
      "Action attempt count '%1!s!' is invalid. It either contains an empty string or special "    \
      "characters, or has a value of 0.")                                                          \
    X(20499, W, INVALID_ACTION_ERASE_SIZE_WITH_EMPTY_STRING_OR_SPECIAL_CHAR, TEXT,                 \
      "Action erase size '%1!s!' is invalid. It either contains an empty string or special "       \
      "characters, or has a value of 0.")                                                          \
    X(20500, W, INVALID_ACTION_DELAY_WITH_EMPTY_STRING_OR_SPECIAL_CHAR, TEXT,                      \
      "Action delay '%1!s!' is invalid. It contains either an empty string or special "            \
      "characters.")                                                                               \
    X(20501, W, INVALID_ACTION_PAGE_SIZE_WITH_EMPTY_STRING_OR_SPECIAL_CHAR, TEXT,                  \
      "Action page size '%1!s!' is invalid. It either contains an empty string or special "        \
      "characters, or has a value of 0.")                                                          \
    X(20502, W, INVALID_ACTION_ADDRESS_WITH_EMPTY_STRING_OR_SPECIAL_CHAR, TEXT,                    \
      "Action address '%1!s!' is invalid. It contains either an empty string or special "          \
      "characters.")                                                                               \
    X(20503, W, INVALID_ACTION_ADDR_MODE_WITH_EMPTY_STRING_OR_SPECIAL_CHAR, TEXT,                  \
      "Action addressing mode '%1!s!' is invalid. It either contains an empty string or special "  \
      "characters, or has a value of 0.")                                                          \
    X(20504, W, INVALID_ACTION_DUMMY_CLOCK_CYCLE_WITH_EMPTY_STRING_OR_SPECIAL_CHAR, TEXT,          \
      "Action dummy clock cycle '%1!s!' is invalid. It contains either an empty string or "        \
      "special characters.")                                                                       \
    X(20505, W, INVALID_ACTION_BUS_WIDTH, TEXT, "Action bus width '%1!s!' is invalid.")            \
    X(20507, W, INVALID_ACTION_CUSTOM_DIRECTION, TEXT,                                             \
      "Action custom direction '%1!s!' is invalid.")                                               \
    X(20509, W, INVALID_ACTION_CUSTOM_DESCRIPTION, TEXT,                                           \
      "Action custom description '%1!s!' is invalid due to an empty string.")                      \
    X(20560, W, FAILED_TO_UPDATE_DB, TEXT,                                                         \
      "Failed to update the device database in the %1!s! directory.")                              \
    X(20673, W, INVALID_TEMPLATE_NAME_WITH_EMPTY_STRING_OR_SPECIAL_CHAR, TEXT,                     \
      "Template name '%1!s!' is invalid as it contains either an empty string or special "         \
      "characters.")                                                                               \
    X(20674, W, INVALID_TEMPLATE_NAME_CONFLICT_WITH_RESERVED_TEMPLATE, TEXT,                       \
      "Template name '%1!s!' is invalid as it conflicts with the reserved name for the "           \
      "programming flow template.")                                                                \
    X(20675, W, INVALID_TEMPLATE_NAME_CONFLICT_WITH_EXISTING_DEVICE, TEXT,                         \
      "Template name '%1!s!' is invalid as it conflicts with existing device name in the device "  \
      "database.")                                                                                 \
    X(20676, W, INVALID_TEMPLATE_NAME_CONFLICT_WITH_TEMPLATE_DATABASE, TEXT,                       \
      "Template name '%1!s!' is invalid as it already exist in the template database.")

// The messages; the value is the row's place in the catalogue.
enum class ZORVA_MESSAGE : unsigned char {
#define ZORVA_MESSAGE_ENUMERATOR(id, grade, name, shape, text) name,
    ZORVA_MESSAGES(ZORVA_MESSAGE_ENUMERATOR)
#undef ZORVA_MESSAGE_ENUMERATOR
};

// What the arguments of a message's text are.
enum class ZORVA_MESSAGE_SHAPE : unsigned char { NONE, TEXT, NUMBER, TWO_TEXTS };

// A refused value: which message tells of it, and with what. A judge returns one and posts
// nothing, so that a file can be judged in silence.
struct ZORVA_REFUSAL {
    ZORVA_MESSAGE message;
    std::variant<std::string, dword> value;  // a number for a message of shape NUMBER
    std::string directory;                   // for a message of shape TWO_TEXTS
    dword line = 0;  // of the element in its file; 0 if the value came from no file
};

struct ZORVA_MESSAGE_ROW {
    unsigned id;
    MSG_POST_TYPE type;
    ZORVA_MESSAGE_SHAPE shape;
    const char* name;       // "ZORVA_INVALID_DEVICE_DENSITY"
    const char* text;       // "Device density '%1!s!' is invalid."
    const char* catalogue;  // text, slash, grade letter, name: what MSG_BASE::fill_args takes
    // The message's factory below, with what a refusal holds; null for shape NONE.
    MSG_BASE* (*create)(const ZORVA_REFUSAL& refusal);
};

// All rows, in the order of registration.
std::span<const ZORVA_MESSAGE_ROW> zorva_messages();
const ZORVA_MESSAGE_ROW& zorva_message_row(ZORVA_MESSAGE message);

// The factory of each message, named after it: ZORVA_INVALID_DEVICE_DENSITY(value) and so on. It
// returns a new message that the caller posts and deletes. A warning that the host suppresses
// comes as a MSG_W_NULL.
#define ZORVA_FACTORY_NONE(name)
#define ZORVA_FACTORY_TEXT(name) MSG_BASE* ZORVA_##name(const std::string& value);
#define ZORVA_FACTORY_NUMBER(name) MSG_BASE* ZORVA_##name(dword value);
#define ZORVA_FACTORY_TWO_TEXTS(name)                                                              \
    MSG_BASE* ZORVA_##name(const std::string& value, const std::string& directory);
#define ZORVA_FACTORY(id, grade, name, shape, text) ZORVA_FACTORY_##shape(name)
ZORVA_MESSAGES(ZORVA_FACTORY)
#undef ZORVA_FACTORY
#undef ZORVA_FACTORY_NONE
#undef ZORVA_FACTORY_TEXT
#undef ZORVA_FACTORY_NUMBER
#undef ZORVA_FACTORY_TWO_TEXTS

// The plain sentence that tells the user what is wrong.
std::string zorva_sentence(const ZORVA_REFUSAL& refusal);
// That sentence with the message's id and the line.
ZORVA_FINDING zorva_finding(const ZORVA_REFUSAL& refusal);
// Makes, posts and deletes the message.
void zorva_post(const ZORVA_REFUSAL& refusal);
