#include "services/pgmdev.h"

#include "services/host_state.h"

#include <algorithm>
#include <utility>

using pgm_host::state;

pgm_host::flash_records::flash_records(std::vector<PGMDEV_SFL_FLASH_INFO> table)
    : m_table(std::move(table)) {
    for (std::size_t i = 0; i < m_table.size(); ++i) m_place.try_emplace(m_table[i].device_name, i);
}

const PGMDEV_SFL_FLASH_INFO* pgm_host::flash_records::find(const std::string& name) const {
    const auto found = m_place.find(name);
    return found != m_place.end() ? &m_table[found->second] : nullptr;
}

PGMDEV_DEV_INFO_MANAGER::PGMDEV_DEV_INFO_MANAGER(bool, int) {}

PGMDEV_DEVICE_INFO* PGMDEV_DEV_INFO_MANAGER::get_db_by_family(DEV_FAMILY_ENUM family) {
    auto& devices = state().devices;
    const auto found = std::find_if(devices.begin(), devices.end(),
                                    [family](const auto& info) { return info.family == family; });
    return found != devices.end() ? &*found : nullptr;
}

PGMDEV_FLASH_MANAGER::PGMDEV_FLASH_MANAGER(bool, int, bool, bool)
    : flash_count(state().flashes.table().size()),
      flash_table(flash_count != 0 ? state().flashes.table().data() : nullptr) {}

const PGMDEV_SFL_FLASH_INFO* PGMDEV_FLASH_MANAGER::get_default_flash(
    std::string device_name) const {
    return state().flashes.find(device_name);
}
