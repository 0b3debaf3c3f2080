// What look-ups ask of the records in force, side by side: a load scatters the records and the
// nodes of their map over the memory, and touching one costs more than the search.
#pragma once

#include "pgm/zorva/zorva_flash.h"
#include "pgm/zorva/zorva_text.h"

#include <map>
#include <memory_resource>
#include <string>
#include <unordered_map>
#include <vector>

// Made when a look-up first asks, so that a load doesn't pay for it; from then on each change of a
// record, and each record that comes or goes, changes one entry.
class ZORVA_FLASH_INDEX final : private ZORVA_FLASH_WATCHER {
  public:
    using DEVICES = std::map<std::string, ZORVA_FLASH*>;

    ZORVA_FLASH_INDEX() = default;
    ~ZORVA_FLASH_INDEX() = default;
    ZORVA_FLASH_INDEX(const ZORVA_FLASH_INDEX&) = delete;
    ZORVA_FLASH_INDEX& operator=(const ZORVA_FLASH_INDEX&) = delete;

    // Lists all devices of a map. Their names are the map's and have to stay where they are.
    void make(const DEVICES& devices);
    bool is_made() const { return m_is_made; }
    // To be called for each record that comes into the map, and before it leaves.
    void add(const DEVICES::value_type& device);
    void remove(const DEVICES::value_type& device);

    struct ENTRY {
        ZORVA_FLASH* flash;
        ZORVA_TEXT io_voltage;
    };
    // Null for a name that isn't there.
    const ENTRY* find(const std::string& name) const;
    // Null if no ID equals `id` in the bits of `mask`, else the first in name order.
    ZORVA_FLASH* first_with_id(dword id, dword mask) const;
    std::vector<ZORVA_FLASH*> all_with_id(dword id, dword mask) const;

  private:
    using NODES = std::vector<const DEVICES::value_type*>;

    void on_change(ZORVA_FLASH& flash) override;
    NODES::iterator place_of(const std::string& name);

    bool m_is_made = false;
    // Entries lie side by side, wherever a load has left room on the heap.
    std::pmr::unsynchronized_pool_resource m_memory;
    std::pmr::unordered_map<std::string, ENTRY> m_by_name{&m_memory};
    // Both in name order: a search by ID reads the first from end to end.
    std::vector<dword> m_ids;
    NODES m_nodes;
};
