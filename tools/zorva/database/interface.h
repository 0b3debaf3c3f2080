// The flash interfaces that the tool knows; what differs between them stands here.
#pragma once

#include "pgm/zorva/zorva_mgr.h"
#include "tools/zorva/failure.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace zorva_tool {

struct interface_row {
    const char* name;                  // as --interface takes it
    const char* label;                 // as a person reads it
    DEV_FAMILY_ENUM family;            // of its manager
    bool PGMDEV_DEVICE_INFO::*serves;  // whether it serves a device family
    const char* setting;               // the switch that it hangs on; null if it is always on
    const char* custom_setting;        // the same for devices of one's own
    // Judges files without loading the database.
    ZORVA_LOAD_REPORT (*judge_files)(const std::vector<std::string>& files);
    ZORVA_FILE_REPORT (*judge_bytes)(const std::string& bytes, const std::string& name);
};

// The interfaces that `name` selects, "all" or the name of one.
std::vector<const interface_row*> selected_interfaces(const std::string& name);
const interface_row& interface_of(DEV_FAMILY_ENUM family);
// The interface that a document is meant for; the first if the document doesn't tell.
const interface_row& interface_for_bytes(const std::string& bytes);
// The same of a file.
const interface_row& interface_for(const std::string& file);

// "SD/MMC devices are switched off"
std::string off_text(const interface_row& row, const char* setting);
failure switched_off(const interface_row& row, const char* setting);
// The refusal of what only the devices of another interface have.
refusal lacks_field(const interface_row& row);

}  // namespace zorva_tool
