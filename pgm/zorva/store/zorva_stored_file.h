// A database file as it stands on the disk, to be changed by a definition and written anew.
#pragma once

#include "pgm/zorva/load/zorva_interface.h"
#include "pgm/zorva/zorva_change.h"

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

// One definition as a load meets it.
struct ZORVA_MET {
    ZORVA_DEFINITION_KEY key;
    bool good;  // nothing in it is refused
    bool operator==(const ZORVA_MET&) const = default;
};
// The definitions of a file in the order in which a load takes them: the devices, then the
// templates, each as they stand.
using ZORVA_CONTENTS = std::vector<ZORVA_MET>;

// Holds the elements of the file, those that a load takes and those that it refuses, so that
// nothing gets lost that this process doesn't have in memory.
class ZORVA_STORED_FILE {
  public:
    // A file, or why there is none.
    struct RESULT;
    // Reads the file as it stands now. A file that is missing or empty holds nothing. No file for
    // one that can't be read, isn't well formed or isn't a document of the interface.
    static RESULT read(const ZORVA_INTERFACE& interface, const std::string& path);

    const std::string& path() const { return m_path; }
    ZORVA_CONTENTS contents() const;
    bool holds(const ZORVA_DEFINITION_KEY& key) const;
    // True if nothing would stand in the file.
    bool is_empty() const;
    // The first element of that kind and name; null if there is none.
    const PGM_COMMON_XML_ELEMENT* find(const ZORVA_DEFINITION_KEY& key) const;
    // Takes out all elements of that kind and name, with the comments inside them; those ahead of
    // them stay, ahead of what stands behind.
    void erase(const ZORVA_DEFINITION_KEY& key);
    // Puts a definition in place of all elements of its kind and name.
    void put(const ZORVA_DEFINITION_KEY& key, std::unique_ptr<PGM_COMMON_XML_ELEMENT> element);

    // The bytes of the file with its definitions in order: those of `in_force`, devices and then
    // templates, each by name; behind them the others as they stood. The elements are used up.
    // No result if the bytes, read again, wouldn't give just these definitions, each as good as it
    // was.
    std::optional<std::string> to_bytes(const std::set<ZORVA_DEFINITION_KEY>& in_force);

  private:
    struct STORED {
        ZORVA_MET met;
        std::unique_ptr<PGM_COMMON_XML_ELEMENT> element;
    };

    ZORVA_STORED_FILE(const ZORVA_INTERFACE& interface, std::string path);
    // Why the bytes aren't taken; empty if they are.
    std::string parse(const std::string& bytes);
    void erase_but(const ZORVA_DEFINITION_KEY& key, const PGM_COMMON_XML_ELEMENT* kept);
    PGM_COMMON_XML_ELEMENT& root();
    void sort(const std::set<ZORVA_DEFINITION_KEY>& in_force);
    bool reads_back(const std::string& bytes) const;

    const ZORVA_INTERFACE* m_interface;
    std::string m_path;
    std::vector<STORED> m_definitions;
    std::vector<std::unique_ptr<PGM_COMMON_XML_ELEMENT>> m_others;  // what no reader looks at
    std::unique_ptr<PGM_COMMON_XML_ELEMENT> m_root;                 // emptied; keeps its comments
};

struct ZORVA_STORED_FILE::RESULT {
    std::optional<ZORVA_STORED_FILE> file;
    std::string why;
};
