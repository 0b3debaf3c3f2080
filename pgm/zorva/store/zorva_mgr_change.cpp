// From records to changes of files, and from those back to the maps.
#include "pgm/zorva/load/zorva_interface.h"
#include "pgm/zorva/load/zorva_judge.h"
#include "pgm/zorva/load/zorva_xml_file.h"
#include "pgm/zorva/rules/zorva_report.h"
#include "pgm/zorva/store/zorva_store.h"
#include "pgm/zorva/zorva_mgr.h"
#include "services/file.h"
#include "services/pgm_common.h"

#include <algorithm>
#include <utility>

namespace {

constexpr auto DEVICE = ZORVA_DEFINITION_KIND::DEVICE;
constexpr auto TEMPLATE = ZORVA_DEFINITION_KIND::TEMPLATE;

ZORVA_DEFINITION_KEY key_of(const ZORVA_NEW_DEFINITION& change) {
    if (change.kind == DEVICE) return {DEVICE, change.flash->get_name()};
    return {TEMPLATE, change.flash->get_parameter_value(ZORVA_FLASH_PARAM_TEMPLATE_NAME)};
}

}  // namespace

// The directories of user files in the order of their load.
ZORVA_STORE ZORVA_MGR::new_store(const std::string& db_dir, bool is_trial) const {
    std::vector<std::string> directories{get_db_kestrin_dir()};
    if (get_db_custom_dir() != directories.front()) directories.push_back(get_db_custom_dir());
    const std::string shipped_file = zorva_golden_template_file(m_interface);
    std::set<std::string> shipped;
    for (const auto& [name, file] : m_flash_db_kestrin_dir_map)
        if (file == shipped_file) shipped.insert(name);
    return {m_interface, db_dir, std::move(directories), std::move(shipped), is_trial};
}

std::unique_ptr<PGM_COMMON_XML_ELEMENT> ZORVA_MGR::new_template_element(ZORVA_FLASH& flash) const {
    return m_interface.template_element(flash.get_parameter_value(ZORVA_FLASH_PARAM_TEMPLATE_NAME),
                                        flash);
}

std::unique_ptr<PGM_COMMON_XML_ELEMENT> ZORVA_MGR::new_device_element(ZORVA_FLASH& flash) {
    const std::unique_ptr<PGM_COMMON_XML_ELEMENT> root(create_xml_object_with_flash_list({&flash}));
    auto element = root->take_first_child();
    if (m_interface.complete_flows) m_interface.complete_flows(*element);
    return element;
}

// Whether an element of a file says just what a record says, however it spells it.
bool ZORVA_MGR::says_the_same(const PGM_COMMON_XML_ELEMENT& element, ZORVA_FLASH& flash) {
    std::vector<ZORVA_REFUSAL> refusals;
    const auto read = zorva_read_flash(m_interface, element, refusals);
    if (!read || !refusals.empty()) return false;
    return get_flash_document(read.get()) == get_flash_document(&flash);
}

std::string ZORVA_MGR::file_known_of(const ZORVA_DEFINITION_KEY& key, const std::string& db_dir) {
    const DIR_MAP& map = key.kind == TEMPLATE ? m_template_db_dir_map : dir_map_of(db_dir);
    const auto found = map.find(key.name);
    return found == map.end() ? std::string() : found->second;
}

// What stands in the way before any file is looked at.
ZORVA_CHANGE_OUTCOME ZORVA_MGR::check_writable(const ZORVA_DEFINITION_KEY& key, ZORVA_FLASH& flash,
                                               const std::string& db_dir) {
    // The custom directory may have been changed since the load.
    const std::string known = file_known_of(key, db_dir);
    if (key.kind == DEVICE && !known.empty() && FIO_PATH(known).full_directory() != db_dir)
        return zorva_refused(
            fmt::format("'{}' was loaded from {}, which lies in no directory of the "
                        "database any more.",
                        key.name, known));
    if (m_interface.is_writable && !m_interface.is_writable(flash))
        return zorva_refused(
            fmt::format("The flows of '{}' hold an operation twice, or a number that no "
                        "file can hold: the greatest is 4294967295.",
                        key.name));
    return {};
}

ZORVA_STORE_DEFINITION ZORVA_MGR::definition_of(const ZORVA_NEW_DEFINITION& change,
                                                const std::string& db_dir) {
    ZORVA_FLASH& flash = *change.flash;
    ZORVA_STORE_DEFINITION definition;
    definition.key = key_of(change);
    definition.file = zorva_own_file(definition.key, db_dir);
    definition.basis = change.basis;
    definition.known_file = file_known_of(definition.key, db_dir);
    definition.element =
        change.kind == DEVICE ? new_device_element(flash) : new_template_element(flash);
    const auto loaded = m_flash_map.find(definition.key.name);
    ZORVA_FLASH* record =
        change.kind == DEVICE && loaded != m_flash_map.end() ? loaded->second : nullptr;
    definition.is_as_loaded = [this, record](const PGM_COMMON_XML_ELEMENT& element) {
        return record && says_the_same(element, *record);
    };
    return definition;
}

// Judges and stores; the maps are as they were, but for definitions that others took out.
bool ZORVA_MGR::change_files(const std::vector<ZORVA_NEW_DEFINITION>& changes,
                             const std::string& db_dir, bool is_trial) {
    ZORVA_STORE store = new_store(db_dir, is_trial);
    std::vector<ZORVA_STORE_DEFINITION> definitions;
    m_change_outcome = {};
    for (const ZORVA_NEW_DEFINITION& change : changes) {
        const ZORVA_DEFINITION_KEY key = key_of(change);
        m_change_outcome = check_writable(key, *change.flash, db_dir);
        if (!m_change_outcome.is_done()) return false;
        definitions.push_back(definition_of(change, db_dir));
    }
    m_change_outcome = definitions.size() == 1 ? store.put(std::move(definitions.front()))
                                               : store.put_all(std::move(definitions));
    if (!m_change_outcome.is_done()) return false;
    if (!is_trial) forget_missing(store, key_of(changes.front()));
    return true;
}

bool ZORVA_MGR::store_definitions(const std::vector<ZORVA_NEW_DEFINITION>& definitions,
                                  const std::string& db_dir) {
    ZORVA_ASSERT(!definitions.empty());
    if (!change_files(definitions, db_dir, false)) return false;
    for (const ZORVA_NEW_DEFINITION& definition : definitions) {
        const ZORVA_DEFINITION_KEY key = key_of(definition);
        const std::string file = zorva_own_file(key, db_dir);
        if (key.kind == TEMPLATE) {
            keep_template(key.name, *definition.flash, file);
            continue;
        }
        adopt(definition.flash, file, dir_map_of(db_dir));
    }
    return true;
}

bool ZORVA_MGR::try_definitions(const std::vector<ZORVA_NEW_DEFINITION>& definitions,
                                const std::string& db_dir) {
    ZORVA_ASSERT(!definitions.empty());
    return change_files(definitions, db_dir, true);
}

// Makes the flows of a record a template that shares nothing with it.
void ZORVA_MGR::keep_template(const std::string& name, ZORVA_FLASH& flash,
                              const std::string& file) {
    auto flows = m_interface.copy_flows(flash);
    delete std::exchange(m_user_flash_template_map[name], flows.release());
    m_template_db_dir_map[name] = file;
}

bool ZORVA_MGR::take_out_of_file(const ZORVA_DEFINITION_KEY& key, const std::string& file,
                                 const std::string& db_dir, bool is_trial) {
    if (FIO_PATH(file).full_directory() != db_dir) {
        m_change_outcome =
            zorva_refused(fmt::format("{} lies in no directory of the database any more.", file));
        return false;
    }
    ZORVA_STORE store = new_store(db_dir, is_trial);
    m_change_outcome = store.take_out(key, file);
    if (m_change_outcome.is_done() && !is_trial) forget_missing(store, key);
    return m_change_outcome.is_done();
}

bool ZORVA_MGR::remove_definition(const ZORVA_DEFINITION_KEY& key, const std::string& file) {
    const std::string db_dir = directory_in_use(file);
    if (!take_out_of_file(key, file, db_dir, false)) return false;
    if (file_known_of(key, db_dir) != file) return true;
    forget(key, file, dir_map_of(db_dir));
    return true;
}

bool ZORVA_MGR::try_removal(const ZORVA_DEFINITION_KEY& key, const std::string& file) {
    return take_out_of_file(key, file, directory_in_use(file), true);
}

// The directory of the database in which a file lies; empty for neither.
std::string ZORVA_MGR::directory_in_use(const std::string& file) {
    const std::string directory = FIO_PATH(file).full_directory();
    const bool is_in_use = directory == get_db_kestrin_dir() || directory == get_db_custom_dir();
    return is_in_use ? directory : std::string();
}

// Definitions that the maps place in a file and that somebody has taken out of it.
void ZORVA_MGR::forget_missing(const ZORVA_STORE& store, const ZORVA_DEFINITION_KEY& but) {
    const ZORVA_STORE::CHANGED_FILES& files = store.changed_files();
    const auto missing = [&](const DIR_MAP& map, ZORVA_DEFINITION_KIND kind) {
        std::vector<std::string> names;
        for (const auto& [name, file] : map) {
            const auto changed = files.find(file);
            const ZORVA_DEFINITION_KEY key{kind, name};
            if (changed != files.end() && key != but && !changed->second.contains(key))
                names.push_back(name);
        }
        return names;
    };
    for (DIR_MAP* map : {&m_flash_db_kestrin_dir_map, &m_flash_db_custom_dir_map})
        for (const std::string& name : missing(*map, DEVICE))
            m_loose_flashes.push_back(forget_device(name, map->at(name), *map));
    for (const std::string& name : missing(m_template_db_dir_map, TEMPLATE))
        m_loose_templates.push_back(forget_template(name));
}

ZORVA_MGR::DOCUMENT ZORVA_MGR::read_document(const std::string& bytes, const std::string& name) {
    ZORVA_JUDGED judged = zorva_judge_bytes(m_interface, bytes, name);
    DOCUMENT document{std::move(judged.report), {}};
    if (!judged.root) return document;
    const auto& elements = judged.root->get_all_childs();
    for (const auto kind : {DEVICE, TEMPLATE})
        for (std::size_t i = 0; i < elements.size(); ++i) {
            const ZORVA_DEFINITION& definition = document.report.definitions[i];
            const bool is_taken = definition.state == ZORVA_DEFINITION_STATE::IN_FORCE &&
                                  elements[i]->get_type() != PGM_COMMON_XML_ENUM_GOLDEN_TEMPLATE;
            if (is_taken && definition.kind == kind)
                document.definitions.push_back(
                    {kind, new_record(kind, definition.name, *elements[i]), ZORVA_BASIS::NEW});
        }
    return document;
}

// A record of a good element; a template's carries its name and flows.
ZORVA_FLASH* ZORVA_MGR::new_record(ZORVA_DEFINITION_KIND kind, const std::string& name,
                                   const PGM_COMMON_XML_ELEMENT& element) {
    std::vector<ZORVA_REFUSAL> refusals;
    if (kind == DEVICE)
        return m_loose_flashes.emplace_back(zorva_read_flash(m_interface, element, refusals)).get();
    ZORVA_FLASH* carrier = create_flash(name);
    const auto flows = m_interface.read_flows(element, refusals);
    carrier->set_parameter_value(ZORVA_FLASH_PARAM_TEMPLATE_NAME, name);
    carrier->set_operation_list(std::exchange(flows->sfl_operation_list, {}),
                                ZORVA_PROG_FLOW_TYPE_SFL);
    carrier->set_operation_list(std::exchange(flows->sdm_operation_list, {}),
                                ZORVA_PROG_FLOW_TYPE_SDM);
    return carrier;
}
