// Storing and deleting devices: what the maps say, what is traced, who owns a record.
#include "pgm/zorva/zorva_interface.h"
#include "pgm/zorva/zorva_mgr.h"
#include "pgm/zorva/zorva_report.h"
#include "services/file.h"

#include <algorithm>
#include <utility>

bool ZORVA_MGR::refuse_update(const std::string& db_dir) {
    zorva_post({ZORVA_MESSAGE::FAILED_TO_UPDATE_DB, db_dir, {}});
    return false;
}

namespace {

void trace_directories(const std::string& db_dir) {
    zorva_trace("db_dir.c_str() = %s", db_dir.c_str());
    zorva_trace("kestrin_dir.full_directory().c_str() = %s",
                ZORVA_MGR::get_db_kestrin_dir().c_str());
    zorva_trace("custom_dir.full_directory().c_str() = %s", ZORVA_MGR::get_db_custom_dir().c_str());
}

void trace_device_maps(const char* when, std::size_t db_dir, std::size_t active,
                       std::size_t flashes) {
    zorva_trace("%s: db_dir_map->size() = %d", when, static_cast<int>(db_dir));
    zorva_trace("%s: m_flash_db_active_dir_map.size() = %d", when, static_cast<int>(active));
    zorva_trace("%s: m_flash_map.size() = %d", when, static_cast<int>(flashes));
}

void trace_template_maps(const char* when, std::size_t templates, std::size_t db_dir) {
    zorva_trace("%s: m_user_flash_template_map->size() = %d", when, static_cast<int>(templates));
    zorva_trace("%s: m_template_db_dir_map.size() = %d", when, static_cast<int>(db_dir));
}

}  // namespace

ZORVA_MGR::DIR_MAP& ZORVA_MGR::dir_map_of(const std::string& db_dir) {
    const bool db_is_kestrin_dir = db_dir == get_db_kestrin_dir();
    const bool db_is_custom_dir = db_dir == get_db_custom_dir();
    ZORVA_ASSERT(db_is_kestrin_dir || db_is_custom_dir);
    return db_is_kestrin_dir ? m_flash_db_kestrin_dir_map : m_flash_db_custom_dir_map;
}

bool ZORVA_MGR::carried_template_is_valid(ZORVA_FLASH& flash) {
    const std::string name = flash.get_parameter_value(ZORVA_FLASH_PARAM_TEMPLATE_NAME);
    if (name.empty()) return true;
    if (name == flash.get_name()) {
        zorva_post({ZORVA_MESSAGE::INVALID_TEMPLATE_NAME_CONFLICT_WITH_EXISTING_DEVICE, name, {}});
        return false;
    }
    if (!is_parameter_valid(ZORVA_FLASH_PARAM_TEMPLATE_NAME, name, nullptr))
        ZORVA_FAIL(
            "template_name_is_valid(flash->get_parameter_value(ZORVA_FLASH_PARAM_TEMPLATE_NAME))");
    return true;
}

bool ZORVA_MGR::update_db(ZORVA_FLASH* flash, std::string db_dir) {
    ZORVA_ASSERT(flash);
    ZORVA_ASSERT(!db_dir.empty());
    const std::string name = flash->get_name();
    zorva_trace("Entering ZORVA_MGR::update_db with flash device_name = %s", name.c_str());
    trace_directories(db_dir);
    DIR_MAP& db_dir_map = dir_map_of(db_dir);
    if (!carried_template_is_valid(*flash)) return false;
    // The old definition goes with the writing of the new one, in one step; here is only told, and
    // judged, what a deletion would.
    if (db_dir_map.contains(name)) {
        trace_deletion(name, db_dir);
        is_active_in(name, db_dir);
    }
    if (!write_flash_xml_and_update_dir_map(flash, db_dir, &db_dir_map)) return false;
    return flash->get_parameter_value(ZORVA_FLASH_PARAM_TEMPLATE_NAME).empty() ||
           update_template_db(flash, db_dir);
}

bool ZORVA_MGR::write_flash_xml_and_update_dir_map(ZORVA_FLASH* flash, std::string db_dir,
                                                   DIR_MAP* db_dir_map) {
    ZORVA_ASSERT(flash);
    ZORVA_ASSERT(db_dir_map);
    const std::string name = flash->get_name();
    const std::string file = db_dir + "pgm_flash_" + name + ".xml";
    const auto known = db_dir_map->find(name);
    // The custom directory may have been changed since the load.
    const bool known_elsewhere =
        known != db_dir_map->end() && FIO_PATH(known->second).full_directory() != db_dir;
    if (known_elsewhere || (m_interface.is_writable && !m_interface.is_writable(*flash)))
        return refuse_update(db_dir);
    const std::unique_ptr<PGM_COMMON_XML_ELEMENT> root(create_xml_object_with_flash_list({flash}));
    if (!store_definition({ZORVA_DEFINITION_KIND::DEVICE, name, file, db_dir},
                          root->take_first_child()))
        return refuse_update(db_dir);
    trace_device_maps("Before", db_dir_map->size(), m_flash_db_active_dir_map.size(),
                      m_flash_map.size());
    take_over(flash, db_dir);
    (*db_dir_map)[name] = file;
    m_flash_db_active_dir_map[name] = file;
    trace_device_maps("After", db_dir_map->size(), m_flash_db_active_dir_map.size(),
                      m_flash_map.size());
    return true;
}

// Makes a record the one in force of its name. The one that it displaces goes if it stood in the
// same directory; one from the other directory may still be in a caller's hands and stays alive.
void ZORVA_MGR::take_over(ZORVA_FLASH* flash, const std::string& db_dir) {
    if (m_placeholder.get() == flash) static_cast<void>(m_placeholder.release());
    const auto loose =
        std::ranges::find(m_loose_flashes, flash, &std::unique_ptr<ZORVA_FLASH>::get);
    if (loose != m_loose_flashes.end()) {
        static_cast<void>(loose->release());
        m_loose_flashes.erase(loose);
    }
    const std::string name = flash->get_name();
    // A record that was renamed leaves the name that it was stored under: the definition of that
    // name still stands in its file and can be deleted there; its record comes with the next load.
    std::erase_if(m_flash_map,
                  [&](const auto& entry) { return entry.second == flash && entry.first != name; });
    ZORVA_FLASH* displaced = std::exchange(m_flash_map[name], flash);
    flash_map_changed();
    if (!displaced || displaced == flash) return;
    if (m_flash == displaced) m_flash = nullptr;
    m_loose_flashes.emplace_back(displaced);
    if (FIO_PATH(m_flash_db_active_dir_map[name]).full_directory() == db_dir)
        m_loose_flashes.pop_back();
}

std::string ZORVA_MGR::get_flash_document(ZORVA_FLASH* flash) {
    ZORVA_ASSERT(flash);
    if (m_interface.is_writable && !m_interface.is_writable(*flash)) return {};
    const std::unique_ptr<PGM_COMMON_XML_ELEMENT> root(create_xml_object_with_flash_list({flash}));
    if (m_interface.complete_flows) m_interface.complete_flows(*root->get_all_childs().front());
    return PGM_COMMON_XML::write_bytes(root.get());
}

bool ZORVA_MGR::is_active_in(const std::string& device_name, const std::string& db_dir) {
    const auto active = m_flash_db_active_dir_map.find(device_name);
    if (active == m_flash_db_active_dir_map.end()) return false;
    const FIO_PATH active_dir_file(active->second);
    zorva_trace("active_dir_file.fullpath().c_str() = %s", active_dir_file.fullpath().c_str());
    zorva_trace("active_dir_file.full_directory().c_str() = %s",
                active_dir_file.full_directory().c_str());
    if (active_dir_file.full_directory() == db_dir) return true;
    if (db_dir == get_db_kestrin_dir())
        ZORVA_FAIL(
            "Found same flash exist in the current directory but attempting to delete the flash in "
            "kestrin directory.");
    return false;
}

void ZORVA_MGR::trace_deletion(const std::string& name, const std::string& db_dir) {
    zorva_trace("Entering ZORVA_MGR::delete_db with device_name = %s", name.c_str());
    trace_directories(db_dir);
}

bool ZORVA_MGR::delete_db(std::string device_name, std::string db_dir) {
    ZORVA_ASSERT(!device_name.empty());
    ZORVA_ASSERT(!db_dir.empty());
    trace_deletion(device_name, db_dir);
    DIR_MAP& db_dir_map = dir_map_of(db_dir);
    if (m_flash_db_active_dir_map.contains(device_name)) {
        const auto file = db_dir_map.find(device_name);
        if (!is_active_in(device_name, db_dir) || file == db_dir_map.end()) return true;
        return delete_definition(
            {ZORVA_DEFINITION_KIND::DEVICE, device_name, file->second, db_dir});
    }
    const auto file = m_template_db_dir_map.find(device_name);
    if (file == m_template_db_dir_map.end()) return true;
    return delete_definition({ZORVA_DEFINITION_KIND::TEMPLATE, device_name, file->second, db_dir});
}

bool ZORVA_MGR::delete_definition(const TARGET& target) {
    DIR_MAP& db_dir_map = dir_map_of(target.db_dir);
    const auto trace_neighbours = [&](const DIR_MAP& map, const char* text,
                                      ZORVA_DEFINITION_KIND kind) {
        for (const auto& [name, file] : map)
            if (file == target.file && (name != target.name || kind != target.kind))
                zorva_trace("%s = %s", text, name.c_str());
    };
    trace_neighbours(db_dir_map, "Found flash name", ZORVA_DEFINITION_KIND::DEVICE);
    trace_neighbours(m_template_db_dir_map, "Found template name", ZORVA_DEFINITION_KIND::TEMPLATE);
    zorva_trace("Deleting XML file %s", target.file.c_str());
    const bool is_device = target.kind == ZORVA_DEFINITION_KIND::DEVICE;
    const auto trace_maps = [&](const char* when) {
        if (is_device)
            trace_device_maps(when, db_dir_map.size(), m_flash_db_active_dir_map.size(),
                              m_flash_map.size());
        else
            trace_template_maps(when, m_user_flash_template_map.size(),
                                m_template_db_dir_map.size());
    };
    if (!rewrite_without(target)) return refuse_update(target.db_dir);
    trace_maps("Before");
    // The record goes at once: that is what the caller asked for.
    if (is_device)
        forget_device(target.name, target.file, db_dir_map);
    else
        forget_template(target.name);
    trace_maps("After");
    if (FIO_FILE_SYSTEM::exists(target.file))
        zorva_trace("Writing XML file, %s", target.file.c_str());
    return true;
}

std::unique_ptr<ZORVA_FLASH> ZORVA_MGR::forget_device(const std::string& name,
                                                      const std::string& file,
                                                      DIR_MAP& db_dir_map) {
    db_dir_map.erase(name);
    const auto active = m_flash_db_active_dir_map.find(name);
    if (active == m_flash_db_active_dir_map.end() || active->second != file) return nullptr;
    m_flash_db_active_dir_map.erase(active);
    const auto record = m_flash_map.find(name);
    if (record == m_flash_map.end()) return nullptr;
    std::unique_ptr<ZORVA_FLASH> flash(record->second);
    m_flash_map.erase(record);
    flash_map_changed();
    if (m_flash == flash.get()) m_flash = nullptr;
    return flash;
}

std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE> ZORVA_MGR::forget_template(const std::string& name) {
    m_template_db_dir_map.erase(name);
    const auto record = m_user_flash_template_map.find(name);
    std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE> user_template(record->second);
    m_user_flash_template_map.erase(record);
    return user_template;
}
