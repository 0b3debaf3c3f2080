// Changes the files of the database and tells the catalogue.
#pragma once

#include "pgm/zorva/catalogue/zorva_catalogue.h"
#include "pgm/zorva/load/zorva_interface.h"
#include "pgm/zorva/store/zorva_transaction.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

// Directories are those of ZORVA_MGR::get_db_kestrin_dir and get_db_custom_dir, in just that form;
// any other is an internal error. Files are changed first, the catalogue only if that worked. What
// is done and why not is traced.
class ZORVA_STORE {
  public:
    using DEVICE_DOCUMENT = std::function<std::unique_ptr<PGM_COMMON_XML_ELEMENT>(ZORVA_FLASH&)>;

    // All outlive the store. `device_document` makes a new document of a record.
    ZORVA_STORE(const ZORVA_INTERFACE& interface, ZORVA_CATALOGUE& catalogue,
                DEVICE_DOCUMENT device_document);

    // What became of the last call that stores or removes.
    const ZORVA_CHANGE_OUTCOME& outcome() const { return m_outcome; }

    // As ZORVA_MGR tells of the operations of these names; nothing is posted.
    bool store_definitions(const std::vector<ZORVA_NEW_DEFINITION>& definitions,
                           const std::string& db_dir);
    bool try_definitions(const std::vector<ZORVA_NEW_DEFINITION>& definitions,
                         const std::string& db_dir);
    bool remove_definition(const ZORVA_DEFINITION_KEY& key, const std::string& file);
    bool try_removal(const ZORVA_DEFINITION_KEY& key, const std::string& file);
    std::string device_document(ZORVA_FLASH& flash) const;

    // What update_db and delete_db of a manager come to. False, with warning 20560 posted: nothing
    // has changed.
    static void trace_update(const std::string& name, const std::string& db_dir);
    // Tells, and judges, what a deletion of the definition in `db_dir` would; the write that
    // follows replaces it in one step.
    void begin_update(const std::string& name, const std::string& db_dir);
    bool write_device(ZORVA_FLASH* flash, const std::string& db_dir);
    bool write_template(ZORVA_FLASH& flash, const std::string& db_dir);
    bool delete_by_name(const std::string& name, const std::string& db_dir);
    // False, with nothing posted, if there is no such template.
    bool delete_template(const std::string& name);

    // The change can't be: the name isn't free.
    void refuse(const ZORVA_REFUSAL& refusal) { m_outcome = zorva_name_taken(refusal); }

    static ZORVA_DIRECTORY directory_of(const std::string& db_dir);

  private:
    ZORVA_TRANSACTION new_transaction(const std::string& db_dir, bool is_trial) const;
    std::unique_ptr<PGM_COMMON_XML_ELEMENT> device_element(ZORVA_FLASH& flash) const;
    bool says_the_same(const PGM_COMMON_XML_ELEMENT& element, ZORVA_FLASH& flash) const;
    ZORVA_CHANGE_OUTCOME check_writable(const ZORVA_DEFINITION_KEY& key, ZORVA_FLASH& flash,
                                        const std::string& db_dir) const;
    ZORVA_CHANGED_DEFINITION definition_of(const ZORVA_NEW_DEFINITION& change,
                                           const std::string& db_dir) const;
    // Judges and changes the files; the catalogue stays, but for definitions that somebody has
    // taken out of these files.
    bool change_files(const std::vector<ZORVA_NEW_DEFINITION>& changes, const std::string& db_dir,
                      bool is_trial);
    // Of a file whose directory isn't the database's any more.
    static ZORVA_CHANGE_OUTCOME left_behind(const std::string& file);
    bool remove_from_file(const ZORVA_DEFINITION_KEY& key, const std::string& file,
                          const std::string& db_dir, bool is_trial);
    bool delete_definition(const ZORVA_DEFINITION_KEY& key, const std::string& file,
                           const std::string& db_dir);
    bool is_active_in(const std::string& device_name, const std::string& db_dir) const;
    bool refuse_update(const std::string& db_dir) const;

    void trace_device_maps(const char* when, ZORVA_DIRECTORY directory, std::size_t gone) const;
    void trace_template_maps(const char* when) const;
    void trace_found(const ZORVA_DEFINITION_KEY& key, const std::string& file,
                     ZORVA_DIRECTORY directory) const;
    void trace_rewriting(const ZORVA_DEFINITION_KEY& key, const std::string& file,
                         ZORVA_DIRECTORY directory) const;

    const ZORVA_INTERFACE& m_interface;
    ZORVA_CATALOGUE& m_catalogue;
    DEVICE_DOCUMENT m_device_document;
    ZORVA_CHANGE_OUTCOME m_outcome;
    std::string m_replaced_file;  // between begin_update and write_device: of the old definition
};
