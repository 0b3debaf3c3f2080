// A device as the commands see it, and the table of its fields.
#pragma once

#include "pgm/zorva/zorva_mgr.h"
#include "tools/zorva/database/field_editor.h"
#include "tools/zorva/database/report.h"
#include "tools/zorva/output.h"

#include <span>
#include <string>
#include <vector>

namespace zorva_tool {

struct device {
    ZORVA_MGR* manager;
    std::string name;
    ZORVA_FLASH* flash;                   // the manager's; null for a legacy device
    std::vector<definition> definitions;  // all that carry the name, in the order of the load

    bool is_legacy() const { return flash == nullptr; }
    const definition* in_force() const;  // null for a legacy device
};

enum field_use : unsigned {
    in_list = 1,    // a column of lists
    in_show = 2,    // a line of what is shown of one device
    compared = 4,   // may tell two devices of one ID apart
    of_legacy = 8,  // known of a legacy device too
};

struct field {
    const char* name;   // for --field; in JSON with "_" for "-"
    const char* label;  // also the header of its column
    const char* unit;
    unsigned uses;
    json (*value)(const device&);
    const field_editor* editor = nullptr;  // null for what can't be set

    std::string key() const;
    json value_of(const device& device) const;  // null where it isn't known
    bool is_known_of(const device& device) const;
    std::string text_of(const device& device) const;  // for people, with its unit
};

std::span<const field> device_fields();
// All fields of a device, as an object.
json device_json(const device& device);
// The columns of lists of devices.
std::vector<column> device_columns();

}  // namespace zorva_tool
