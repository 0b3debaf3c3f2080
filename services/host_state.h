// What a host has set; shared by the sources of the services, not for others.
#pragma once

#include "services/host.h"

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace pgm_host {

// The default flash devices and where each name's first record stands.
class flash_records {
  public:
    explicit flash_records(std::vector<PGMDEV_SFL_FLASH_INFO> table);
    const std::vector<PGMDEV_SFL_FLASH_INFO>& table() const { return m_table; }
    const PGMDEV_SFL_FLASH_INFO* find(const std::string& name) const;

  private:
    std::vector<PGMDEV_SFL_FLASH_INFO> m_table;
    std::unordered_map<std::string, std::size_t> m_place;
};

struct host_state {
    message_sink messages;
    trace_sink traces;
    internal_error_handler internal_errors;
    std::set<unsigned> suppressed;
    std::string common_programmer;
    std::map<std::string, bool> settings;
    std::string user_ini_file;
    std::map<unsigned, std::string> user_values;  // set and not yet stored
    std::vector<PGMDEV_DEVICE_INFO> devices = default_devices();
    flash_records flashes{default_flashes()};
    file_system* disk = nullptr;

    // services/pgmdev_tables.cpp
    static std::vector<PGMDEV_DEVICE_INFO> default_devices();
    static std::vector<PGMDEV_SFL_FLASH_INFO> default_flashes();
};

host_state& state();
file_system& disk();
// A debug trace of the services themselves.
void trace(const std::string& text);
// Writes a file whole or leaves it as it was: a sibling is written and renamed over it. A link is
// followed, and a file that was there keeps its mode.
bool replace_file(const std::string& file, std::string_view bytes);
// Forgets the tree that check_xsd keeps.
void drop_kept_document();

}  // namespace pgm_host
