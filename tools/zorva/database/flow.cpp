#include "tools/zorva/database/flow.h"

#include "pgm/zorva/zorva_mgr.h"
#include "tools/zorva/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>

namespace zorva_tool {

namespace {

constexpr flow_row flows[] = {
    {ZORVA_PROG_FLOW_TYPE_SFL, "sfl", "SFL"},
    {ZORVA_PROG_FLOW_TYPE_SDM, "sdm", "SDM"},
};

// One of the kinds of action property.
struct property_row {
    ZORVA_PROPERTY kind;
    const char* key;     // in JSON
    const char* before;  // what stands around the value in a line
    const char* after;
    const char* silent;  // the value that goes without saying
};

// What has no text around it stands in front, with the name of the command.
constexpr property_row properties[] = {
    {ZORVA_PROPERTY::NAME, "name", "", "", ""},
    {ZORVA_PROPERTY::COMMAND, "command", "", "", ""},
    {ZORVA_PROPERTY::ERASE_SIZE, "erase_size", "", "", ""},
    {ZORVA_PROPERTY::DATA_LENGTH, "data_length", "length ", "", ""},
    {ZORVA_PROPERTY::DATA, "data", "data ", "", ""},
    {ZORVA_PROPERTY::EXPECTED_DATA, "expected_data", "expect ", "", ""},
    {ZORVA_PROPERTY::EXPECTED_DATA_MASK, "expected_data_mask", "mask ", "", ""},
    {ZORVA_PROPERTY::ATTEMPT_COUNT, "attempt_count", "", " attempts", "1"},
    {ZORVA_PROPERTY::ADDRESS, "address", "address ", "", ""},
    {ZORVA_PROPERTY::PAGE_SIZE, "page_size", "pages of ", " bytes", ""},
    {ZORVA_PROPERTY::ADDRESSING_MODE, "addressing_mode", "", "-byte address", ""},
    {ZORVA_PROPERTY::DUMMY_CLOCK_CYCLE, "dummy_clock_cycle", "", " dummy cycles", "0"},
    {ZORVA_PROPERTY::DELAY, "delay", "delay ", " us", "0"},
    {ZORVA_PROPERTY::BUS_WIDTH_COMMAND_DATA, "bus_width", "bus ", "", "1-1"},
    {ZORVA_PROPERTY::BUS_WIDTH_COMMAND_ADDRESS, "bus_width", "bus ", "", "1-1"},
    {ZORVA_PROPERTY::BUS_WIDTH_COMMAND_ADDRESS_DATA, "bus_width", "bus ", "", "1-1-1"},
    {ZORVA_PROPERTY::DESCRIPTION, "description", "", "", ""},
    {ZORVA_PROPERTY::DIRECTION, "direction", "", "", ""},
};
// The kinds are numbered from 0, and the direction is the last.
static_assert(std::size(properties) == static_cast<std::size_t>(ZORVA_PROPERTY::DIRECTION) + 1);

const property_row& row_of(ZORVA_ACT_PROPERTY property) {
    return *std::ranges::find(properties, ZORVA_ACTION::get_property_kind(property),
                              &property_row::kind);
}

bool is_custom(const ZORVA_ACTION& action) {
    return action.get_action_type() == ZORVA_ACT_TYPE_CUSTOM;
}

std::string custom_text(ZORVA_ACTION& action) {
    return fmt::format("{}: {}", action.get_property_value(ZORVA_ACT_PROPERTY_CU_DIRECTION),
                       action.get_property_value(ZORVA_ACT_PROPERTY_CU_DESCRIPTION));
}

// The value of the property of that kind; empty if the action has none.
std::string value_of(ZORVA_ACTION& action, ZORVA_PROPERTY kind) {
    const auto property = ZORVA_ACTION::find_property(action.get_action_type(), kind);
    return property ? action.get_property_value(*property) : std::string();
}

// "0xD8 sector/block erase 64 KiB"
std::string command_text(ZORVA_ACTION& action) {
    const auto number = [&](ZORVA_PROPERTY kind) -> std::optional<dword> {
        const auto property = ZORVA_ACTION::find_property(action.get_action_type(), kind);
        if (!property) return {};
        return action.get_property_value_in_dword(*property);
    };
    std::string text = value_of(action, ZORVA_PROPERTY::COMMAND);
    const auto opcode = number(ZORVA_PROPERTY::COMMAND);
    if (opcode && !opcode_name(*opcode).empty()) text += fmt::format(" {}", opcode_name(*opcode));
    const auto erase_size = number(ZORVA_PROPERTY::ERASE_SIZE);
    if (erase_size) text += fmt::format(" {}", size_text(*erase_size));
    return text;
}

// What the line tells behind the command.
std::string detail_text(ZORVA_ACTION& action) {
    std::vector<std::string> details;
    for (const ZORVA_ACT_PROPERTY property : action.get_property_enum_list()) {
        const property_row& row = row_of(property);
        const std::string value = action.get_property_value(property);
        const bool stands_in_front = *row.before == '\0' && *row.after == '\0';
        if (stands_in_front || value.empty() || value == row.silent) continue;
        details.push_back(row.before + value + row.after);
    }
    return joined(details);
}

json action_json(ZORVA_ACTION& action) {
    json object = {{"type", action.get_name()}};
    for (const ZORVA_ACT_PROPERTY property : action.get_property_enum_list()) {
        object[property_key(property)] = action.get_property_value(property);
        if (ZORVA_ACTION::get_property_kind(property) == ZORVA_PROPERTY::COMMAND)
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
        cells.push_back(value_of(action, ZORVA_PROPERTY::NAME));
        cells.push_back(detail_text(action));
        if (cells.back().empty()) cells.pop_back();
    }
    for (std::string& cell : cells) cell = printable(cell);
    return cells;
}

}  // namespace

std::span<const flow_row> flow_table() { return flows; }

const char* property_key(ZORVA_ACT_PROPERTY property) { return row_of(property).key; }

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
