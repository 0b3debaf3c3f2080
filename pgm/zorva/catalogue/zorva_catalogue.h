// What a manager has in memory: device records, templates, and the files that define them.
#pragma once

#include "pgm/zorva/catalogue/zorva_flash_index.h"
#include "pgm/zorva/zorva_change.h"
#include "pgm/zorva/zorva_flash.h"
#include "pgm/zorva/zorva_load_report.h"
#include "pgm/zorva/zorva_template.h"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

enum class ZORVA_DIRECTORY { INSTALLATION, CUSTOM };
constexpr ZORVA_ORIGIN zorva_origin(ZORVA_DIRECTORY directory) {
    return directory == ZORVA_DIRECTORY::INSTALLATION ? ZORVA_ORIGIN::INSTALLATION
                                                      : ZORVA_ORIGIN::CUSTOM;
}

// Owns the records and templates. A device counts within its directory, the later definition is in
// force; of a template there is one in all.
class ZORVA_CATALOGUE {
  public:
    using FILES = std::map<std::string, std::string>;     // name to the file that defines it
    using DEVICES = std::map<std::string, ZORVA_FLASH*>;  // those in force
    using TEMPLATES = std::map<std::string, std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE>>;

    ZORVA_CATALOGUE() = default;
    ~ZORVA_CATALOGUE();
    ZORVA_CATALOGUE(const ZORVA_CATALOGUE&) = delete;
    ZORVA_CATALOGUE& operator=(const ZORVA_CATALOGUE&) = delete;

    const DEVICES& devices() const { return m_devices; }
    const ZORVA_FLASH_INDEX& index() const;
    const TEMPLATES& templates() const { return m_templates; }
    const std::vector<std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE>>& golden_templates() const {
        return m_golden_templates;
    }

    const FILES& files_in(ZORVA_DIRECTORY directory) const { return m_files[place(directory)]; }
    FILES& files_in(ZORVA_DIRECTORY directory) { return m_files[place(directory)]; }
    const FILES& active_files() const { return m_active_files; }
    const FILES& template_files() const { return m_template_files; }
    // The file that defines a name in a directory, a template in either; empty if none does.
    std::string file_known_of(const ZORVA_DEFINITION_KEY& key, ZORVA_DIRECTORY directory) const;
    // What else a file of a directory defines: devices, then templates.
    std::vector<ZORVA_DEFINITION_KEY> neighbours(const ZORVA_DEFINITION_KEY& key,
                                                 const std::string& file,
                                                 ZORVA_DIRECTORY directory) const;

    // The record last handed out: one in force, the placeholder or a loose one.
    ZORVA_FLASH* handed_out() const { return m_handed_out; }
    ZORVA_FLASH* hand_out(ZORVA_FLASH* flash) { return m_handed_out = flash; }
    // Makes the loose record handed out last, the record of a legacy device, live until the next
    // look-up only.
    ZORVA_FLASH* make_placeholder(ZORVA_FLASH* flash);
    void drop_placeholder();
    // Keeps a record that isn't stored yet, for as long as the catalogue lives or until it is.
    ZORVA_FLASH* keep_loose(std::unique_ptr<ZORVA_FLASH> flash);

    // A device that a load has read. The result is the file whose definition it puts out of force;
    // empty if there was none. The record of that goes.
    std::string load_device(std::unique_ptr<ZORVA_FLASH> flash, const std::string& file,
                            ZORVA_DIRECTORY directory);
    // Makes a record, which `file` defines now, the one in force of its name. The one that it
    // displaces goes if it stood in the same directory; one of the other directory may still be in
    // a caller's hands and stays alive.
    void store_device(ZORVA_FLASH* flash, const std::string& file, ZORVA_DIRECTORY directory);
    void put_template(const std::string& name, std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE> flows,
                      const std::string& file);
    void add_golden_template(std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE> flows);

    // Takes out a definition, with its record if that is the one which `file` defines.
    void forget(const ZORVA_DEFINITION_KEY& key, const std::string& file,
                ZORVA_DIRECTORY directory);
    // Takes out what somebody has taken out of files whose contents are `files`, but for one
    // definition. Records and flows stay alive: a caller may hold them.
    void forget_missing(const std::map<std::string, std::set<ZORVA_DEFINITION_KEY>>& files,
                        const ZORVA_DEFINITION_KEY& but);

  private:
    static std::size_t place(ZORVA_DIRECTORY directory) {
        return static_cast<std::size_t>(directory);
    }
    void release(ZORVA_FLASH* flash);
    void set_in_force(const std::string& name, ZORVA_FLASH* flash);
    // Null if the record isn't a loose one.
    std::unique_ptr<ZORVA_FLASH> take_loose(ZORVA_FLASH* flash);
    std::unique_ptr<ZORVA_FLASH> take_out_of_force(const std::string& name);
    std::unique_ptr<ZORVA_FLASH> forget_device(const std::string& name, const std::string& file,
                                               ZORVA_DIRECTORY directory);
    std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE> forget_template(const std::string& name);

    DEVICES m_devices;  // owns the records
    mutable ZORVA_FLASH_INDEX m_index;
    FILES m_files[2];  // by directory
    FILES m_active_files;
    TEMPLATES m_templates;
    FILES m_template_files;
    std::vector<std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE>> m_golden_templates;  // by number
    ZORVA_FLASH* m_handed_out = nullptr;
    std::unique_ptr<ZORVA_FLASH> m_placeholder;
    // Records that aren't stored, that an update displaced, or that others took out of their files.
    std::vector<std::unique_ptr<ZORVA_FLASH>> m_loose_flashes;
    std::vector<std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE>> m_loose_templates;
};
