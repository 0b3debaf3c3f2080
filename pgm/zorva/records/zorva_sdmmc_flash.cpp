#include "pgm/zorva/zorva_sdmmc_flash.h"

#include "pgm/zorva/rules/zorva_report.h"

ZORVA_SDMMC_FLASH::ZORVA_SDMMC_FLASH(std::string name) : ZORVA_FLASH(std::move(name)) {}
ZORVA_SDMMC_FLASH::~ZORVA_SDMMC_FLASH() { ZORVA_SDMMC_FLASH::clear_operation_list(); }

DEV_FAMILY_ENUM ZORVA_SDMMC_FLASH::get_family() { return DEV_FAMILY_SDMMC_FLASH; }

std::string ZORVA_SDMMC_FLASH::get_generic_name() {
    const qword bytes = get_density_in_bytes_qword();
    if (bytes >= 0x40000000) return fmt::format("SDMMC_{}GB", bytes >> 30);
    return fmt::format("SDMMC_{}MB", bytes >> 20);
}

std::vector<ZORVA_OPERATION*>& ZORVA_SDMMC_FLASH::flow_list(ZORVA_PROG_FLOW_TYPE flow) {
    if (flow != ZORVA_PROG_FLOW_TYPE_SDM) ZORVA_FAIL("Unknown programming flow type");
    return m_sdm_operation_list;
}

const std::vector<ZORVA_OPERATION*>* ZORVA_SDMMC_FLASH::get_operation_list(
    ZORVA_PROG_FLOW_TYPE flow) {
    return &flow_list(flow);
}

void ZORVA_SDMMC_FLASH::add_operation_into_list(ZORVA_OPERATION* operation,
                                                ZORVA_PROG_FLOW_TYPE flow) {
    add_operation(flow_list(flow), operation);
}

void ZORVA_SDMMC_FLASH::set_operation_list(std::vector<ZORVA_OPERATION*> operation_list,
                                           ZORVA_PROG_FLOW_TYPE flow) {
    ZORVA_ASSERT(!operation_list.empty());
    replace_operations(flow_list(flow), std::move(operation_list));
}

void ZORVA_SDMMC_FLASH::clear_operation_list() { delete_operations(m_sdm_operation_list); }

std::string ZORVA_SDMMC_FLASH::get_parameter_value(ZORVA_FLASH_PARAM param) {
    return param == ZORVA_FLASH_PARAM_IO_VOLTAGE ? m_io_voltage : std::string();
}

dword ZORVA_SDMMC_FLASH::get_parameter_value_in_dword(ZORVA_FLASH_PARAM param, dword*) {
    return param == ZORVA_FLASH_PARAM_TOTAL_DIE ? 1 : 0;
}

void ZORVA_SDMMC_FLASH::set_parameter_value(ZORVA_FLASH_PARAM param, dword) {
    ZORVA_FAIL("Unknown flash parameter: %d", static_cast<int>(param));
}

void ZORVA_SDMMC_FLASH::set_parameter_value(ZORVA_FLASH_PARAM param, std::string value) {
    if (param != ZORVA_FLASH_PARAM_IO_VOLTAGE)
        ZORVA_FAIL("Unknown flash parameter: %d", static_cast<int>(param));
    m_io_voltage = std::move(value);
    tell_watcher();
}
