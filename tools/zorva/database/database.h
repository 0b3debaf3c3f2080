// The database as a command asks it: the directories in force, the managers, the devices.
#pragma once

#include "pgm/zorva/zorva_mgr.h"
#include "tools/zorva/database/device.h"
#include "tools/zorva/database/directories.h"
#include "tools/zorva/output.h"

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zorva_tool {

// The registry is loaded while this lives, and what it hands out is valid as long.
class database {
  public:
    // Throws a failure if the shipped data can't be taken.
    database(const std::string& custom_dir_option, const std::string& interface_name, output& out);
    ~database();
    database(const database&) = delete;
    database& operator=(const database&) = delete;

    // Why a directory can't be read, so that what is known isn't all there may be.
    const std::optional<failure>& fault() const { return m_fault; }

    const custom_directory& custom_dir() const { return m_custom_dir; }
    const std::vector<ZORVA_MGR*>& managers() const { return m_managers; }
    // A refusal if none of the selected interfaces has IDs, flows and templates.
    void require_flows() const;
    // All files that were met, whichever interface they are meant for.
    const std::vector<const ZORVA_FILE_REPORT*>& files() const { return m_files; }
    // The same, each with the interface that it is meant for.
    const std::vector<met_file>& met_files() const { return m_met_files; }

    // The stored devices, in name order; of all managers where none is given.
    std::vector<device> devices(ZORVA_MGR& manager) const;
    std::vector<device> devices() const;
    // The device of that name, as look-ups give it: a legacy one hides a stored one. A miss is a
    // failure, which tells of a definition that wasn't taken, or has suggestions.
    device get(const std::string& name) const;
    // The stored device of that name, also where look-ups give a legacy one.
    std::optional<device> stored(const std::string& name) const;
    // All definitions of devices of that name, taken or not, in the order of the load.
    std::vector<definition> definitions_named(const std::string& name) const;
    // The names of all devices, stored and legacy.
    std::vector<std::string> device_names() const;
    std::vector<std::string> template_names() const;
    failure not_found(const std::string& what, const std::string& name,
                      const std::vector<std::string>& names) const;

  private:
    void find_unlistable_directories();
    void report_faulty_files(output& out) const;
    void select_managers(const std::string& interface_name);
    void index_definitions();
    device device_of(ZORVA_MGR& manager, ZORVA_FLASH& flash) const;
    std::optional<device> stored_by(ZORVA_MGR& manager, const std::string& name) const;
    failure no_device(const std::string& name) const;

    custom_directory m_custom_dir;
    std::optional<failure> m_fault;
    std::vector<ZORVA_MGR*> m_managers;
    std::vector<met_file> m_met_files;
    std::vector<const ZORVA_FILE_REPORT*> m_files;
    // Of devices, by their names.
    std::map<std::pair<const ZORVA_MGR*, std::string>, std::vector<definition>> m_definitions;
};

}  // namespace zorva_tool
