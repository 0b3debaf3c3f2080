// The database as a command asks it: the directories in force, the managers, the devices.
#pragma once

#include "pgm/zorva/zorva_mgr.h"
#include "tools/zorva/device.h"
#include "tools/zorva/directories.h"
#include "tools/zorva/output.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace zorva_tool {

// The registry is loaded while this lives, and what it hands out is valid as long.
class database {
  public:
    // Throws a failure if the shipped data or a directory that was asked for can't be taken.
    database(const std::string& custom_dir_option, const std::string& interface_name, output& out);
    ~database();
    database(const database&) = delete;
    database& operator=(const database&) = delete;

    const custom_directory& custom_dir() const { return m_custom_dir; }
    const std::vector<ZORVA_MGR*>& managers() const { return m_managers; }
    // A refusal if none of the selected interfaces has IDs, flows and templates.
    void require_flows() const;
    // All files that were met, whichever interface they are meant for.
    const std::vector<const ZORVA_FILE_REPORT*>& files() const { return m_files; }

    // The stored devices, in name order; of all managers where none is given.
    std::vector<device> devices(ZORVA_MGR& manager) const;
    std::vector<device> devices() const;
    // The device of that name, stored or legacy; a miss is a failure with suggestions.
    device get(const std::string& name) const;
    // The names of all devices, stored and legacy.
    std::vector<std::string> device_names() const;
    std::vector<std::string> template_names() const;
    failure not_found(const std::string& what, const std::string& name,
                      const std::vector<std::string>& names) const;

  private:
    void select_managers(const std::string& interface_name);
    void index_definitions();

    custom_directory m_custom_dir;
    std::vector<ZORVA_MGR*> m_managers;
    std::vector<const ZORVA_FILE_REPORT*> m_files;
    // Of devices, by their names.
    std::map<std::pair<const ZORVA_MGR*, std::string>, std::vector<definition>> m_definitions;
};

}  // namespace zorva_tool
