// Records under definition: made anew or from another one, then filled and handed to a writer.
#pragma once

#include "pgm/zorva/zorva_mgr.h"
#include "tools/zorva/database/database.h"

#include <string>
#include <vector>

namespace zorva_tool {

// Throw a refusal for a name that isn't free, in any interface or any file that was read.
void check_new_device_name(const database& db, ZORVA_MGR& manager, const std::string& name);
void check_new_template_name(const database& db, ZORVA_MGR& manager, const std::string& name);

// A refusal where the interface takes no devices of one's own.
void check_new_devices_are_supported(ZORVA_MGR& manager);

// The manager of a template, golden or a user's; a miss is a failure.
ZORVA_MGR& manager_of_template(const database& db, const std::string& name);

// A record with the values and the flows of another one, which may be another manager's. Like all
// that follow it belongs to `manager`.
ZORVA_FLASH& new_copy(ZORVA_MGR& manager, ZORVA_FLASH& original, const std::string& name);
// A record that carries no more than flows, to be stored as that template.
ZORVA_FLASH& new_template(ZORVA_MGR& manager, const std::string& name);

// Put other flows in place of a record's.
void copy_flows(ZORVA_FLASH& to, ZORVA_FLASH& from);
void copy_template_flows(ZORVA_MGR& manager, ZORVA_FLASH& flash, const std::string& template_name);

// The names of the fields that can be set.
std::vector<std::string> settable_fields();
// Sets what "FIELD=VALUE" says, or "FLOW.OPERATION[NUMBER].PROPERTY=VALUE", one after the other,
// and tells of values that were read in an unexpected way.
void apply(output& out, ZORVA_MGR& manager, ZORVA_FLASH& flash,
           const std::vector<std::string>& assignments);

}  // namespace zorva_tool
