#include "tools/zorva/database/address.h"

#include "tools/zorva/database/field_editor.h"
#include "tools/zorva/database/flow.h"
#include "tools/zorva/database/interface.h"
#include "tools/zorva/failure.h"
#include "tools/zorva/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <optional>
#include <string_view>

namespace zorva_tool {

namespace {

struct operation_row {
    ZORVA_OP_TYPE type;
    const char* name;
};
constexpr operation_row operations[] = {
    {ZORVA_OP_TYPE_INITIALIZATION, "initialization"},
    {ZORVA_OP_TYPE_PROGRAM, "program"},
    {ZORVA_OP_TYPE_ERASE, "erase"},
    {ZORVA_OP_TYPE_VERIFY_BLANKCHECK_EXAMINE, "verify"},
    {ZORVA_OP_TYPE_TERMINATION, "termination"},
};

struct address {
    ZORVA_PROG_FLOW_TYPE flow;
    ZORVA_OP_TYPE operation;
    std::size_t number;
    std::string property;
};

// The row of that name; `what` stands for it in the failure.
const auto& row_of(const auto& rows, const std::string& name, const char* what) {
    std::vector<std::string> names;
    for (const auto& row : rows) {
        if (row.name == name) return row;
        names.emplace_back(row.name);
    }
    throw failure(
        exit_command_line,
        fmt::format("There is no {} '{}'; there are {}.", what, shortened(name), joined(names)),
        nearest(name, names));
}

// Takes the text up to a separator off the front; nothing if the separator isn't there.
std::optional<std::string> take_up_to(std::string_view& text, char separator) {
    const std::size_t end = text.find(separator);
    if (end == text.npos) return {};
    std::string taken(text.substr(0, end));
    text.remove_prefix(end + 1);
    return taken;
}

std::optional<std::size_t> parse_number(const std::string& digits) {
    std::size_t number = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number);
    if (stop != end || error != std::errc()) return {};
    return number;
}

address parse_address(const std::string& text) {
    std::string_view rest = text;
    const auto flow = take_up_to(rest, '.');
    const auto operation = flow ? take_up_to(rest, '[') : std::nullopt;
    const auto number = operation ? parse_number(take_up_to(rest, ']').value_or("")) : std::nullopt;
    if (!number || rest.size() < 2 || rest[0] != '.')
        throw failure(
            exit_command_line,
            fmt::format("'{}' is no address; sfl.program[2].delay is one.", shortened(text)));
    return {row_of(flow_table(), *flow, "flow").type,
            row_of(operations, *operation, "operation").type, *number, std::string(rest.substr(1))};
}

const std::vector<ZORVA_ACTION*>& actions_of(ZORVA_FLASH& flash, const address& address) {
    for (ZORVA_OPERATION* operation : *flash.get_operation_list(address.flow))
        if (operation->get_operation_type() == address.operation)
            return *operation->get_action_list();
    static const std::vector<ZORVA_ACTION*> none;
    return none;
}

// An address without its property.
std::string action_text(const std::string& text) { return text.substr(0, text.find(']') + 1); }

ZORVA_ACTION& action_at(ZORVA_FLASH& flash, const address& address, const std::string& text) {
    const std::vector<ZORVA_ACTION*>& actions = actions_of(flash, address);
    if (address.number == 0 || address.number > actions.size())
        throw refusal(fmt::format("{} isn't there: the number of actions is {}.", action_text(text),
                                  actions.size()));
    return *actions[address.number - 1];
}

ZORVA_ACT_PROPERTY property_at(ZORVA_ACTION& action, const std::string& key,
                               const std::string& text) {
    std::vector<std::string> keys;
    for (const ZORVA_ACT_PROPERTY property : action.get_property_enum_list()) {
        keys.emplace_back(property_key(property));
        if (keys.back() == key) return property;
    }
    throw refusal(fmt::format("{} is of the type '{}', which has no property '{}'; it has {}.",
                              action_text(text), action.get_name(), shortened(key), joined(keys)));
}

// What a number means that a file holds as such: there a leading 0 means octal, also where the
// library has judged the decimal number. The result tells of one that is another number so.
std::string note_of_octal(const std::string& value) {
    if (value.size() < 2 || value[0] != '0' || value[1] == 'x') return {};
    const std::size_t wrong = value.find_first_not_of("01234567");
    if (wrong != value.npos)
        throw refusal(
            fmt::format("'{}' isn't a number: a leading 0 means octal, and {} is no octal digit.",
                        shortened(value), value[wrong]));
    const std::string digits = value.substr(std::min(value.find_first_not_of('0'), value.size()));
    if (digits.size() < 2) return {};
    qword number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number, 8);
    return fmt::format("'{}' is read as octal: {}.", value, number);
}

// Whether an action reads the ID and expects another one. It may look at fewer bytes than the ID
// has, or at more; what it expects of the .jic file can't be told.
bool contradicts(ZORVA_ACTION& action, const std::vector<unsigned char>& id) {
    constexpr dword read_jedec_id = 0x9F;
    if (action.get_action_type() != ZORVA_ACT_TYPE_READ_REGISTER ||
        action.get_property_value_in_dword(ZORVA_ACT_PROPERTY_RR_COMMAND) != read_jedec_id)
        return false;
    const auto expected =
        data_bytes(action.get_property_value(ZORVA_ACT_PROPERTY_RR_EXPECTED_DATA));
    const auto length = std::min(id.size(), expected.size());
    return !std::equal(id.begin(), id.begin() + static_cast<std::ptrdiff_t>(length),
                       expected.begin());
}

}  // namespace

std::string set_property(ZORVA_MGR& manager, ZORVA_FLASH& flash, const std::string& text,
                         const std::string& value) {
    if (!manager.is_flash_operation_supported())
        throw lacks_field(interface_of(manager.get_flash_family()));
    const address address = parse_address(text);
    ZORVA_ACTION& action = action_at(flash, address, text);
    const ZORVA_ACT_PROPERTY property = property_at(action, address.property, text);
    if (!action.property_value_is_enable(property))
        throw refusal(fmt::format("{} is fixed to {}.", text, action.get_property_value(property)));
    if (printable(value) != value)
        throw refusal(
            fmt::format("'{}' holds a character that a file can't hold.", shortened(value)));
    if (const auto finding = ZORVA_ACTION::judge_property_value(property, value))
        throw refusal(finding->sentence, finding->id);
    // A number that may also come from the .jic file stands as a text in a file.
    const ZORVA_VALUE_RANGE range = ZORVA_ACTION::get_property_range(property);
    const bool is_number_in_file = range.form == ZORVA_FORM::NUMBER && !range.jic_passes;
    std::string note = is_number_in_file ? note_of_octal(value) : "";
    action.set_property_value(property, value);
    return note;
}

std::vector<std::string> contradictions_of_id(ZORVA_FLASH& flash) {
    const auto id = data_bytes(flash.get_parameter_value(ZORVA_FLASH_PARAM_ID));
    std::vector<std::string> places;
    for (const flow_row& flow : flow_table())
        for (const operation_row& operation : operations) {
            const auto& actions = actions_of(flash, {flow.type, operation.type, 0, {}});
            for (std::size_t i = 0; i < actions.size(); ++i)
                if (contradicts(*actions[i], id))
                    places.push_back(
                        fmt::format("{}.{}[{}].expected_data", flow.name, operation.name, i + 1));
        }
    return places;
}

}  // namespace zorva_tool
