// What the library tells of files and of the definitions in them.
#pragma once

#include "pgm/zorva/zorva_mgr.h"
#include "tools/zorva/database/interface.h"
#include "tools/zorva/output.h"

#include <optional>
#include <string>
#include <vector>

namespace zorva_tool {

// A definition with the file that it stands in.
struct definition {
    const ZORVA_FILE_REPORT* file;
    const ZORVA_DEFINITION* is;

    std::string place() const;  // "FILE:LINE"
};

// Where the load met the user template that is in force. Nothing for a golden one, which stands in
// the shipped file without a definition of its own.
std::optional<definition> user_template_in_force(const ZORVA_MGR& manager, const std::string& name);

// A file and what the one manager tells of it that it is meant for.
struct met_file {
    const ZORVA_FILE_REPORT* report;
    const interface_row* meant_for;
    // The setting by which that manager is off or passes the file over, so that the report is
    // another one's and tells nothing; null if it isn't.
    const char* switched_off_by;

    ZORVA_ORIGIN origin() const;
    const char* state() const;  // "read", "not read"
    std::string why() const;    // why not all of it is taken, short enough for a cell
};

// Each file once, in the order of the load. Each manager tells of each file, and skips those that
// aren't meant for it.
std::vector<met_file> merged(const std::vector<ZORVA_MGR*>& managers);

// What the load tells of a directory itself: why it couldn't be listed; empty if it tells nothing.
std::string directory_finding(const std::vector<ZORVA_MGR*>& managers,
                              const std::string& directory);

const char* origin_name(ZORVA_ORIGIN origin);
const char* kind_name(ZORVA_DEFINITION_KIND kind);
const char* state_name(ZORVA_DEFINITION_STATE state);

json definition_json(const definition& definition);
// With its definitions.
json file_json(const met_file& file);

}  // namespace zorva_tool
