// From flows to elements of a QSPI document, driven by the tables that drive the reading.
#pragma once

#include "pgm/zorva/load/zorva_interface.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The element PROGRAMMING_FLOW of two flows. A bad value is an internal error.
std::unique_ptr<PGM_COMMON_XML_ELEMENT> zorva_create_xml_programming_flow(
    const std::vector<ZORVA_OPERATION*>& sfl, const std::vector<ZORVA_OPERATION*>& sdm);

// A new element USER_TEMPLATE of two flows.
std::unique_ptr<PGM_COMMON_XML_ELEMENT> zorva_create_xml_user_template(
    const std::string& name, const std::vector<ZORVA_OPERATION*>& sfl,
    const std::vector<ZORVA_OPERATION*>& sdm);

// A number property as it is written: "0x10" is 16, and a leading 0 means octal, so "010" is 8.
// Nothing for one that doesn't fit 32 bits.
std::optional<dword> zorva_number_to_write(const std::string& value);
// A description as it is written: line feeds but the last character become a backslash and "n".
std::string zorva_escape_description(std::string_view description);
