// The checks of the parameters that only QSPI devices have.
#include "pgm/zorva/qspi/zorva_qspi_interface.h"
#include "pgm/zorva/zorva_qspi_mgr.h"

bool ZORVA_QSPI_MGR::device_id_is_valid(std::string id, std::string* err_msg) {
    return zorva_passes(judge(ZORVA_FLASH_PARAM_ID, id), err_msg);
}

bool ZORVA_QSPI_MGR::total_device_die_is_valid(dword value, std::string* err_msg) {
    return zorva_passes(zorva_qspi_interface.judge(ZORVA_FLASH_PARAM_TOTAL_DIE, value), err_msg);
}

bool ZORVA_QSPI_MGR::dummy_clock_cycle_is_valid(dword value, std::string* err_msg) {
    return zorva_passes(zorva_qspi_interface.judge(ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE, value),
                        err_msg);
}

bool ZORVA_QSPI_MGR::template_name_is_valid(std::string name, std::string* err_msg) {
    return zorva_passes(judge(ZORVA_FLASH_PARAM_TEMPLATE_NAME, name), err_msg);
}

bool ZORVA_QSPI_MGR::prog_flow_template_is_valid(std::string name, std::string* err_msg) {
    return zorva_passes(judge(ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE, name), err_msg);
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
