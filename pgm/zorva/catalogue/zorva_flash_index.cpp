#include "pgm/zorva/catalogue/zorva_flash_index.h"

#include <algorithm>
#include <iterator>

namespace {

ZORVA_FLASH_INDEX::ENTRY entry_of(ZORVA_FLASH& flash) {
    return {&flash, ZORVA_TEXT(flash.get_parameter_value(ZORVA_FLASH_PARAM_IO_VOLTAGE))};
}

dword id_of(ZORVA_FLASH& flash) {
    return flash.get_parameter_value_in_dword(ZORVA_FLASH_PARAM_ID, nullptr);
}

}  // namespace

void ZORVA_FLASH_INDEX::make(const DEVICES& devices) {
    m_by_name.reserve(devices.size());
    m_ids.reserve(devices.size());
    m_nodes.reserve(devices.size());
    for (const DEVICES::value_type& device : devices) {
        device.second->set_watcher(this);
        m_by_name.emplace(device.first, entry_of(*device.second));
        m_ids.push_back(id_of(*device.second));
        m_nodes.push_back(&device);
    }
    m_is_made = true;
}

ZORVA_FLASH_INDEX::NODES::iterator ZORVA_FLASH_INDEX::place_of(const std::string& name) {
    return std::ranges::lower_bound(
        m_nodes, name, {},
        [](const DEVICES::value_type* node) -> const std::string& { return node->first; });
}

void ZORVA_FLASH_INDEX::add(const DEVICES::value_type& device) {
    if (!m_is_made) return;
    device.second->set_watcher(this);
    m_by_name.insert_or_assign(device.first, entry_of(*device.second));
    const auto place = place_of(device.first);
    m_ids.insert(m_ids.begin() + std::distance(m_nodes.begin(), place), id_of(*device.second));
    m_nodes.insert(place, &device);
}

void ZORVA_FLASH_INDEX::remove(const DEVICES::value_type& device) {
    if (!m_is_made) return;
    device.second->set_watcher(nullptr);
    m_by_name.erase(device.first);
    const auto place = place_of(device.first);
    m_ids.erase(m_ids.begin() + std::distance(m_nodes.begin(), place));
    m_nodes.erase(place);
}

// The name under which a record stands here; it may have been renamed since.
const ZORVA_FLASH_INDEX::DEVICES::value_type* ZORVA_FLASH_INDEX::node_of(ZORVA_FLASH& flash) {
    const auto place = place_of(flash.get_name());
    if (place != m_nodes.end() && (*place)->second == &flash) return *place;
    return *std::ranges::find(m_nodes, &flash, [](const auto* node) { return node->second; });
}

void ZORVA_FLASH_INDEX::on_change(ZORVA_FLASH& flash) {
    const DEVICES::value_type* node = node_of(flash);
    m_by_name.insert_or_assign(node->first, entry_of(flash));
    m_ids[static_cast<std::size_t>(place_of(node->first) - m_nodes.begin())] = id_of(flash);
}

const ZORVA_FLASH_INDEX::ENTRY* ZORVA_FLASH_INDEX::find(const std::string& name) const {
    const auto found = m_by_name.find(name);
    return found == m_by_name.end() ? nullptr : &found->second;
}

ZORVA_FLASH* ZORVA_FLASH_INDEX::first_with_id(dword id, dword mask) const {
    const auto found =
        std::ranges::find_if(m_ids, [&](dword entry) { return ((entry ^ id) & mask) == 0; });
    return found == m_ids.end() ? nullptr
                                : m_nodes[static_cast<std::size_t>(found - m_ids.begin())]->second;
}

std::vector<ZORVA_FLASH*> ZORVA_FLASH_INDEX::all_with_id(dword id, dword mask) const {
    std::vector<ZORVA_FLASH*> flashes;
    for (std::size_t i = 0; i < m_ids.size(); ++i)
        if (((m_ids[i] ^ id) & mask) == 0) flashes.push_back(m_nodes[i]->second);
    return flashes;
}
