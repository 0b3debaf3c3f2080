// Changes to the database: what is to be stored, and what became of it.
#pragma once

#include "pgm/zorva/zorva_flash.h"
#include "pgm/zorva/zorva_load_report.h"

#include <string>
#include <tuple>

// The kind and name of a definition.
struct ZORVA_DEFINITION_KEY {
    ZORVA_DEFINITION_KIND kind;
    std::string name;
    bool operator==(const ZORVA_DEFINITION_KEY&) const = default;
    bool operator<(const ZORVA_DEFINITION_KEY& other) const {
        return std::tie(kind, name) < std::tie(other.kind, other.name);
    }
};

// What a change takes to stand in the files so far.
enum class ZORVA_BASIS {
    WHATEVER,   // replaces what is there
    NEW,        // the name has to be free
    AS_LOADED,  // replaces the definition in force as the manager has loaded it, and no other
};

// A definition to be stored. A record from create_flash becomes the manager's device; for a
// template it carries the name, in ZORVA_FLASH_PARAM_TEMPLATE_NAME, and the flows, and is no more
// needed behind the call.
struct ZORVA_NEW_DEFINITION {
    ZORVA_DEFINITION_KIND kind;
    ZORVA_FLASH* flash;
    ZORVA_BASIS basis;
};

enum class ZORVA_CHANGE_STATE {
    DONE,
    NAME_TAKEN,     // it had to be new, and a file of the directory defines the name
    CHANGED_SINCE,  // the definition in the file isn't the one that was loaded
    REFUSED,        // it can't be, whoever tries
    PROTECTED,      // it would change what is shipped
    FILE_FAILED,    // a file or directory can't be read or written
};

// In all states but DONE nothing has changed.
struct ZORVA_CHANGE_OUTCOME {
    ZORVA_CHANGE_STATE state = ZORVA_CHANGE_STATE::DONE;
    std::string sentence;     // why, for people; empty for DONE
    unsigned message_id = 0;  // of the message whose sentence it is; 0 where none is
    std::string lives_on_in;  // behind a removal: the file by which the name stays defined

    bool is_done() const { return state == ZORVA_CHANGE_STATE::DONE; }
};
