#include "pgm/zorva/zorva_sdmmc_flash.h"

#include "pgm/zorva/rules/zorva_report.h"

ZORVA_SDMMC_FLASH::ZORVA_SDMMC_FLASH(std::string name) : ZORVA_FLASH(std::move(name)) {}
ZORVA_SDMMC_FLASH::~ZORVA_SDMMC_FLASH() = default;

DEV_FAMILY_ENUM ZORVA_SDMMC_FLASH::get_family() { return DEV_FAMILY_SDMMC_FLASH; }

std::string ZORVA_SDMMC_FLASH::get_generic_name() {
    const qword bytes = get_density_in_bytes_qword();
    if (bytes >= 0x40000000) return fmt::format("SDMMC_{}GB", bytes >> 30);
    return fmt::format("SDMMC_{}MB", bytes >> 20);
}

bool ZORVA_SDMMC_FLASH::has_flow(ZORVA_PROG_FLOW_TYPE flow) const {
    return flow == ZORVA_PROG_FLOW_TYPE_SDM;
}

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
