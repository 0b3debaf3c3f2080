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

}  // namespace

ZORVA_FLASH::ZORVA_FLASH(std::string name) : m_name(std::move(name)) {}
ZORVA_FLASH::~ZORVA_FLASH() = default;

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

void ZORVA_FLASH::delete_operations(std::vector<ZORVA_OPERATION*>& list) {
    for (; !list.empty(); list.pop_back()) delete list.back();
}

void ZORVA_FLASH::add_operation(std::vector<ZORVA_OPERATION*>& list, ZORVA_OPERATION* operation) {
    ZORVA_ASSERT(operation);
    list.push_back(operation);
}

void ZORVA_FLASH::replace_operations(std::vector<ZORVA_OPERATION*>& list,
                                     std::vector<ZORVA_OPERATION*> operation_list) {
    delete_operations(list);
    list = std::move(operation_list);
}
