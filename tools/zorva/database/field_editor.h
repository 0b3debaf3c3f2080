// How the fields of a device are set: what each takes, and what the library says of other values.
#pragma once

#include "pgm/zorva/zorva_mgr.h"

#include <string>

namespace zorva_tool {

// Throws a refusal, in the library's words, if a parameter doesn't take a value.
void check_value(ZORVA_MGR& manager, ZORVA_FLASH_PARAM param, const std::string& value);

// A field that can be set in a record that isn't stored yet.
struct field_editor {
    ZORVA_FLASH_PARAM param;
    // Stores a value in a record; a refusal if the parameter doesn't take it. The result is what
    // its author is to know of how it was read; mostly empty.
    std::string (*store)(ZORVA_MGR&, ZORVA_FLASH&, ZORVA_FLASH_PARAM, const std::string& value);
    // Which values it takes, for people.
    std::string (*allowed)(ZORVA_MGR&, ZORVA_FLASH_PARAM);

    bool is_known_to(ZORVA_MGR& manager) const { return manager.is_parameter_valid(param); }
    // As `store`; a refusal also where the interface doesn't have the field.
    std::string set(ZORVA_MGR& manager, ZORVA_FLASH& flash, const std::string& value) const;
};

// By the names of the fields. Setting the template takes its flows, in place of the record's.
extern const field_editor id_editor;
extern const field_editor density_editor;
extern const field_editor voltage_editor;
extern const field_editor dies_editor;
extern const field_editor dummy_editor;
extern const field_editor dummy_x4_editor;
extern const field_editor template_editor;

}  // namespace zorva_tool
