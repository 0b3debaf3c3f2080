// The checks of device parameters that both managers share.
#include "pgm/zorva/load/zorva_interface.h"
#include "pgm/zorva/rules/zorva_name.h"
#include "pgm/zorva/rules/zorva_operation_table.h"
#include "pgm/zorva/rules/zorva_report.h"
#include "pgm/zorva/zorva_mgr.h"

#include <algorithm>

bool ZORVA_MGR::is_valid_name(std::string& name) { return zorva_is_definition_name(name); }

bool ZORVA_MGR::is_golden_template_name(std::string& name) { return zorva_is_golden_vendor(name); }

std::optional<ZORVA_REFUSAL> ZORVA_MGR::judge_device_name(const std::string& name) {
    using enum ZORVA_MESSAGE;
    std::string text = name;
    if (!is_valid_name(text))
        return ZORVA_REFUSAL{INVALID_DEVICE_NAME_WITH_EMPTY_STRING_OR_SPECIAL_CHAR, name, {}};
    if (is_golden_template_name(text))
        return ZORVA_REFUSAL{INVALID_DEVICE_NAME_CONFLICT_WITH_TEMPLATE, name, {}};
    if (device_exist_in_db(name, true))
        return ZORVA_REFUSAL{INVALID_DEVICE_NAME_CONFLICT_WITH_EXISTING_DEVICE, name, {}};
    return {};
}

bool ZORVA_MGR::device_name_is_valid(std::string name, std::string* err_msg) {
    return zorva_passes(judge_device_name(name), err_msg);
}

namespace {

std::optional<ZORVA_REFUSAL> judge_offered(const std::string& value,
                                           const std::vector<std::string>& offered,
                                           ZORVA_MESSAGE message) {
    const bool is_offered = !value.empty() && std::ranges::find(offered, value) != offered.end();
    return is_offered ? std::nullopt : std::optional(ZORVA_REFUSAL{message, value, {}});
}

}  // namespace

bool ZORVA_MGR::device_density_is_valid(std::string density, std::string* err_msg) {
    return zorva_passes(
        judge_offered(density, get_device_density_list(), ZORVA_MESSAGE::INVALID_DEVICE_DENSITY),
        err_msg);
}

bool ZORVA_MGR::device_io_voltage_is_valid(std::string voltage, std::string* err_msg) {
    return zorva_passes(
        judge_offered(voltage, get_device_io_voltage_list(), ZORVA_MESSAGE::INVALID_IO_VOLTAGE),
        err_msg);
}

bool ZORVA_MGR::device_io_voltage_is_compatible(std::string voltage, std::string* err_msg) {
    if (device_io_voltage_is_valid(voltage, nullptr) &&
        voltage == family_info(m_active_device_family).io_voltage)
        return true;
    return zorva_passes(ZORVA_REFUSAL{ZORVA_MESSAGE::INCOMPATIBLE_IO_VOLTAGE, voltage, {}},
                        err_msg);
}

bool ZORVA_MGR::is_parameter_valid(ZORVA_FLASH_PARAM param) {
    return param == ZORVA_FLASH_PARAM_NAME || param == ZORVA_FLASH_PARAM_IO_VOLTAGE ||
           param == ZORVA_FLASH_PARAM_DENSITY;
}

bool ZORVA_MGR::is_parameter_valid(ZORVA_FLASH_PARAM param, std::string value,
                                   std::string* err_msg) {
    if (param == ZORVA_FLASH_PARAM_NAME) return device_name_is_valid(value, err_msg);
    if (param == ZORVA_FLASH_PARAM_IO_VOLTAGE) return device_io_voltage_is_valid(value, err_msg);
    if (param == ZORVA_FLASH_PARAM_DENSITY) return device_density_is_valid(value, err_msg);
    ZORVA_FAIL("Unknown flash parameter: %d", static_cast<int>(param));
}

bool ZORVA_MGR::is_parameter_valid(ZORVA_FLASH_PARAM param, dword, std::string*) {
    ZORVA_FAIL("Unknown flash parameter: %d", static_cast<int>(param));
}

bool ZORVA_MGR::is_parameter_compatible(ZORVA_FLASH_PARAM param, std::string value,
                                        std::string* err_msg) {
    if (param == ZORVA_FLASH_PARAM_IO_VOLTAGE)
        return device_io_voltage_is_compatible(value, err_msg);
    ZORVA_FAIL("Unknown flash parameter: %d", static_cast<int>(param));
}

std::vector<ZORVA_MESSAGE_INFO> ZORVA_MGR::get_message_list() {
    std::vector<ZORVA_MESSAGE_INFO> messages;
    for (const ZORVA_MESSAGE_ROW& row : zorva_messages()) {
        const bool has_text = row.shape != ZORVA_MESSAGE_SHAPE::NONE;
        messages.push_back(
            {row.id, row.type == MSG_POST_ERROR, has_text ? row.name : "", row.text});
    }
    return messages;
}
