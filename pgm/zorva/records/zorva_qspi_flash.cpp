#include "pgm/zorva/zorva_qspi_flash.h"

#include "pgm/zorva/rules/zorva_data_list.h"
#include "pgm/zorva/rules/zorva_operation_table.h"
#include "pgm/zorva/rules/zorva_report.h"

#include <algorithm>

ZORVA_QSPI_FLASH::ZORVA_QSPI_FLASH(std::string name) : ZORVA_FLASH(std::move(name)) {
    m_sfl_operation_list.reserve(zorva_operations().size());
    m_sdm_operation_list.reserve(zorva_operations().size());
}

ZORVA_QSPI_FLASH::~ZORVA_QSPI_FLASH() { ZORVA_QSPI_FLASH::clear_operation_list(); }

DEV_FAMILY_ENUM ZORVA_QSPI_FLASH::get_family() { return DEV_FAMILY_QSPI_FLASH; }

// Works in 32 bits, so that 4 Gbit wraps to no name: callers rely on the names as they are.
std::string ZORVA_QSPI_FLASH::get_generic_name() {
    const dword bits = get_density_in_bytes() << 3;
    if (bits >= 0x40000000) return fmt::format("QSPI{}GB", bits >> 30);
    if (bits >= 0x8000000) return fmt::format("QSPI{}MB", bits >> 20);
    return {};
}

std::vector<ZORVA_OPERATION*>& ZORVA_QSPI_FLASH::flow_list(ZORVA_PROG_FLOW_TYPE flow) {
    if (flow == ZORVA_PROG_FLOW_TYPE_SFL) return m_sfl_operation_list;
    if (flow == ZORVA_PROG_FLOW_TYPE_SDM) return m_sdm_operation_list;
    ZORVA_FAIL("Unknown programming flow type");
}

const std::vector<ZORVA_OPERATION*>* ZORVA_QSPI_FLASH::get_operation_list(
    ZORVA_PROG_FLOW_TYPE flow) {
    return &flow_list(flow);
}

void ZORVA_QSPI_FLASH::add_operation_into_list(ZORVA_OPERATION* operation,
                                               ZORVA_PROG_FLOW_TYPE flow) {
    add_operation(flow_list(flow), operation);
}

void ZORVA_QSPI_FLASH::set_operation_list(std::vector<ZORVA_OPERATION*> operation_list,
                                          ZORVA_PROG_FLOW_TYPE flow) {
    ZORVA_ASSERT(!operation_list.empty());
    replace_operations(flow_list(flow), std::move(operation_list));
}

void ZORVA_QSPI_FLASH::clear_operation_list() {
    delete_operations(m_sfl_operation_list);
    delete_operations(m_sdm_operation_list);
}

std::string* ZORVA_QSPI_FLASH::text_field(ZORVA_FLASH_PARAM param) {
    switch (param) {
        case ZORVA_FLASH_PARAM_ID:
            return &m_id;
        case ZORVA_FLASH_PARAM_IO_VOLTAGE:
            return &m_io_voltage;
        case ZORVA_FLASH_PARAM_TEMPLATE_NAME:
            return &m_template_name;
        case ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE:
            return &m_prog_flow_template;
        case ZORVA_FLASH_PARAM_NAME:
        case ZORVA_FLASH_PARAM_DENSITY:
        case ZORVA_FLASH_PARAM_TOTAL_DIE:
        case ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE:
        case ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE_X4:
            break;
    }
    return nullptr;
}

dword* ZORVA_QSPI_FLASH::number_field(ZORVA_FLASH_PARAM param) {
    switch (param) {
        case ZORVA_FLASH_PARAM_TOTAL_DIE:
            return &m_total_die;
        case ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE:
            return &m_dummy_clk_cycle;
        case ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE_X4:
            return &m_dummy_clk_cycle_x4;
        case ZORVA_FLASH_PARAM_NAME:
        case ZORVA_FLASH_PARAM_ID:
        case ZORVA_FLASH_PARAM_IO_VOLTAGE:
        case ZORVA_FLASH_PARAM_DENSITY:
        case ZORVA_FLASH_PARAM_TEMPLATE_NAME:
        case ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE:
            break;
    }
    return nullptr;
}

std::string ZORVA_QSPI_FLASH::get_parameter_value(ZORVA_FLASH_PARAM param) {
    const std::string* field = text_field(param);
    return field ? *field : std::string();
}

dword ZORVA_QSPI_FLASH::get_parameter_value_in_dword(ZORVA_FLASH_PARAM param, dword* mask) {
    if (param == ZORVA_FLASH_PARAM_ID) return get_id_in_dword(mask);
    const dword* field = number_field(param);
    return field ? *field : 0;
}

void ZORVA_QSPI_FLASH::set_parameter_value(ZORVA_FLASH_PARAM param, dword value) {
    if (param == ZORVA_FLASH_PARAM_ID) return set_id(fmt::sprintf("%d", value));
    dword* field = number_field(param);
    if (!field) ZORVA_FAIL("Unknown flash parameter: %d", static_cast<int>(param));
    *field = value;
}

void ZORVA_QSPI_FLASH::set_parameter_value(ZORVA_FLASH_PARAM param, std::string value) {
    if (param == ZORVA_FLASH_PARAM_ID) return set_id(std::move(value));
    std::string* field = text_field(param);
    if (!field) ZORVA_FAIL("Unknown flash parameter: %d", static_cast<int>(param));
    *field = std::move(value);
    if (param == ZORVA_FLASH_PARAM_IO_VOLTAGE) tell_watcher();
}

dword ZORVA_QSPI_FLASH::get_id_in_dword(dword* mask) const {
    if (mask) *mask = m_id_mask;
    return m_id_value;
}

void ZORVA_QSPI_FLASH::set_id(std::string id) {
    const auto bytes = zorva_data_list_bytes(id).value_or(std::vector<unsigned char>{});
    m_id = std::move(id);
    m_id_value = zorva_little_endian(bytes);
    m_id_mask = zorva_little_endian(std::vector<unsigned char>(bytes.size(), 0xFF));
    tell_watcher();
}
