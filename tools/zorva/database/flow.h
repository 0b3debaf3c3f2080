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

// The key of a property in JSON and in addresses.
const char* property_key(ZORVA_ACT_PROPERTY property);

// The bytes of a data list; none for a text that isn't one.
std::vector<unsigned char> data_bytes(const std::string& text);

// What an action does on the bus, without the name that its author gave it:
// "0x05 read status register, 1 byte, expect 0x00, mask 0x01".
std::string action_facts(ZORVA_ACTION& action);
// The flows that a device has, as a member by flow.
json flows_json(ZORVA_FLASH& flash, std::span<const flow_row> selected);
void print_flow(ZORVA_FLASH& flash, const flow_row& flow, output& out);

}  // namespace zorva_tool
