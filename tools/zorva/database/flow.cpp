#include "tools/zorva/database/flow.h"

#include "pgm/zorva/zorva_mgr.h"
#include "tools/zorva/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <memory>

namespace zorva_tool {

namespace {

constexpr flow_row flows[] = {
    {ZORVA_PROG_FLOW_TYPE_SFL, "sfl", "SFL"},
    {ZORVA_PROG_FLOW_TYPE_SDM, "sdm", "SDM"},
};

constexpr const char* name_label = "Name:";
constexpr const char* command_label = "Command:";
constexpr const char* erase_size_label = "Erase size(byte):";

// The command and the erase size stand in front, with the name of the command.
constexpr property_row properties[] = {
    {name_label, "name", "", "", ""},
    {command_label, "command", "", "", ""},
    {erase_size_label, "erase_size", "", "", "", true},
    {"Data length(byte):", "data_length", "length ", "", ""},
    {"Data:", "data", "data ", "", ""},
    {"Expected data:", "expected_data", "expect ", "", ""},
    {"Expected data mask:", "expected_data_mask", "mask ", "", ""},
    {"Attempt count:", "attempt_count", "", " attempts", "1", true},
    {"Address:", "address", "address ", "", ""},
    {"Page size(byte):", "page_size", "pages of ", " bytes", "", true},
    {"Addressing mode(byte):", "addressing_mode", "", "-byte address", "", true},
    {"Dummy clock cycle:", "dummy_clock_cycle", "", " dummy cycles", "0", true},
    {"Delay(us):", "delay", "delay ", " us", "0", true},
    {"Command-Data(bus width):", "bus_width", "bus ", "", "1-1"},
    {"Command-Address(bus width):", "bus_width", "bus ", "", "1-1"},
    {"Command-Address-Data(bus width):", "bus_width", "bus ", "", "1-1-1"},
};

bool is_custom(const ZORVA_ACTION& action) {
    return action.get_action_type() == ZORVA_ACT_TYPE_CUSTOM;
}

std::string custom_text(ZORVA_ACTION& action) {
    return fmt::format("{}: {}", action.get_property_value(ZORVA_ACT_PROPERTY_CU_DIRECTION),
                       action.get_property_value(ZORVA_ACT_PROPERTY_CU_DESCRIPTION));
}

// The value of the property with that label; empty if the action has none.
std::string value_of(ZORVA_ACTION& action, std::string_view label) {
    for (const ZORVA_ACT_PROPERTY property : action.get_property_enum_list())
        if (action.get_property_name(property) == label) return action.get_property_value(property);
    return {};
}

// "0xD8 sector/block erase 64 KiB"
std::string command_text(ZORVA_ACTION& action) {
    std::string text = value_of(action, command_label);
    for (const ZORVA_ACT_PROPERTY property : action.get_property_enum_list()) {
        const std::string label = action.get_property_name(property);
        const dword number = action.get_property_value_in_dword(property);
        if (label == command_label && !opcode_name(number).empty())
            text += fmt::format(" {}", opcode_name(number));
        if (label == erase_size_label) text += fmt::format(" {}", size_text(number));
    }
    return text;
}

// What the line tells behind the command.
std::string detail_text(ZORVA_ACTION& action) {
    std::vector<std::string> details;
    for (const ZORVA_ACT_PROPERTY property : action.get_property_enum_list()) {
        const property_row* row = find_property(action, property);
        const std::string value = action.get_property_value(property);
        const bool stands_in_front =
            row == nullptr || (*row->before == '\0' && *row->after == '\0');
        if (stands_in_front || value.empty() || value == row->silent) continue;
        details.push_back(row->before + value + row->after);
    }
    return joined(details);
}

json action_json(ZORVA_ACTION& action) {
    json object = {{"type", action.get_name()}};
    for (const ZORVA_ACT_PROPERTY property : action.get_property_enum_list()) {
        object[std::string(property_key(action, property))] = action.get_property_value(property);
        if (action.get_property_name(property) == command_label)
            object["command_name"] = opcode_name(action.get_property_value_in_dword(property));
    }
    return object;
}

json operations_json(const std::vector<ZORVA_OPERATION*>& operations) {
    json rows = json::array();
    for (ZORVA_OPERATION* operation : operations) {
        json actions = json::array();
        for (ZORVA_ACTION* action : *operation->get_action_list())
            actions.push_back(action_json(*action));
        rows.push_back({{"operation", operation->get_name()}, {"actions", actions}});
    }
    return rows;
}

std::vector<std::string> action_cells(std::size_t number, ZORVA_ACTION& action) {
    std::vector<std::string> cells = {fmt::format("{}.", number), action.get_name()};
    if (is_custom(action)) {
        cells.push_back(custom_text(action));
    } else {
        cells.push_back(command_text(action));
        cells.push_back(value_of(action, name_label));
        cells.push_back(detail_text(action));
        if (cells.back().empty()) cells.pop_back();
    }
    for (std::string& cell : cells) cell = printable(cell);
    return cells;
}

}  // namespace

std::span<const flow_row> flow_table() { return flows; }

const property_row* find_property(std::string_view label) {
    const auto row = std::ranges::find(properties, label, &property_row::label);
    return row == std::end(properties) ? nullptr : row;
}

const property_row* find_property(ZORVA_ACTION& action, ZORVA_ACT_PROPERTY property) {
    return find_property(action.get_property_name(property));
}

std::string_view property_key(ZORVA_ACTION& action, ZORVA_ACT_PROPERTY property) {
    // The library has no labels for the two of a custom action.
    if (property == ZORVA_ACT_PROPERTY_CU_DIRECTION) return "direction";
    if (property == ZORVA_ACT_PROPERTY_CU_DESCRIPTION) return "description";
    const property_row* row = find_property(action, property);
    return row == nullptr ? std::string_view() : row->key;
}

std::vector<unsigned char> data_bytes(const std::string& text) {
    if (trimmed(text).empty()) return {};
    dword length = 0;
    const std::unique_ptr<unsigned char[]> bytes(
        ZORVA_MGR::convert_data_list_string_to_byte_array(text, &length, nullptr));
    return {bytes.get(), bytes.get() + length};
}

std::string action_facts(ZORVA_ACTION& action) {
    if (is_custom(action)) return custom_text(action);
    const std::string details = detail_text(action);
    return command_text(action) + (details.empty() ? "" : ", " + details);
}

json flows_json(ZORVA_FLASH& flash, std::span<const flow_row> selected) {
    json object = json::object();
    for (const flow_row& flow : selected)
        object[flow.name] = operations_json(*flash.get_operation_list(flow.type));
    return object;
}

void print_flow(ZORVA_FLASH& flash, const flow_row& flow, output& out) {
    constexpr int operation_indent = 2;
    constexpr int action_indent = 4;
    out.heading(fmt::format("{} flow", flow.label));
    for (ZORVA_OPERATION* operation : *flash.get_operation_list(flow.type)) {
        out.heading(printable(operation->get_name()), operation_indent);
        std::vector<std::vector<std::string>> rows;
        for (ZORVA_ACTION* action : *operation->get_action_list())
            rows.push_back(action_cells(rows.size() + 1, *action));
        out.rows(rows, action_indent);
    }
}

}  // namespace zorva_tool
