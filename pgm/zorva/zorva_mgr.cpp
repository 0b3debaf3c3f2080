// Life of a manager, and its look-ups.
#include "pgm/zorva/zorva_mgr.h"

#include "pgm/zorva/load/zorva_interface.h"
#include "pgm/zorva/rules/zorva_data_list.h"
#include "pgm/zorva/rules/zorva_report.h"
#include "services/pgmdev.h"
#include "services/settings.h"

#include <algorithm>

namespace {

void delete_operations(std::vector<ZORVA_OPERATION*>& operation_list) {
    for (; !operation_list.empty(); operation_list.pop_back()) delete operation_list.back();
}

}  // namespace

ZORVA_USER_FLASH_TEMPLATE::~ZORVA_USER_FLASH_TEMPLATE() {
    delete_operations(sfl_operation_list);
    delete_operations(sdm_operation_list);
}

ZORVA_MGR::ZORVA_MGR(const ZORVA_INTERFACE& interface)
    : m_interface(interface),
      m_active_device_family(interface.default_device_family),
      m_active_config_mode(interface.default_config_mode),
      m_use_sdm_mode(interface.default_use_sdm_mode),
      m_skip_device_filtering(cfg_is_on("pgm_zorva_skip_device_filtering", false).value) {}

ZORVA_MGR::~ZORVA_MGR() {
    for (auto& [name, user_template] : m_user_flash_template_map) delete user_template;
    for (auto& [name, flash] : m_flash_map) delete flash;
}

bool ZORVA_MGR::get_use_sdm_mode() { return m_use_sdm_mode; }
DEV_FAMILY_ENUM ZORVA_MGR::get_active_device_family() { return m_active_device_family; }
PGMIO_CONFIG_SCHEME ZORVA_MGR::get_active_config_mode() { return m_active_config_mode; }
void ZORVA_MGR::set_active_config_mode(PGMIO_CONFIG_SCHEME config_mode) {
    m_active_config_mode = config_mode;
}
void ZORVA_MGR::set_active_device_family(DEV_FAMILY_ENUM family) {
    m_active_device_family = family;
    m_use_sdm_mode = family_info(family).use_sdm_mode;
}

void ZORVA_MGR::fill_family_info(bool (*serves)(const PGMDEV_DEVICE_INFO&)) {
    PGMDEV_DEV_INFO_MANAGER service(false, 0);
    for (dword family = 1; family <= DEV_FAMILY_LAST; ++family) {
        const PGMDEV_DEVICE_INFO* info =
            service.get_db_by_family(static_cast<DEV_FAMILY_ENUM>(family));
        if (!info || !serves(*info)) continue;
        m_family_info_map[info->family] = {info->use_sdm, info->io_voltage};
    }
}

// Asking for an unknown family makes an entry for it, with no voltage, which then stands in
// get_device_family_list too: callers rely on it.
ZORVA_FAMILY_INFO& ZORVA_MGR::family_info(DEV_FAMILY_ENUM family) {
    return m_family_info_map[family];
}

const ZORVA_FAMILY_INFO* ZORVA_MGR::get_family_info(DEV_FAMILY_ENUM family) const {
    const auto found = m_family_info_map.find(family);
    return found == m_family_info_map.end() ? nullptr : &found->second;
}

std::vector<DEV_FAMILY_ENUM> ZORVA_MGR::served_families() const {
    std::vector<DEV_FAMILY_ENUM> families;
    for (const auto& [family, info] : m_family_info_map) families.push_back(family);
    return families;
}

bool ZORVA_MGR::suits_family(ZORVA_FLASH& flash, DEV_FAMILY_ENUM family) {
    return flash.get_parameter_value(ZORVA_FLASH_PARAM_IO_VOLTAGE) ==
           family_info(family).io_voltage;
}

ZORVA_FLASH* ZORVA_MGR::adopt_new_flash(std::unique_ptr<ZORVA_FLASH> flash) {
    drop_placeholder();
    m_flash = m_loose_flashes.emplace_back(std::move(flash)).get();
    return m_flash;
}

void ZORVA_MGR::drop_placeholder() {
    if (m_flash == m_placeholder.get()) m_flash = nullptr;
    m_placeholder.reset();
}

bool ZORVA_MGR::device_is_legacy(std::string device_name, bool skip_filtering) {
    return !device_name.empty() && is_legacy_config_device(device_name, m_active_device_family,
                                                           m_active_config_mode, skip_filtering);
}

bool ZORVA_MGR::device_exist_in_db(std::string device_name, bool skip_filtering) {
    if (device_name.empty()) return false;
    if (is_legacy_config_device(device_name, m_active_device_family, m_active_config_mode,
                                skip_filtering))
        return true;
    return find_flash(device_name, skip_filtering) != nullptr;
}

// The answer is device_is_legacy's and then device_exist_in_db's, with one search of the map.
ZORVA_FLASH* ZORVA_MGR::get_flash(std::string device_name, bool skip_filtering) {
    drop_placeholder();
    m_flash = nullptr;
    if (device_name.empty()) return nullptr;
    if (is_legacy_config_device(device_name, m_active_device_family, m_active_config_mode,
                                skip_filtering)) {
        m_flash = create_flash(device_name);
        m_placeholder = std::move(m_loose_flashes.back());
        m_loose_flashes.pop_back();
        return m_flash;
    }
    m_flash = find_flash(device_name, skip_filtering);
    return m_flash;
}

ZORVA_FLASH* ZORVA_MGR::get_flash_with_density(qword density_in_bytes) {
    drop_placeholder();
    const auto iter = std::ranges::find_if(m_flash_map, [&](const auto& entry) {
        return entry.second->get_density_in_bytes_qword() == density_in_bytes;
    });
    m_flash = iter == m_flash_map.end() ? nullptr : iter->second;
    return m_flash;
}

ZORVA_FLASH* ZORVA_MGR::get_flash_with_id(dword id, dword mask) {
    drop_placeholder();
    const std::vector<ID_ENTRY>& ids = index().by_id;
    const auto found = std::ranges::find_if(
        ids, [&](const ID_ENTRY& entry) { return ((entry.id ^ id) & mask) == 0; });
    m_flash = found == ids.end() ? nullptr : found->flash;
    return m_flash;
}

std::vector<ZORVA_FLASH*> ZORVA_MGR::get_flash_list_with_id(dword id, dword mask) const {
    std::vector<ZORVA_FLASH*> candidates;
    for (const ID_ENTRY& entry : index().by_id)
        if (((entry.id ^ id) & mask) == 0) candidates.push_back(entry.flash);
    return candidates;
}

const ZORVA_MGR::INDEX& ZORVA_MGR::index() const {
    const qword change_count = ZORVA_FLASH::get_index_change_count();
    if (m_index.made && m_index.change_count == change_count) return m_index;
    m_index = {};
    m_index.by_name.reserve(m_flash_map.size());
    m_index.by_id.reserve(m_flash_map.size());
    for (const auto& [name, flash] : m_flash_map) {
        const ZORVA_TEXT io_voltage(flash->get_parameter_value(ZORVA_FLASH_PARAM_IO_VOLTAGE));
        m_index.by_name.emplace(name, NAME_ENTRY{flash, io_voltage});
        m_index.by_id.push_back(
            {flash->get_parameter_value_in_dword(ZORVA_FLASH_PARAM_ID, nullptr), flash});
    }
    m_index.change_count = change_count;
    m_index.made = true;
    return m_index;
}

ZORVA_FLASH* ZORVA_MGR::find_flash(const std::string& name, bool skip_filtering) {
    const auto found = index().by_name.find(name);
    if (found == m_index.by_name.end()) return nullptr;
    const NAME_ENTRY& entry = found->second;
    const bool passes = skip_filtering || m_skip_device_filtering ||
                        entry.io_voltage.get() == family_info(m_active_device_family).io_voltage;
    return passes ? entry.flash : nullptr;
}

std::string ZORVA_MGR::get_flash_file(const std::string& device_name) const {
    const auto found = m_flash_db_active_dir_map.find(device_name);
    return found == m_flash_db_active_dir_map.end() ? std::string() : found->second;
}

bool ZORVA_MGR::is_new_device_supported() { return true; }
bool ZORVA_MGR::is_flash_operation_supported() { return true; }
bool ZORVA_MGR::is_flash_action_supported() { return true; }

unsigned char* ZORVA_MGR::convert_data_list_string_to_byte_array(std::string data_string,
                                                                 dword* length, bool* valid) {
    return zorva_data_list_array(data_string, length, valid);
}
