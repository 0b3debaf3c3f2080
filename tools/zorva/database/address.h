// Properties of actions by their addresses, as "sfl.program[2].delay".
#pragma once

#include "pgm/zorva/zorva_mgr.h"

#include <string>
#include <vector>

namespace zorva_tool {

// Flow, operation, number of the action as 'zorva show' prints it, property. A refusal for a value
// that the library doesn't take, and for an action or property that isn't there. The result is what
// its author is to know of how the value was read; mostly empty.
std::string set_property(ZORVA_MGR& manager, ZORVA_FLASH& flash, const std::string& text,
                         const std::string& value);

// The addresses at which a flow expects another answer to the read of the ID than the device's ID.
std::vector<std::string> contradictions_of_id(ZORVA_FLASH& flash);

}  // namespace zorva_tool
