// Storing and deleting devices: what the maps say, what is traced, who owns a record.
#include "pgm/zorva/load/zorva_interface.h"
#include "pgm/zorva/load/zorva_xml_file.h"
#include "pgm/zorva/rules/zorva_report.h"
#include "pgm/zorva/store/zorva_store.h"
#include "pgm/zorva/zorva_mgr.h"
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
        const ZORVA_REFUSAL refusal{
            ZORVA_MESSAGE::INVALID_TEMPLATE_NAME_CONFLICT_WITH_EXISTING_DEVICE, name, {}};
        m_change_outcome = zorva_name_taken(refusal);
        zorva_post(refusal);
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
    m_replaced_file.clear();
    if (db_dir_map.contains(name)) {
        trace_deletion(name, db_dir);
        if (is_active_in(name, db_dir)) m_replaced_file = db_dir_map.at(name);
    }
    if (!write_flash_xml_and_update_dir_map(flash, db_dir, &db_dir_map)) return false;
    return flash->get_parameter_value(ZORVA_FLASH_PARAM_TEMPLATE_NAME).empty() ||
           update_template_db(flash, db_dir);
}

bool ZORVA_MGR::write_flash_xml_and_update_dir_map(ZORVA_FLASH* flash, std::string db_dir,
                                                   DIR_MAP* db_dir_map) {
    ZORVA_ASSERT(flash);
    ZORVA_ASSERT(db_dir_map);
    const std::string replaced = std::exchange(m_replaced_file, {});
    return store_device({ZORVA_DEFINITION_KIND::DEVICE, flash, ZORVA_BASIS::WHATEVER}, db_dir,
                        *db_dir_map, replaced) ||
           refuse_update(db_dir);
}

// One rename replaces a deletion and a writing; what both would trace is traced in their order.
bool ZORVA_MGR::store_device(const ZORVA_NEW_DEFINITION& change, const std::string& db_dir,
                             DIR_MAP& db_dir_map, const std::string& replaced) {
    ZORVA_FLASH* flash = change.flash;
    const ZORVA_DEFINITION_KEY key{change.kind, flash->get_name()};
    const std::string file = zorva_own_file(key, db_dir);
    const bool exists = replaced == file ? !neighbours(key, file, db_dir_map).empty()
                                         : FIO_FILE_SYSTEM::exists(file);
    const auto trace_room = [&] {
        if (!exists) zorva_trace("Touch new XML file, %s", file.c_str());
        zorva_trace("Deleting old XML file %s", file.c_str());
    };
    if (replaced.empty())
        trace_room();
    else
        trace_found(key, replaced, db_dir_map);
    if (!change_files({change}, db_dir, false)) return false;
    const std::size_t gone = replaced.empty() ? 0 : 1;
    if (gone) {
        trace_device_maps("Before", db_dir_map.size(), m_flash_db_active_dir_map.size(),
                          m_flash_map.size());
        trace_device_maps("After", db_dir_map.size() - gone,
                          m_flash_db_active_dir_map.size() - gone, m_flash_map.size() - gone);
        if (!neighbours(key, replaced, db_dir_map).empty())
            zorva_trace("Writing XML file, %s", replaced.c_str());
        trace_room();
    }
    zorva_trace("Writing new XML file, %s", file.c_str());
    trace_device_maps("Before", db_dir_map.size() - gone, m_flash_db_active_dir_map.size() - gone,
                      m_flash_map.size() - gone);
    adopt(flash, file, db_dir_map);
    trace_device_maps("After", db_dir_map.size(), m_flash_db_active_dir_map.size(),
                      m_flash_map.size());
    return true;
}

// Makes a record, which `file` defines, the one in force of its name. The one that it displaces
// goes if it stood in the same directory; one from the other directory may still be in a caller's
// hands and stays alive.
void ZORVA_MGR::adopt(ZORVA_FLASH* flash, const std::string& file, DIR_MAP& db_dir_map) {
    if (m_placeholder.get() == flash) static_cast<void>(m_placeholder.release());
    const auto loose =
        std::ranges::find(m_loose_flashes, flash, &std::unique_ptr<ZORVA_FLASH>::get);
    if (loose != m_loose_flashes.end()) {
        static_cast<void>(loose->release());
        m_loose_flashes.erase(loose);
    } else {
        // A record that was renamed leaves the name that it was stored under: the definition of
        // that name still stands in its file and can be deleted there.
        std::erase_if(m_flash_map, [&](const auto& entry) { return entry.second == flash; });
    }
    const std::string name = flash->get_name();
    std::unique_ptr<ZORVA_FLASH> displaced(std::exchange(m_flash_map[name], flash));
    flash_map_changed();
    db_dir_map[name] = file;
    const FIO_PATH old_file(std::exchange(m_flash_db_active_dir_map[name], file));
    if (!displaced) return;
    if (m_flash == displaced.get()) m_flash = nullptr;
    if (old_file.full_directory() != FIO_PATH(file).full_directory())
        m_loose_flashes.push_back(std::move(displaced));
}

std::string ZORVA_MGR::get_flash_document(ZORVA_FLASH* flash) {
    ZORVA_ASSERT(flash);
    if (m_interface.is_writable && !m_interface.is_writable(*flash)) return {};
    const auto root = PGM_COMMON_XML::new_root(m_interface.document);
    root->add_child(new_device_element(*flash).release(), nullptr);
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
        return delete_definition({ZORVA_DEFINITION_KIND::DEVICE, device_name}, file->second,
                                 db_dir);
    }
    const auto file = m_template_db_dir_map.find(device_name);
    if (file == m_template_db_dir_map.end()) return true;
    return delete_definition({ZORVA_DEFINITION_KIND::TEMPLATE, device_name}, file->second, db_dir);
}

void ZORVA_MGR::trace_found(const ZORVA_DEFINITION_KEY& key, const std::string& file,
                            const DIR_MAP& db_dir_map) const {
    for (const ZORVA_DEFINITION_KEY& other : neighbours(key, file, db_dir_map))
        zorva_trace(other.kind == ZORVA_DEFINITION_KIND::DEVICE ? "Found flash name = %s"
                                                                : "Found template name = %s",
                    other.name.c_str());
    zorva_trace("Deleting XML file %s", file.c_str());
}

std::vector<ZORVA_DEFINITION_KEY> ZORVA_MGR::neighbours(const ZORVA_DEFINITION_KEY& key,
                                                        const std::string& file,
                                                        const DIR_MAP& db_dir_map) const {
    std::vector<ZORVA_DEFINITION_KEY> others;
    const auto add = [&](const DIR_MAP& map, ZORVA_DEFINITION_KIND kind) {
        for (const auto& [name, defined_in] : map)
            if (defined_in == file && key != ZORVA_DEFINITION_KEY{kind, name})
                others.push_back({kind, name});
    };
    add(db_dir_map, ZORVA_DEFINITION_KIND::DEVICE);
    add(m_template_db_dir_map, ZORVA_DEFINITION_KIND::TEMPLATE);
    return others;
}

bool ZORVA_MGR::delete_definition(const ZORVA_DEFINITION_KEY& key, std::string file,
                                  const std::string& db_dir) {
    DIR_MAP& db_dir_map = dir_map_of(db_dir);
    const bool is_device = key.kind == ZORVA_DEFINITION_KIND::DEVICE;
    const auto trace_maps = [&](const char* when) {
        if (is_device)
            trace_device_maps(when, db_dir_map.size(), m_flash_db_active_dir_map.size(),
                              m_flash_map.size());
        else
            trace_template_maps(when, m_user_flash_template_map.size(),
                                m_template_db_dir_map.size());
    };
    trace_found(key, file, db_dir_map);
    if (!take_out_of_file(key, file, db_dir, false)) return refuse_update(db_dir);
    trace_maps("Before");
    // The record goes at once: that is what the caller asked for.
    forget(key, file, db_dir_map);
    trace_maps("After");
    if (!neighbours(key, file, db_dir_map).empty())
        zorva_trace("Writing XML file, %s", file.c_str());
    return true;
}

void ZORVA_MGR::forget(const ZORVA_DEFINITION_KEY& key, const std::string& file,
                       DIR_MAP& db_dir_map) {
    if (key.kind == ZORVA_DEFINITION_KIND::DEVICE)
        forget_device(key.name, file, db_dir_map);
    else
        forget_template(key.name);
}

std::unique_ptr<ZORVA_FLASH> ZORVA_MGR::forget_device(const std::string& name, std::string file,
                                                      DIR_MAP& db_dir_map) {
    db_dir_map.erase(name);
    const auto active = m_flash_db_active_dir_map.find(name);
    if (active == m_flash_db_active_dir_map.end() || active->second != file) return nullptr;
    m_flash_db_active_dir_map.erase(active);
    const auto record = m_flash_map.find(name);
    // A record that was stored again under another name left this one without.
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
