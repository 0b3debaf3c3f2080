// A database file as it stands on the disk, to be changed by a definition and written anew.
#pragma once

#include "pgm/zorva/zorva_interface.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// The kind and name of a definition.
struct ZORVA_DEFINITION_KEY {
    ZORVA_DEFINITION_KIND kind;
    std::string name;
    bool operator==(const ZORVA_DEFINITION_KEY&) const = default;
};

// Holds the elements of the file, those that a load takes and those that it refuses, so that
// nothing gets lost that this process doesn't have in memory.
class ZORVA_STORED_FILE {
  public:
    // Whether another file defines a name, so that a load would refuse it in this one.
    using DEFINED_ELSEWHERE = std::function<bool(const ZORVA_DEFINITION_KEY&)>;

    // Reads the file as it stands now. A file that is missing or empty holds nothing. No result
    // for one that can't be read, isn't well formed or isn't a document of the interface.
    static std::optional<ZORVA_STORED_FILE> read(const ZORVA_INTERFACE& interface,
                                                 const std::string& path,
                                                 const DEFINED_ELSEWHERE& defined_elsewhere);

    bool holds(const ZORVA_DEFINITION_KEY& key) const;
    // True if nothing would stand in the file.
    bool is_empty() const;
    // Takes out all elements of that kind and name.
    void erase(const ZORVA_DEFINITION_KEY& key);
    // Adds a definition that a load has to take.
    void insert(ZORVA_DEFINITION_KEY key, std::unique_ptr<PGM_COMMON_XML_ELEMENT> element);

    // The bytes of the file with its definitions in order: those that a load takes, devices and
    // then templates, each by name; behind them the others as they stood. The elements are used
    // up. No result if the bytes, read again, wouldn't give all that they should.
    std::optional<std::string> to_bytes();

  private:
    struct STORED {
        ZORVA_DEFINITION_KEY key;
        bool in_force;
        std::unique_ptr<PGM_COMMON_XML_ELEMENT> element;
    };

    ZORVA_STORED_FILE(const ZORVA_INTERFACE& interface, std::string path,
                      DEFINED_ELSEWHERE defined_elsewhere);
    bool parse(const std::string& bytes);
    void take(ZORVA_DEFINITION_KIND kind, std::unique_ptr<PGM_COMMON_XML_ELEMENT> element);
    void judge(ZORVA_DEFINITION_KIND kind, bool& ended);
    bool loads_as_expected(const std::string& bytes) const;

    const ZORVA_INTERFACE* m_interface;
    std::string m_path;
    DEFINED_ELSEWHERE m_defined_elsewhere;
    std::vector<STORED> m_definitions;
    std::vector<std::unique_ptr<PGM_COMMON_XML_ELEMENT>> m_others;  // what no reader looks at
};
