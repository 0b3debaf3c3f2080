// Updates and deletions as a manager offers them, with the traces that tell of their steps.
#include "pgm/zorva/load/zorva_directories.h"
#include "pgm/zorva/load/zorva_xml_file.h"
#include "pgm/zorva/rules/zorva_report.h"
#include "pgm/zorva/store/zorva_store.h"
#include "services/file.h"

#include <utility>

namespace {

constexpr auto DEVICE = ZORVA_DEFINITION_KIND::DEVICE;
constexpr auto TEMPLATE = ZORVA_DEFINITION_KIND::TEMPLATE;

void trace_size(const char* when, const char* map, std::size_t size) {
    zorva_trace("%s: %s = %d", when, map, static_cast<int>(size));
}

// What writing a file begins with.
void trace_room(const std::string& file, bool exists) {
    if (!exists) zorva_trace("Touch new XML file, %s", file.c_str());
    zorva_trace("Deleting old XML file %s", file.c_str());
}

void trace_directories(const std::string& db_dir) {
    zorva_trace("db_dir.c_str() = %s", db_dir.c_str());
    zorva_trace("kestrin_dir.full_directory().c_str() = %s",
                zorva_installation_directory().c_str());
    zorva_trace("custom_dir.full_directory().c_str() = %s", zorva_custom_directory().c_str());
}

void trace_deletion(const std::string& name, const std::string& db_dir) {
    zorva_trace("Entering ZORVA_MGR::delete_db with device_name = %s", name.c_str());
    trace_directories(db_dir);
}

}  // namespace

void ZORVA_STORE::trace_update(const std::string& name, const std::string& db_dir) {
    zorva_trace("Entering ZORVA_MGR::update_db with flash device_name = %s", name.c_str());
    trace_directories(db_dir);
}

// `gone` tells of a state between the two steps of a replacement, which here is one step.
void ZORVA_STORE::trace_device_maps(const char* when, ZORVA_DIRECTORY directory,
                                    std::size_t gone) const {
    trace_size(when, "db_dir_map->size()", m_catalogue.files_in(directory).size() - gone);
    trace_size(when, "m_flash_db_active_dir_map.size()", m_catalogue.active_files().size() - gone);
    trace_size(when, "m_flash_map.size()", m_catalogue.devices().size() - gone);
}

void ZORVA_STORE::trace_template_maps(const char* when) const {
    trace_size(when, "m_user_flash_template_map->size()", m_catalogue.templates().size());
    trace_size(when, "m_template_db_dir_map.size()", m_catalogue.template_files().size());
}

void ZORVA_STORE::trace_found(const ZORVA_DEFINITION_KEY& key, const std::string& file,
                              ZORVA_DIRECTORY directory) const {
    for (const ZORVA_DEFINITION_KEY& other : m_catalogue.neighbours(key, file, directory))
        zorva_trace(other.kind == DEVICE ? "Found flash name = %s" : "Found template name = %s",
                    other.name.c_str());
    zorva_trace("Deleting XML file %s", file.c_str());
}

void ZORVA_STORE::trace_rewriting(const ZORVA_DEFINITION_KEY& key, const std::string& file,
                                  ZORVA_DIRECTORY directory) const {
    if (!m_catalogue.neighbours(key, file, directory).empty())
        zorva_trace("Writing XML file, %s", file.c_str());
}

bool ZORVA_STORE::refuse_update(const std::string& db_dir) const {
    zorva_post({ZORVA_MESSAGE::FAILED_TO_UPDATE_DB, db_dir, {}});
    return false;
}

void ZORVA_STORE::begin_update(const std::string& name, const std::string& db_dir) {
    m_replaced_file.clear();
    const std::string file = m_catalogue.file_known_of({DEVICE, name}, directory_of(db_dir));
    if (file.empty()) return;
    trace_deletion(name, db_dir);
    if (is_active_in(name, db_dir)) m_replaced_file = file;
}

// One rename replaces a deletion and a writing; what both would trace is traced in their order.
bool ZORVA_STORE::write_device(ZORVA_FLASH* flash, const std::string& db_dir) {
    const std::string replaced = std::exchange(m_replaced_file, {});
    const ZORVA_DIRECTORY directory = directory_of(db_dir);
    const ZORVA_DEFINITION_KEY key{DEVICE, flash->get_name()};
    const std::string file = zorva_own_file(key, db_dir);
    const bool exists = replaced == file ? !m_catalogue.neighbours(key, file, directory).empty()
                                         : FIO_FILE_SYSTEM::exists(file);
    const std::size_t gone = replaced.empty() ? 0 : 1;
    if (gone)
        trace_found(key, replaced, directory);
    else
        trace_room(file, exists);
    if (!change_files({{DEVICE, flash, ZORVA_BASIS::WHATEVER}}, db_dir, false))
        return refuse_update(db_dir);
    if (gone) {
        trace_device_maps("Before", directory, 0);
        trace_device_maps("After", directory, gone);
        trace_rewriting(key, replaced, directory);
        trace_room(file, exists);
    }
    zorva_trace("Writing new XML file, %s", file.c_str());
    trace_device_maps("Before", directory, gone);
    m_catalogue.store_device(flash, file, directory);
    trace_device_maps("After", directory, 0);
    return true;
}

bool ZORVA_STORE::write_template(ZORVA_FLASH& flash, const std::string& db_dir) {
    const std::string name = flash.get_parameter_value(ZORVA_FLASH_PARAM_TEMPLATE_NAME);
    const std::string file = zorva_own_file({TEMPLATE, name}, db_dir);
    trace_room(file, FIO_FILE_SYSTEM::exists(file));
    if (!change_files({{TEMPLATE, &flash, ZORVA_BASIS::WHATEVER}}, db_dir, false))
        return refuse_update(db_dir);
    zorva_trace("Writing new XML file, %s", file.c_str());
    m_catalogue.put_template(name, m_interface.copy_flows(flash), file);
    return true;
}

// Whether the record in force of a device stands in `db_dir`. One that stands in the custom
// directory can't be changed in the installation's: an internal error.
bool ZORVA_STORE::is_active_in(const std::string& device_name, const std::string& db_dir) const {
    const auto active = m_catalogue.active_files().find(device_name);
    if (active == m_catalogue.active_files().end()) return false;
    const FIO_PATH active_dir_file(active->second);
    zorva_trace("active_dir_file.fullpath().c_str() = %s", active_dir_file.fullpath().c_str());
    zorva_trace("active_dir_file.full_directory().c_str() = %s",
                active_dir_file.full_directory().c_str());
    if (active_dir_file.full_directory() == db_dir) return true;
    if (db_dir == zorva_installation_directory())
        ZORVA_FAIL(
            "Found same flash exist in the current directory but attempting to delete the flash in "
            "kestrin directory.");
    return false;
}

bool ZORVA_STORE::delete_by_name(const std::string& name, const std::string& db_dir) {
    trace_deletion(name, db_dir);
    const ZORVA_DIRECTORY directory = directory_of(db_dir);
    const bool is_device = m_catalogue.active_files().contains(name);
    if (is_device && !is_active_in(name, db_dir)) return true;
    const ZORVA_DEFINITION_KEY key{is_device ? DEVICE : TEMPLATE, name};
    const std::string file = m_catalogue.file_known_of(key, directory);
    return file.empty() || delete_definition(key, file, db_dir);
}

bool ZORVA_STORE::delete_template(const std::string& name) {
    const auto found = m_catalogue.template_files().find(name);
    if (found == m_catalogue.template_files().end()) return false;
    const std::string file = found->second;
    const std::string directory = FIO_PATH(file).full_directory();
    if (zorva_database_directory(file).empty()) {
        m_outcome = left_behind(file);
        return refuse_update(directory);
    }
    trace_deletion(name, directory);
    return delete_definition({TEMPLATE, name}, file, directory);
}

bool ZORVA_STORE::delete_definition(const ZORVA_DEFINITION_KEY& key, const std::string& file,
                                    const std::string& db_dir) {
    const ZORVA_DIRECTORY directory = directory_of(db_dir);
    const auto trace_maps = [&](const char* when) {
        if (key.kind == DEVICE)
            trace_device_maps(when, directory, 0);
        else
            trace_template_maps(when);
    };
    trace_found(key, file, directory);
    if (!remove_from_file(key, file, db_dir, false)) return refuse_update(db_dir);
    trace_maps("Before");
    // The record goes at once: that is what the caller asked for.
    m_catalogue.forget(key, file, directory);
    trace_maps("After");
    trace_rewriting(key, file, directory);
    return true;
}
