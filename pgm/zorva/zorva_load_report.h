// What a manager met when it loaded: every file, and every definition in it.
#pragma once

#include "pgm/zorva/zorva_finding.h"
#include "services/types.h"

#include <string>
#include <vector>

// Where a definition comes from.
enum class ZORVA_ORIGIN { SHIPPED, INSTALLATION, CUSTOM };

enum class ZORVA_FILE_STATE {
    READ,          // to its end
    READ_IN_PART,  // up to a definition that was refused; the reason names it
    SKIPPED,       // nothing of it; the reason says why
    PASSED_OVER,   // never opened: it is no regular file
};

// A device and a template of one name are two definitions.
enum class ZORVA_DEFINITION_KIND { DEVICE, TEMPLATE };

enum class ZORVA_DEFINITION_STATE {
    IN_FORCE,
    HIDDEN,    // by the definition of the same kind and name in the file `hidden_by`
    REFUSED,   // for what `findings` say
    NOT_READ,  // it stands behind a refused definition that ended the reading of its file
};

struct ZORVA_DEFINITION {
    ZORVA_DEFINITION_KIND kind;
    std::string name;
    dword line;  // of the element FLASH or USER_TEMPLATE
    ZORVA_DEFINITION_STATE state;
    std::string hidden_by;                // a file; empty unless HIDDEN
    std::vector<ZORVA_FINDING> findings;  // empty unless REFUSED
};

// A directory that can't be listed is reported as a file that was skipped.
struct ZORVA_FILE_REPORT {
    std::string path;
    ZORVA_ORIGIN origin;
    ZORVA_FILE_STATE state;
    std::string reason;                         // empty for READ
    std::vector<ZORVA_FINDING> findings;        // of the file as a whole: not readable, schema
    std::vector<ZORVA_DEFINITION> definitions;  // in file order, the devices first
};

// In the order in which the files were met.
using ZORVA_LOAD_REPORT = std::vector<ZORVA_FILE_REPORT>;
