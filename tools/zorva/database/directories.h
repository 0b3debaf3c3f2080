// Where the data lie, and who chose each place.
#pragma once

#include "tools/zorva/output.h"

#include <string>

namespace zorva_tool {

struct custom_directory {
    std::string path;  // with its closing slash; empty if there is none
    std::string chosen_by;
    bool is_default;

    bool exists() const;
};

// The custom directory of the option, else of the environment, the settings, the default.
// Nothing is written. A failure for a name that would lead to another directory.
custom_directory choose_custom_directory(const std::string& option);

// Why a directory can't be the custom directory, as a sentence; empty if it can.
std::string reason_against(const std::string& directory);

// An absolute path, so that neither the settings nor a message depend on where the tool was run.
std::string absolute_directory(const std::string& directory);

// The directories and the settings file in force, as rows with "role", "path", "chosen_by" and
// "exists".
json directories_json(const custom_directory& custom_dir);

}  // namespace zorva_tool
