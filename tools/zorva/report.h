// What the library tells of files and of the definitions in them.
#pragma once

#include "pgm/zorva/zorva_mgr.h"
#include "tools/zorva/output.h"

#include <string>
#include <vector>

namespace zorva_tool {

// A definition with the file that it stands in.
struct definition {
    const ZORVA_FILE_REPORT* file;
    const ZORVA_DEFINITION* is;

    std::string place() const;  // "FILE:LINE"
};

const char* origin_name(ZORVA_ORIGIN origin);
const char* kind_name(ZORVA_DEFINITION_KIND kind);
const char* state_name(ZORVA_FILE_STATE state);

// One report a file, in the order of the first. Each manager tells of each file, and skips those
// that aren't meant for it: what counts is the word of the one that it is meant for.
std::vector<const ZORVA_FILE_REPORT*> merged(const std::vector<ZORVA_MGR*>& managers);

json definition_json(const definition& definition);
// With its definitions.
json file_json(const ZORVA_FILE_REPORT& file);

}  // namespace zorva_tool
