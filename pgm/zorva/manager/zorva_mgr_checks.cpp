// The checks of device parameters that both managers share.
#include "pgm/zorva/manager/zorva_mgr_parts.h"
#include "pgm/zorva/rules/zorva_name.h"
#include "pgm/zorva/rules/zorva_operation_table.h"
#include "pgm/zorva/rules/zorva_report.h"

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

std::optional<ZORVA_REFUSAL> ZORVA_MGR::judge_template_name(const std::string& name) {
    using enum ZORVA_MESSAGE;
    std::string text = name;
    if (!is_valid_name(text))
        return ZORVA_REFUSAL{INVALID_TEMPLATE_NAME_WITH_EMPTY_STRING_OR_SPECIAL_CHAR, name, {}};
    if (is_golden_template_name(text))
        return ZORVA_REFUSAL{INVALID_TEMPLATE_NAME_CONFLICT_WITH_RESERVED_TEMPLATE, name, {}};
    if (parts().catalogue.templates().contains(name))
        return ZORVA_REFUSAL{INVALID_TEMPLATE_NAME_CONFLICT_WITH_TEMPLATE_DATABASE, name, {}};
    if (device_exist_in_db(name, true))
        return ZORVA_REFUSAL{INVALID_TEMPLATE_NAME_CONFLICT_WITH_EXISTING_DEVICE, name, {}};
    return {};
}

std::optional<ZORVA_REFUSAL> ZORVA_MGR::judge_prog_flow_template(const std::string& name) {
    ZORVA_FLASH* flash = parts().catalogue.handed_out();
    const bool known =
        zorva_is_golden_vendor(name) || parts().catalogue.templates().contains(name) ||
        // The device under definition may be the first to use a template.
        (flash && name == flash->get_parameter_value(ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE));
    if (known && !name.empty()) return {};
    return ZORVA_REFUSAL{ZORVA_MESSAGE::INVALID_PROGRAMMING_FLOW_TEMPLATE, name, {}};
}

std::optional<ZORVA_REFUSAL> ZORVA_MGR::judge(ZORVA_FLASH_PARAM param, const std::string& value) {
    if (param == ZORVA_FLASH_PARAM_NAME) return judge_device_name(value);
    if (param == ZORVA_FLASH_PARAM_TEMPLATE_NAME) return judge_template_name(value);
    if (param == ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE) return judge_prog_flow_template(value);
    // The lists may be a derived manager's own.
    if (param == ZORVA_FLASH_PARAM_DENSITY)
        return zorva_judge_offered(value, get_device_density_list(),
                                   ZORVA_MESSAGE::INVALID_DEVICE_DENSITY);
    if (param == ZORVA_FLASH_PARAM_IO_VOLTAGE)
        return zorva_judge_offered(value, get_device_io_voltage_list(),
                                   ZORVA_MESSAGE::INVALID_IO_VOLTAGE);
    return parts().interface.judge(param, value);
}

namespace {

[[noreturn]] void fail_unknown(ZORVA_FLASH_PARAM param) {
    ZORVA_FAIL("Unknown flash parameter: %d", static_cast<int>(param));
}

std::optional<ZORVA_FINDING> finding_of(const std::optional<ZORVA_REFUSAL>& refusal) {
    if (!refusal) return {};
    return zorva_finding(*refusal);
}

}  // namespace

std::optional<ZORVA_FINDING> ZORVA_MGR::judge_parameter(ZORVA_FLASH_PARAM param,
                                                        const std::string& value) const {
    // The checks aren't const, as their signatures are fixed, but change nothing.
    auto& self = const_cast<ZORVA_MGR&>(*this);
    if (!self.is_parameter_valid(param) || parts().interface.is_number(param)) fail_unknown(param);
    return finding_of(self.judge(param, value));
}

std::optional<ZORVA_FINDING> ZORVA_MGR::judge_parameter(ZORVA_FLASH_PARAM param,
                                                        dword value) const {
    if (!const_cast<ZORVA_MGR&>(*this).is_parameter_valid(param) ||
        !parts().interface.is_number(param))
        fail_unknown(param);
    return finding_of(parts().interface.judge(param, value));
}

bool ZORVA_MGR::device_density_is_valid(std::string density, std::string* err_msg) {
    return zorva_passes(judge(ZORVA_FLASH_PARAM_DENSITY, density), err_msg);
}

bool ZORVA_MGR::device_io_voltage_is_valid(std::string voltage, std::string* err_msg) {
    return zorva_passes(judge(ZORVA_FLASH_PARAM_IO_VOLTAGE, voltage), err_msg);
}

bool ZORVA_MGR::device_io_voltage_is_compatible(std::string voltage, std::string* err_msg) {
    if (device_io_voltage_is_valid(voltage, nullptr) &&
        voltage == parts().family(parts().active_device_family).io_voltage)
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
    fail_unknown(param);
}

bool ZORVA_MGR::is_parameter_valid(ZORVA_FLASH_PARAM param, dword, std::string*) {
    fail_unknown(param);
}

bool ZORVA_MGR::is_parameter_compatible(ZORVA_FLASH_PARAM param, std::string value,
                                        std::string* err_msg) {
    if (param == ZORVA_FLASH_PARAM_IO_VOLTAGE)
        return device_io_voltage_is_compatible(value, err_msg);
    fail_unknown(param);
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
