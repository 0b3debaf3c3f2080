#include "pgm/zorva/zorva_helper.h"

#include "pgm/zorva/load/zorva_xml_file.h"
#include "pgm/zorva/qspi/zorva_qspi_interface.h"
#include "pgm/zorva/rules/zorva_report.h"
#include "pgm/zorva/sdmmc/zorva_sdmmc_interface.h"
#include "pgm/zorva/zorva_qspi_mgr.h"
#include "pgm/zorva/zorva_sdmmc_mgr.h"
#include "services/settings.h"

#include <algorithm>
#include <iterator>

namespace {

// A family, not a manager, so that it outlives every rebuild.
DEV_FAMILY_ENUM s_active_flash_family = DEV_FAMILY_QSPI_FLASH;

bool holds(const auto& list, auto value) { return std::ranges::find(list, value) != list.end(); }

constexpr const ZORVA_INTERFACE* interfaces[] = {&zorva_qspi_interface, &zorva_sdmmc_interface};

// The answer of is_zorva_flash once the manager is found.
bool is_own_flash(ZORVA_MGR* manager, const std::string& device_name, bool skip_filtering) {
    return manager && manager->device_exist_in_db(device_name, skip_filtering) &&
           !manager->device_is_legacy(device_name, skip_filtering);
}

}  // namespace

ZORVA_HELPER::ZORVA_HELPER() { refresh(); }
ZORVA_HELPER::~ZORVA_HELPER() { clear(); }

ZORVA_HELPER* ZORVA_HELPER::get_helper() {
    static ZORVA_HELPER helper;
    return &helper;
}

void ZORVA_HELPER::clear() {
    while (!m_mgr_list.empty()) m_mgr_list.pop_back();
}

void ZORVA_HELPER::refresh() {
    clear();
    m_mgr_list.push_back(std::make_unique<ZORVA_QSPI_MGR>());
    if (cfg_is_on(CFG_ENABLE_SDMMC, false).value)
        m_mgr_list.push_back(std::make_unique<ZORVA_SDMMC_MGR>());
}

std::vector<ZORVA_MGR*> ZORVA_HELPER::get_manager_list() const {
    std::vector<ZORVA_MGR*> managers;
    for (const auto& manager : m_mgr_list) managers.push_back(manager.get());
    return managers;
}

ZORVA_MGR* ZORVA_HELPER::get_manager(std::string device_name, bool skip_filtering, bool reload) {
    if (reload) refresh();
    ZORVA_ASSERT(m_mgr_list.size() > 0);
    const auto place = std::ranges::find_if(m_mgr_list, [&](const auto& manager) {
        return manager->get_flash(device_name, skip_filtering) != nullptr;
    });
    return place == m_mgr_list.end() ? nullptr : place->get();
}

ZORVA_MGR* ZORVA_HELPER::get_manager(DEV_FAMILY_ENUM flash_family, bool new_instance) {
    ZORVA_ASSERT(m_mgr_list.size() > 0);
    return manager_at(std::ranges::find_if(m_mgr_list,
                                           [&](const auto& manager) {
                                               return manager->get_flash_family() == flash_family;
                                           }),
                      new_instance);
}

ZORVA_MGR* ZORVA_HELPER::get_manager(PGMIO_CONFIG_SCHEME config_mode, bool new_instance) {
    ZORVA_ASSERT(m_mgr_list.size() > 0);
    return manager_at(std::ranges::find_if(m_mgr_list,
                                           [&](const auto& manager) {
                                               return holds(manager->get_config_mode_list(),
                                                            config_mode);
                                           }),
                      new_instance);
}

// A new instance goes to the end of the list, not to the place of the manager that it replaces,
// so that a search by device name asks it last: callers rely on the order.
ZORVA_MGR* ZORVA_HELPER::manager_at(MGR_LIST::iterator place, bool new_instance) {
    if (place == m_mgr_list.end()) return nullptr;
    if (!new_instance) return place->get();
    std::unique_ptr<ZORVA_MGR> manager((*place)->get_new_instance());
    ZORVA_ASSERT(manager);
    m_mgr_list.erase(place);
    return m_mgr_list.emplace_back(std::move(manager)).get();
}

ZORVA_MGR* ZORVA_HELPER::get_active_flash_manager(bool new_instance) {
    return get_helper()->get_manager(s_active_flash_family, new_instance);
}

ZORVA_MGR* ZORVA_HELPER::get_flash_manager(std::string device_name, bool skip_filtering,
                                           bool reload) {
    return get_helper()->get_manager(std::move(device_name), skip_filtering, reload);
}

ZORVA_MGR* ZORVA_HELPER::get_flash_manager(DEV_FAMILY_ENUM flash_family, bool new_instance) {
    return get_helper()->get_manager(flash_family, new_instance);
}

ZORVA_MGR* ZORVA_HELPER::get_flash_manager(PGMIO_CONFIG_SCHEME config_mode, bool new_instance) {
    return get_helper()->get_manager(config_mode, new_instance);
}

bool ZORVA_HELPER::is_zorva_flash(std::string device_name, DEV_FAMILY_ENUM flash_family,
                                  bool skip_filtering, bool new_instance) {
    return is_own_flash(get_flash_manager(flash_family, new_instance), device_name, skip_filtering);
}

bool ZORVA_HELPER::is_zorva_flash(std::string device_name, PGMIO_CONFIG_SCHEME config_mode,
                                  bool skip_filtering, bool new_instance) {
    return is_own_flash(get_flash_manager(config_mode, new_instance), device_name, skip_filtering);
}

bool ZORVA_HELPER::is_zorva_flash(std::string device_name, bool skip_filtering, bool reload) {
    return is_own_flash(get_flash_manager(device_name, skip_filtering, reload), device_name,
                        skip_filtering);
}

bool ZORVA_HELPER::is_supported_family(DEV_FAMILY_ENUM flash_family) {
    return get_flash_manager(flash_family, false) != nullptr;
}

bool ZORVA_HELPER::is_supported_family(DEV_FAMILY_ENUM flash_family,
                                       DEV_FAMILY_ENUM device_family) {
    ZORVA_MGR* manager = get_flash_manager(flash_family, false);
    return manager && holds(manager->get_device_family_list(), device_family);
}

bool ZORVA_HELPER::is_supported_mode(PGMIO_CONFIG_SCHEME config_mode) {
    return get_flash_manager(config_mode, false) != nullptr;
}

std::optional<DEV_FAMILY_ENUM> ZORVA_HELPER::find_document_family(const std::string& bytes) {
    const std::string root = PGM_COMMON_XML::root_name(bytes);
    const auto own = std::ranges::find_if(interfaces, [&](const ZORVA_INTERFACE* interface) {
        return root ==
               pgm_common_xml_name(PGM_COMMON_XML::new_root(interface->document)->get_type());
    });
    if (own == std::end(interfaces)) return {};
    return (*own)->flash_family;
}

std::string ZORVA_HELPER::get_shipped_file(DEV_FAMILY_ENUM flash_family) {
    const auto own = std::ranges::find(interfaces, flash_family, &ZORVA_INTERFACE::flash_family);
    return own == std::end(interfaces) ? std::string() : zorva_golden_template_file(**own);
}

void ZORVA_HELPER::refresh_flash_managers() { get_helper()->refresh(); }

bool ZORVA_HELPER::set_active_flash_family(DEV_FAMILY_ENUM flash_family) {
    if (!is_supported_family(flash_family)) return false;
    s_active_flash_family = flash_family;
    return true;
}

bool ZORVA_HELPER::set_active_flash_family(PGMIO_CONFIG_SCHEME config_mode) {
    ZORVA_MGR* manager = get_flash_manager(config_mode, false);
    if (!manager) return false;
    s_active_flash_family = manager->get_flash_family();
    return true;
}
