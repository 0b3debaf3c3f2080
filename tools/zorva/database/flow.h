// The programming flows of a device, for people and for scripts.
#pragma once

#include "pgm/zorva/zorva_flash.h"
#include "tools/zorva/output.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zorva_tool {

struct flow_row {
    ZORVA_PROG_FLOW_TYPE type;
    const char* name;  // for --flow and in JSON
    const char* label;
};
std::span<const flow_row> flow_table();

// The common name of a command byte, as "write enable"; empty for one that isn't common.
std::string_view opcode_name(dword opcode);

// One of the 18 kinds of action property, by the label that the library gives it.
struct property_row {
    const char* label;
    const char* key;     // in JSON
    const char* before;  // what stands around the value in a line
    const char* after;
    const char* silent;              // the value that goes without saying
    bool is_number_in_file = false;  // and not a text: a leading 0 is lost, and means octal
};
// Null for the label of no kind.
const property_row* find_property(std::string_view label);

// The row of a property; null for one that isn't in the table.
const property_row* find_property(ZORVA_ACTION& action, ZORVA_ACT_PROPERTY property);

// The key of a property in JSON and in addresses; empty for a property that isn't shown.
std::string_view property_key(ZORVA_ACTION& action, ZORVA_ACT_PROPERTY property);

// The bytes of a data list; none for a text that isn't one.
std::vector<unsigned char> data_bytes(const std::string& text);

// What an action does on the bus, without the name that its author gave it:
// "0x05 read status register, 1 byte, expect 0x00, mask 0x01".
std::string action_facts(ZORVA_ACTION& action);
// The flows that a device has, as a member by flow.
json flows_json(ZORVA_FLASH& flash, std::span<const flow_row> selected);
void print_flow(ZORVA_FLASH& flash, const flow_row& flow, output& out);

}  // namespace zorva_tool
