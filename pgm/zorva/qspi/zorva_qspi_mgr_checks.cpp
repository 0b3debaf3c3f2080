// The checks of the parameters that only QSPI devices have.
#include "pgm/zorva/qspi/zorva_qspi_interface.h"
#include "pgm/zorva/rules/zorva_operation_table.h"
#include "pgm/zorva/zorva_qspi_mgr.h"

namespace {

std::optional<ZORVA_NUMBER_RULE> number_rule(ZORVA_FLASH_PARAM param) {
    const auto params = zorva_qspi_params();
    const auto place = static_cast<std::size_t>(param);
    return place < params.size() ? params[place].number : std::nullopt;
}

}  // namespace

std::optional<ZORVA_VALUE_RANGE> ZORVA_QSPI_MGR::get_parameter_range(ZORVA_FLASH_PARAM param) {
    const auto rule = number_rule(param);
    if (!rule) return {};
    return ZORVA_VALUE_RANGE{.form = ZORVA_FORM::NUMBER, .least = rule->least, .most = rule->most};
}

bool ZORVA_QSPI_MGR::device_id_is_valid(std::string id, std::string* err_msg) {
    return zorva_passes(zorva_judge_device_id(id), err_msg);
}

bool ZORVA_QSPI_MGR::total_device_die_is_valid(dword value, std::string* err_msg) {
    return zorva_passes(zorva_judge_number(*number_rule(ZORVA_FLASH_PARAM_TOTAL_DIE), value),
                        err_msg);
}

bool ZORVA_QSPI_MGR::dummy_clock_cycle_is_valid(dword value, std::string* err_msg) {
    return zorva_passes(zorva_judge_number(*number_rule(ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE), value),
                        err_msg);
}

std::optional<ZORVA_REFUSAL> ZORVA_QSPI_MGR::judge_template_name(const std::string& name) {
    using enum ZORVA_MESSAGE;
    std::string text = name;
    if (!is_valid_name(text))
        return ZORVA_REFUSAL{INVALID_TEMPLATE_NAME_WITH_EMPTY_STRING_OR_SPECIAL_CHAR, name, {}};
    if (is_golden_template_name(text))
        return ZORVA_REFUSAL{INVALID_TEMPLATE_NAME_CONFLICT_WITH_RESERVED_TEMPLATE, name, {}};
    if (m_user_flash_template_map.contains(name))
        return ZORVA_REFUSAL{INVALID_TEMPLATE_NAME_CONFLICT_WITH_TEMPLATE_DATABASE, name, {}};
    if (device_exist_in_db(name, true))
        return ZORVA_REFUSAL{INVALID_TEMPLATE_NAME_CONFLICT_WITH_EXISTING_DEVICE, name, {}};
    return {};
}

bool ZORVA_QSPI_MGR::template_name_is_valid(std::string name, std::string* err_msg) {
    return zorva_passes(judge_template_name(name), err_msg);
}

std::optional<ZORVA_REFUSAL> ZORVA_QSPI_MGR::judge_prog_flow_template(const std::string& name) {
    const bool known =
        zorva_is_golden_vendor(name) || m_user_flash_template_map.contains(name) ||
        // The device under definition may be the first to use a template.
        (m_flash && name == m_flash->get_parameter_value(ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE));
    if (known && !name.empty()) return {};
    return ZORVA_REFUSAL{ZORVA_MESSAGE::INVALID_PROGRAMMING_FLOW_TEMPLATE, name, {}};
}

bool ZORVA_QSPI_MGR::prog_flow_template_is_valid(std::string name, std::string* err_msg) {
    return zorva_passes(judge_prog_flow_template(name), err_msg);
}

bool ZORVA_QSPI_MGR::is_parameter_valid(ZORVA_FLASH_PARAM param) {
    return param >= ZORVA_FLASH_PARAM_NAME && param <= ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE;
}

bool ZORVA_QSPI_MGR::is_parameter_valid(ZORVA_FLASH_PARAM param, dword value,
                                        std::string* err_msg) {
    if (param == ZORVA_FLASH_PARAM_TOTAL_DIE) return total_device_die_is_valid(value, err_msg);
    if (param == ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE || param == ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE_X4)
        return dummy_clock_cycle_is_valid(value, err_msg);
    return ZORVA_MGR::is_parameter_valid(param, value, err_msg);
}

bool ZORVA_QSPI_MGR::is_parameter_valid(ZORVA_FLASH_PARAM param, std::string value,
                                        std::string* err_msg) {
    if (param == ZORVA_FLASH_PARAM_ID) return device_id_is_valid(value, err_msg);
    if (param == ZORVA_FLASH_PARAM_TEMPLATE_NAME) return template_name_is_valid(value, err_msg);
    if (param == ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE)
        return prog_flow_template_is_valid(value, err_msg);
    return ZORVA_MGR::is_parameter_valid(param, value, err_msg);
}
