// Stores definitions in the files of one directory and takes them out. The files are the truth:
// what comes into force is judged from them, under the directory's lock, before any is touched.
#pragma once

#include "pgm/zorva/load/zorva_interface.h"
#include "pgm/zorva/store/zorva_database_view.h"
#include "pgm/zorva/zorva_change.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

class FIO_DIRECTORY_LOCK;

// A change that can't be, whoever tries.
ZORVA_CHANGE_OUTCOME zorva_refused(std::string sentence);
// One whose name isn't free, in the words of the check of names.
ZORVA_CHANGE_OUTCOME zorva_name_taken(const ZORVA_REFUSAL& refusal);

// What a definition is to become.
struct ZORVA_CHANGED_DEFINITION {
    ZORVA_DEFINITION_KEY key;
    std::string file;  // its own
    std::unique_ptr<PGM_COMMON_XML_ELEMENT> element;
    ZORVA_BASIS basis = ZORVA_BASIS::WHATEVER;
    std::string known_file;  // the one that defines it as far as this process knows, or none
    // Whether an element is what was loaded; for AS_LOADED only.
    std::function<bool(const PGM_COMMON_XML_ELEMENT&)> is_as_loaded = {};
};

class ZORVA_TRANSACTION {
  public:
    using DEFINITION = ZORVA_CHANGED_DEFINITION;
    // What stands in each file behind a change.
    using CHANGED_FILES = std::map<std::string, std::set<ZORVA_DEFINITION_KEY>>;

    // `directory` is one of `directories`, which stand in the order of their load. With `is_trial`
    // everything is judged and nothing changed.
    ZORVA_TRANSACTION(const ZORVA_INTERFACE& interface, std::string directory,
                      std::vector<std::string> directories, std::set<std::string> shipped_devices,
                      bool is_trial);

    // Puts a definition into its own file and takes an old one out of the directory's other file.
    ZORVA_CHANGE_OUTCOME put(DEFINITION definition);
    // Puts new definitions into files of their own, all or none.
    ZORVA_CHANGE_OUTCOME put_all(std::vector<DEFINITION> definitions);
    // Takes a definition, in force or not, out of a file. Nothing to be taken out is done, too.
    ZORVA_CHANGE_OUTCOME remove(const ZORVA_DEFINITION_KEY& key, const std::string& file);

    const CHANGED_FILES& changed_files() const { return m_changed; }

  private:
    using OUTCOME = ZORVA_CHANGE_OUTCOME;

    OUTCOME check_target(const DEFINITION& definition) const;
    // Does a job under the lock of the directory, behind what was broken off there.
    OUTCOME locked(const std::string& file, const std::function<OUTCOME()>& job);
    OUTCOME begin(const FIO_DIRECTORY_LOCK& lock) const;
    OUTCOME put_locked(DEFINITION& definition);
    OUTCOME put_all_locked(std::vector<DEFINITION>& definitions);
    OUTCOME remove_locked(const ZORVA_DEFINITION_KEY& key, const std::string& file);

    // The file as it stands, which the view knows from then on.
    std::optional<ZORVA_STORED_FILE> read(const std::string& file, OUTCOME& outcome);
    // Lets the view know all files that have a bearing on those read so far.
    OUTCOME read_others(const std::string& known_file);
    // The other file of the directory that defines a name; empty if none does.
    OUTCOME find_other(const DEFINITION& definition, std::string& other) const;
    OUTCOME check_basis(const DEFINITION& definition, const ZORVA_STORED_FILE& holder) const;
    // The new bytes of a file, empty where nothing would stand in it. The view knows from then on
    // what they hold. No result if they can't be.
    std::optional<std::string> write(ZORVA_STORED_FILE& file,
                                     const ZORVA_DATABASE_VIEW::IN_FORCE& before,
                                     const ZORVA_DEFINITION_KEY& key);
    // The files of new definitions, each of which has to be empty and the definition's alone.
    OUTCOME read_own_files(const std::vector<DEFINITION>& definitions,
                           std::vector<ZORVA_STORED_FILE>& files);
    // Whether what was changed is in force as it was meant to be, and all else as it was.
    OUTCOME check_result(const ZORVA_DATABASE_VIEW::IN_FORCE& before,
                         std::span<const DEFINITION> definitions) const;
    // Whether all that was in force still is, by the same files; what was changed aside.
    OUTCOME check_others(const ZORVA_DATABASE_VIEW::IN_FORCE& before,
                         const std::set<ZORVA_DATABASE_VIEW::PLACE>& changed) const;
    OUTCOME check_in_force(const DEFINITION& definition) const;
    ZORVA_DATABASE_VIEW::PLACE place_of(const DEFINITION& definition) const;

    const ZORVA_INTERFACE& m_interface;
    std::string m_directory;
    ZORVA_DATABASE_VIEW m_view;
    std::set<std::string> m_shipped_devices;  // that stand in this directory
    bool m_is_trial;
    CHANGED_FILES m_changed;
};
