#include "pgm/zorva/zorva_flash.h"

#include "pgm/zorva/rules/zorva_report.h"
#include "services/pgm_common.h"

#include <algorithm>

namespace {

constexpr qword bytes_of_unit(char unit) {
    switch (unit) {
        case 'G':
            return 0x40000000;
        case 'M':
            return 0x100000;
        default:
            return 0;
    }
}

void delete_operations(std::vector<ZORVA_OPERATION*>& list) {
    for (; !list.empty(); list.pop_back()) delete list.back();
}

}  // namespace

ZORVA_FLASH::ZORVA_FLASH(std::string name) : m_name(std::move(name)) {}
ZORVA_FLASH::~ZORVA_FLASH() { ZORVA_FLASH::clear_operation_list(); }

std::string ZORVA_FLASH::get_name() { return m_name; }
void ZORVA_FLASH::set_name(std::string name) { m_name = std::move(name); }
std::string ZORVA_FLASH::get_density() { return m_density; }
void ZORVA_FLASH::set_density(std::string density) { m_density = std::move(density); }
std::string ZORVA_FLASH::get_db_dir() { return m_db_dir; }
void ZORVA_FLASH::set_db_dir(std::string db_dir) { m_db_dir = std::move(db_dir); }
bool ZORVA_FLASH::get_flash_removable_permission() { return m_flash_removable_permission; }
void ZORVA_FLASH::set_flash_removable_permission(bool removable) {
    m_flash_removable_permission = removable;
}

dword ZORVA_FLASH::get_density_in_bytes() {
    return static_cast<dword>(get_density_in_bytes_qword());
}

qword ZORVA_FLASH::get_density_in_bytes_qword() {
    const std::size_t unit_at = m_density.find_first_not_of("0123456789");
    if (unit_at == std::string::npos) return 0;
    qword unit_size = bytes_of_unit(m_density[unit_at]);
    if (unit_at + 1 < m_density.size() && m_density[unit_at + 1] == 'b') unit_size >>= 3;
    return unit_size * PGM_COMMON::convert_string_to_qword(m_density.substr(0, unit_at), false,
                                                           nullptr, nullptr, false);
}

void ZORVA_FLASH::reserve_operations(std::size_t count) {
    m_sfl_operation_list.reserve(count);
    m_sdm_operation_list.reserve(count);
}

bool ZORVA_FLASH::has_flow(ZORVA_PROG_FLOW_TYPE flow) const {
    return flow == ZORVA_PROG_FLOW_TYPE_SFL || flow == ZORVA_PROG_FLOW_TYPE_SDM;
}

std::vector<ZORVA_OPERATION*>& ZORVA_FLASH::flow_list(ZORVA_PROG_FLOW_TYPE flow) {
    if (!has_flow(flow)) ZORVA_FAIL("Unknown programming flow type");
    return flow == ZORVA_PROG_FLOW_TYPE_SDM ? m_sdm_operation_list : m_sfl_operation_list;
}

const std::vector<ZORVA_OPERATION*>* ZORVA_FLASH::get_operation_list(ZORVA_PROG_FLOW_TYPE flow) {
    return &flow_list(flow);
}

void ZORVA_FLASH::add_operation_into_list(ZORVA_OPERATION* operation, ZORVA_PROG_FLOW_TYPE flow) {
    std::vector<ZORVA_OPERATION*>& list = flow_list(flow);
    ZORVA_ASSERT(operation);
    list.push_back(operation);
}

void ZORVA_FLASH::set_operation_list(std::vector<ZORVA_OPERATION*> operation_list,
                                     ZORVA_PROG_FLOW_TYPE flow) {
    ZORVA_ASSERT(!operation_list.empty());
    std::vector<ZORVA_OPERATION*>& list = flow_list(flow);
    delete_operations(list);
    list = std::move(operation_list);
}

void ZORVA_FLASH::clear_operation_list() {
    delete_operations(m_sfl_operation_list);
    delete_operations(m_sdm_operation_list);
}
