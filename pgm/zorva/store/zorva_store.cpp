#include "pgm/zorva/store/zorva_store.h"

#include "pgm/zorva/load/zorva_directories.h"
#include "pgm/zorva/load/zorva_elements.h"
#include "pgm/zorva/load/zorva_walk.h"
#include "pgm/zorva/load/zorva_xml_file.h"
#include "pgm/zorva/rules/zorva_report.h"
#include "services/file.h"

#include <utility>

namespace {

constexpr auto DEVICE = ZORVA_DEFINITION_KIND::DEVICE;
constexpr auto TEMPLATE = ZORVA_DEFINITION_KIND::TEMPLATE;

ZORVA_DEFINITION_KEY key_of(const ZORVA_NEW_DEFINITION& change) {
    if (change.kind == DEVICE) return {DEVICE, change.flash->get_name()};
    return {TEMPLATE, change.flash->get_parameter_value(ZORVA_FLASH_PARAM_TEMPLATE_NAME)};
}

}  // namespace

ZORVA_STORE::ZORVA_STORE(const ZORVA_INTERFACE& interface, ZORVA_CATALOGUE& catalogue,
                         DEVICE_DOCUMENT device_document)
    : m_interface(interface),
      m_catalogue(catalogue),
      m_device_document(std::move(device_document)) {}

ZORVA_DIRECTORY ZORVA_STORE::directory_of(const std::string& db_dir) {
    const bool db_is_kestrin_dir = db_dir == zorva_installation_directory();
    const bool db_is_custom_dir = db_dir == zorva_custom_directory();
    ZORVA_ASSERT(db_is_kestrin_dir || db_is_custom_dir);
    return db_is_kestrin_dir ? ZORVA_DIRECTORY::INSTALLATION : ZORVA_DIRECTORY::CUSTOM;
}

// The directories of user files in the order of their load.
ZORVA_TRANSACTION ZORVA_STORE::new_transaction(const std::string& db_dir, bool is_trial) const {
    std::vector<std::string> directories{zorva_installation_directory()};
    if (zorva_custom_directory() != directories.front())
        directories.push_back(zorva_custom_directory());
    const std::string shipped_file = zorva_golden_template_file(m_interface);
    std::set<std::string> shipped;
    for (const auto& [name, file] : m_catalogue.files_in(ZORVA_DIRECTORY::INSTALLATION))
        if (file == shipped_file) shipped.insert(name);
    return {m_interface, db_dir, std::move(directories), std::move(shipped), is_trial};
}

std::unique_ptr<PGM_COMMON_XML_ELEMENT> ZORVA_STORE::device_element(ZORVA_FLASH& flash) const {
    auto element = m_device_document(flash)->take_first_child();
    m_interface.complete_flows(*element);
    return element;
}

std::string ZORVA_STORE::device_document(ZORVA_FLASH& flash) const {
    if (!m_interface.is_writable(flash)) return {};
    const auto root = PGM_COMMON_XML::new_root(m_interface.document);
    root->add_child(device_element(flash).release(), nullptr);
    return PGM_COMMON_XML::write_bytes(root.get());
}

// Whether an element of a file says just what a record says, however it spells it.
bool ZORVA_STORE::says_the_same(const PGM_COMMON_XML_ELEMENT& element, ZORVA_FLASH& flash) const {
    const ZORVA_WALKED read = zorva_read_definition(m_interface, element);
    return read.is_good() && device_document(*read.flash) == device_document(flash);
}

// What stands in the way before any file is looked at.
ZORVA_CHANGE_OUTCOME ZORVA_STORE::check_writable(const ZORVA_DEFINITION_KEY& key,
                                                 ZORVA_FLASH& flash,
                                                 const std::string& db_dir) const {
    // The custom directory may have been changed since the load.
    const std::string known = m_catalogue.file_known_of(key, directory_of(db_dir));
    if (key.kind == DEVICE && !known.empty() && FIO_PATH(known).full_directory() != db_dir)
        return zorva_refused(
            fmt::format("'{}' was loaded from {}, which lies in no directory of the "
                        "database any more.",
                        key.name, known));
    if (!m_interface.is_writable(flash))
        return zorva_refused(
            fmt::format("The flows of '{}' hold an operation twice, or a number that no "
                        "file can hold: the greatest is 4294967295.",
                        key.name));
    return {};
}

ZORVA_CHANGED_DEFINITION ZORVA_STORE::definition_of(const ZORVA_NEW_DEFINITION& change,
                                                    const std::string& db_dir) const {
    ZORVA_FLASH& flash = *change.flash;
    ZORVA_CHANGED_DEFINITION definition;
    definition.key = key_of(change);
    definition.file = zorva_own_file(definition.key, db_dir);
    definition.basis = change.basis;
    definition.known_file = m_catalogue.file_known_of(definition.key, directory_of(db_dir));
    definition.element = change.kind == DEVICE
                             ? device_element(flash)
                             : m_interface.template_element(definition.key.name, flash);
    const auto loaded = m_catalogue.devices().find(definition.key.name);
    const bool is_loaded = change.kind == DEVICE && loaded != m_catalogue.devices().end();
    ZORVA_FLASH* record = is_loaded ? loaded->second : nullptr;
    definition.is_as_loaded = [this, record](const PGM_COMMON_XML_ELEMENT& element) {
        return record && says_the_same(element, *record);
    };
    return definition;
}

bool ZORVA_STORE::change_files(const std::vector<ZORVA_NEW_DEFINITION>& changes,
                               const std::string& db_dir, bool is_trial) {
    ZORVA_TRANSACTION transaction = new_transaction(db_dir, is_trial);
    std::vector<ZORVA_CHANGED_DEFINITION> definitions;
    m_outcome = {};
    for (const ZORVA_NEW_DEFINITION& change : changes) {
        m_outcome = check_writable(key_of(change), *change.flash, db_dir);
        if (!m_outcome.is_done()) return false;
        definitions.push_back(definition_of(change, db_dir));
    }
    m_outcome = definitions.size() == 1 ? transaction.put(std::move(definitions.front()))
                                        : transaction.put_all(std::move(definitions));
    if (!m_outcome.is_done()) return false;
    if (!is_trial) m_catalogue.forget_missing(transaction.changed_files(), key_of(changes.front()));
    return true;
}

bool ZORVA_STORE::store_definitions(const std::vector<ZORVA_NEW_DEFINITION>& definitions,
                                    const std::string& db_dir) {
    ZORVA_ASSERT(!definitions.empty());
    if (!change_files(definitions, db_dir, false)) return false;
    for (const ZORVA_NEW_DEFINITION& definition : definitions) {
        const ZORVA_DEFINITION_KEY key = key_of(definition);
        const std::string file = zorva_own_file(key, db_dir);
        if (key.kind == TEMPLATE)
            m_catalogue.put_template(key.name, m_interface.copy_flows(*definition.flash), file);
        else
            m_catalogue.store_device(definition.flash, file, directory_of(db_dir));
    }
    return true;
}

bool ZORVA_STORE::try_definitions(const std::vector<ZORVA_NEW_DEFINITION>& definitions,
                                  const std::string& db_dir) {
    ZORVA_ASSERT(!definitions.empty());
    return change_files(definitions, db_dir, true);
}

// The custom directory may have been changed since the load.
ZORVA_CHANGE_OUTCOME ZORVA_STORE::left_behind(const std::string& file) {
    return zorva_refused(fmt::format("{} lies in no directory of the database any more.", file));
}

bool ZORVA_STORE::remove_from_file(const ZORVA_DEFINITION_KEY& key, const std::string& file,
                                   const std::string& db_dir, bool is_trial) {
    if (FIO_PATH(file).full_directory() != db_dir) {
        m_outcome = left_behind(file);
        return false;
    }
    ZORVA_TRANSACTION transaction = new_transaction(db_dir, is_trial);
    m_outcome = transaction.remove(key, file);
    if (m_outcome.is_done() && !is_trial)
        m_catalogue.forget_missing(transaction.changed_files(), key);
    return m_outcome.is_done();
}

bool ZORVA_STORE::remove_definition(const ZORVA_DEFINITION_KEY& key, const std::string& file) {
    const std::string db_dir = zorva_database_directory(file);
    if (!remove_from_file(key, file, db_dir, false)) return false;
    const ZORVA_DIRECTORY directory = directory_of(db_dir);
    if (m_catalogue.file_known_of(key, directory) == file) m_catalogue.forget(key, file, directory);
    return true;
}

bool ZORVA_STORE::try_removal(const ZORVA_DEFINITION_KEY& key, const std::string& file) {
    return remove_from_file(key, file, zorva_database_directory(file), true);
}
